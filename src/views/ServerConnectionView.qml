import QtQuick
import QtQuick.Layouts
import Quorvel.Views

// Stands before everything else until the backend has answered.
FocusScope {
    id: view

    required property MainViewModel main

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(parent.width - 64, 560)
        spacing: 18

        Spinner {
            Layout.alignment: Qt.AlignHCenter
            visible: view.main.isCheckingBackend
            label: qsTr("Connecting")
            size: 32
        }
        StyledText {
            Layout.fillWidth: true
            visible: view.main.isCheckingBackend
            horizontalAlignment: Text.AlignHCenter
            text: qsTr("Connecting to Quorvel server...")
        }

        SymbolIcon {
            Layout.alignment: Qt.AlignHCenter
            visible: !view.main.isCheckingBackend
            symbol: "server.rack"
            color: Theme.waiting
            size: 42
        }
        StyledText {
            Layout.fillWidth: true
            visible: !view.main.isCheckingBackend
            horizontalAlignment: Text.AlignHCenter
            text: qsTr("Could not connect to the server.")
            font: Theme.secondTitle
        }
        StyledText {
            Layout.fillWidth: true
            visible: !view.main.isCheckingBackend
            horizontalAlignment: Text.AlignHCenter
            text: qsTr("Check your internet connection or backend status, then retry.")
            isSecondary: true
        }
        ActionButton {
            Layout.alignment: Qt.AlignHCenter
            visible: !view.main.isCheckingBackend
            focus: true
            symbol: "arrow.clockwise"
            text: qsTr("Retry")
            isProminent: true
            onClicked: view.main.checkBackend()
        }
    }
}
