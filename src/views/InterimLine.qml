import QtQuick
import Quorvel.Views

// The line that is still being revised; it takes no room while there is none.
Item {
    id: line

    property string text: ""
    // The distance to the line above.
    property real gap: 0

    implicitHeight: text.length > 0 ? label.implicitHeight + 20 + gap : 0

    Text {
        id: label

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: 10
        visible: text.length > 0
        text: line.text
        font.family: Theme.body.family
        font.pointSize: Theme.body.pointSize
        font.italic: true
        color: Theme.secondaryText
        wrapMode: Text.Wrap
        textFormat: Text.PlainText
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}
