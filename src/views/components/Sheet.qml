import QtQuick
import QtQuick.Templates as T
import Quorvel.Views

// Lies over the whole window until it is dealt with; what is below cannot be used meanwhile.
T.Dialog {
    id: sheet

    // Points; a smaller window makes it smaller, and its content scrolls.
    property int wantedWidth: 560
    property int wantedHeight: 460

    parent: T.Overlay.overlay
    anchors.centerIn: parent
    width: parent ? Math.min(wantedWidth, parent.width - 24) : wantedWidth
    height: parent ? Math.min(wantedHeight, parent.height - 24) : wantedHeight
    modal: true
    focus: true

    background: Rectangle {
        color: Theme.isDark ? Theme.gradientEnd : Theme.gradientStart
        radius: 12
        border.width: 1
        border.color: Theme.controlOutline
    }
    T.Overlay.modal: Rectangle {
        color: Theme.veil

        Behavior on opacity {
            NumberAnimation {
                duration: Theme.slowMotion
            }
        }
    }
    enter: Transition {
        NumberAnimation {
            property: "opacity"
            from: 0
            to: 1
            duration: Theme.slowMotion
        }
    }
    exit: Transition {
        NumberAnimation {
            property: "opacity"
            from: 1
            to: 0
            duration: Theme.quickMotion
        }
    }
}
