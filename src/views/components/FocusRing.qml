import QtQuick
import QtQuick.Templates as T
import Quorvel.Views

// Shows which control the keyboard acts on.
Rectangle {
    required property T.Control control

    anchors.fill: parent
    anchors.margins: -3
    visible: control.visualFocus
    radius: Theme.radius + 3
    color: "transparent"
    border.width: Theme.focusWidth
    border.color: Theme.accent
}
