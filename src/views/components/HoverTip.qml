import QtQuick
import QtQuick.Templates as T
import Quorvel.Views

// Says what a control without a text does, while the pointer rests on it or the keyboard has reached it.
T.ToolTip {
    id: tip

    required property T.Control control

    parent: control
    visible: text.length > 0 && (control.hovered || control.visualFocus)
    delay: 600
    margins: 4
    padding: 6
    x: (parent.width - implicitWidth) / 2
    y: parent.height + 6
    implicitWidth: contentItem.implicitWidth + 2 * padding
    implicitHeight: contentItem.implicitHeight + 2 * padding
    closePolicy: T.Popup.NoAutoClose

    contentItem: Text {
        text: tip.text
        font: Theme.caption
        color: Theme.primaryText
        textFormat: Text.PlainText
    }
    background: Rectangle {
        color: Theme.card
        radius: 6
        border.width: 1
        border.color: Theme.controlOutline
    }
}
