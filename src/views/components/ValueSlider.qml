import QtQuick
import QtQuick.Templates as T
import Quorvel.Views

// Chooses a number from a range, with the pointer or the arrow keys.
T.Slider {
    id: slider

    required property string label

    implicitWidth: 160
    implicitHeight: 28
    focusPolicy: Qt.StrongFocus
    // What an arrow key changes; the pointer is free of steps.
    stepSize: 0
    Accessible.role: Accessible.Slider
    Accessible.name: label
    Accessible.onIncreaseAction: nudge(1)
    Accessible.onDecreaseAction: nudge(-1)
    Keys.onLeftPressed: nudge(-1)
    Keys.onRightPressed: nudge(1)

    function nudge(direction: int) {
        const next = value + direction * (to - from) / 20;
        value = Math.max(from, Math.min(to, next));
        moved();
    }

    background: Rectangle {
        x: slider.leftPadding
        y: (slider.height - height) / 2
        width: slider.availableWidth
        height: 4
        radius: 2
        color: Theme.controlOutline

        Rectangle {
            width: slider.visualPosition * parent.width
            height: parent.height
            radius: 2
            color: Theme.accent
        }
    }

    handle: Rectangle {
        x: slider.leftPadding + slider.visualPosition * (slider.availableWidth - width)
        y: (slider.height - height) / 2
        width: 18
        height: 18
        radius: 9
        color: Theme.isDark ? "#E7E9F0" : "#FFFFFF"
        border.width: 1
        border.color: slider.pressed ? Theme.accent : Theme.controlOutline
    }

    FocusRing {
        control: slider
    }
}
