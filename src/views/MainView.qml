import QtQuick
import Quorvel.Views

// The main window: one screen at a time, chosen by the state, and the sheets over it.
Window {
    id: window

    required property MainViewModel main
    required property Appearance appearance
    readonly property AppState appState: main.appState

    title: Application.displayName
    minimumWidth: window.main.minimumWidth
    minimumHeight: window.main.minimumHeight
    visible: true
    color: Theme.gradientStart
    // The overlay is a window, too, and would keep the program running.
    onClosing: Qt.quit()

    Binding {
        target: Theme
        property: "isDark"
        value: window.appearance.isDark
    }
    Binding {
        target: Theme
        property: "reducesMotion"
        value: window.appearance.reducesMotion
    }
    Binding {
        target: Theme
        property: "accent"
        value: window.appearance.accent
    }
    Binding {
        target: Theme
        property: "accentText"
        value: window.appearance.accentText
    }

    Shortcut {
        sequences: [window.main.clearSequence]
        context: Qt.ApplicationShortcut
        onActivated: window.appState.clearSuggestions()
    }
    Shortcut {
        sequences: [window.main.quitSequence]
        context: Qt.ApplicationShortcut
        onActivated: Qt.quit()
    }

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

    Loader {
        id: screen

        readonly property string page: ["ServerConnectionView.qml", "AuthGateView.qml", "InterviewSetupView.qml", "DashboardView.qml"][window.main.screen]

        anchors.fill: parent
        focus: true
        onPageChanged: setSource(page, {
            "main": window.main
        })
        // No more than that: a sheet that is open keeps the keyboard.
        onLoaded: (item as Item).focus = true
    }

    ApplicationMenu {
        id: menu

        anchors.top: parent.top
        anchors.right: parent.right
        anchors.margins: 10
        main: window.main
        onClearRequested: window.appState.clearSuggestions()
        onAboutRequested: about.open()
        onQuitRequested: Qt.quit()
    }
    AboutView {
        id: about
    }
    OnboardingView {
        main: window.main
        // The screen below may be another one than when the sheet took the keyboard.
        onClosed: (screen.item as Item).forceActiveFocus()
    }
}
