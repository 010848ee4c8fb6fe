import QtQuick
import QtQuick.Layouts
import Quorvel.Views

// The one error line. Announced to assistive technology as an alert when it appears or changes.
Rectangle {
    id: banner

    required property string message
    // Whether the way to the system's settings is offered, and what it takes.
    property bool offersRecovery: false
    signal dismissed
    signal settingsRequested
    signal quitRequested

    implicitHeight: row.implicitHeight + 16
    color: Theme.errorSurface
    Accessible.role: Accessible.AlertMessage
    Accessible.name: message

    RowLayout {
        id: row

        anchors.fill: parent
        anchors.leftMargin: Theme.padding
        anchors.rightMargin: Theme.padding
        anchors.topMargin: 8
        anchors.bottomMargin: 8
        spacing: 10

        SymbolIcon {
            symbol: "exclamationmark.triangle.fill"
            color: Theme.errorText
            size: 18
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 6

            SelectableText {
                Layout.fillWidth: true
                text: banner.message
                color: Theme.errorText
            }
            StyledText {
                Layout.fillWidth: true
                visible: banner.offersRecovery
                text: qsTr("After changing this macOS permission, Quorvel must be fully quit and reopened.")
                font: Theme.caption
                color: Theme.errorText
            }
            Row {
                visible: banner.offersRecovery
                spacing: 8

                ActionButton {
                    text: qsTr("Open Settings")
                    onClicked: banner.settingsRequested()
                }
                ActionButton {
                    text: qsTr("Quit App")
                    onClicked: banner.quitRequested()
                }
            }
        }
        ActionButton {
            Layout.alignment: Qt.AlignTop
            symbol: "xmark"
            label: qsTr("Dismiss error")
            isPlain: true
            plainColor: Theme.errorText
            onClicked: banner.dismissed()
        }
    }
}
