import QtQuick
import Quorvel.Views

// The main window.
Window {
    id: window

    required property AppState appState

    title: Application.displayName
    width: 1080
    height: 720
    minimumWidth: 940
    minimumHeight: 640
    visible: true
    color: Theme.gradientStart

    Rectangle {
        anchors.fill: parent
        gradient: Gradient {
            GradientStop {
                position: 0
                color: Theme.gradientStart
            }
            GradientStop {
                position: 1
                color: Theme.gradientEnd
            }
        }
    }

    DashboardView {
        anchors.fill: parent
        appState: window.appState
    }
}
