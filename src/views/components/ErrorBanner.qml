import QtQuick
import QtQuick.Layouts
import Quorvel.Views

// The one error line. Announced to assistive technology as an alert when it appears or changes.
Rectangle {
    id: banner

    required property string message
    signal dismissed

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
        SelectableText {
            Layout.fillWidth: true
            text: banner.message
            color: Theme.errorText
        }
        ActionButton {
            symbol: "xmark"
            label: qsTr("Dismiss error")
            onClicked: banner.dismissed()
        }
    }
}
