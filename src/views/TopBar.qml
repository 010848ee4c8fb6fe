import QtQuick
import QtQuick.Layouts
import Quorvel.Views

// Name and state of the session.
Rectangle {
    id: bar

    required property AppState appState

    implicitHeight: row.implicitHeight + 20
    color: Theme.bar

    RowLayout {
        id: row

        anchors.fill: parent
        anchors.leftMargin: Theme.padding
        anchors.rightMargin: Theme.padding
        spacing: Theme.spacing

        SymbolIcon {
            symbol: "sparkles"
            color: Theme.good
            size: 22
        }
        StyledText {
            Layout.fillWidth: true
            text: "Quorvel"
            font: Theme.headline
        }
        StatusPill {
            status: bar.appState.sessionStatus
            isGood: bar.appState.isSessionRunning
        }
    }
    Rectangle {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        height: 1
        color: Theme.hairline
    }
}
