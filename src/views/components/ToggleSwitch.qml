import QtQuick
import QtQuick.Templates as T
import Quorvel.Views

// Turns something on or off.
T.Switch {
    id: onOff

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: Math.max(implicitContentHeight, implicitIndicatorHeight) + topPadding + bottomPadding
    topPadding: 4
    bottomPadding: 4
    spacing: 10
    font: Theme.body
    focusPolicy: Qt.StrongFocus
    Accessible.role: Accessible.CheckBox
    Accessible.name: text
    Accessible.checkable: true
    Accessible.checked: checked
    // A press through assistive technology; the stock switch of this toolkit version ignores it.
    Accessible.onPressAction: press()
    Accessible.onToggleAction: press()
    Keys.onReturnPressed: press()
    Keys.onEnterPressed: press()

    function press() {
        if (enabled) {
            onOff.toggle();
            onOff.toggled();
        }
    }

    indicator: Rectangle {
        implicitWidth: 38
        implicitHeight: 22
        y: (onOff.height - height) / 2
        radius: 11
        color: onOff.checked ? Theme.accent : Theme.controlPressed
        border.width: 1
        border.color: onOff.checked ? Theme.accent : Theme.controlOutline

        Rectangle {
            x: 2 + onOff.visualPosition * (parent.width - width - 4)
            y: 2
            width: 18
            height: 18
            radius: 9
            color: "#FFFFFF"
            border.width: 1
            border.color: Theme.controlOutline
        }
    }

    contentItem: Text {
        leftPadding: onOff.indicator.width + onOff.spacing
        text: onOff.text
        font: onOff.font
        color: Theme.primaryText
        wrapMode: Text.Wrap
        verticalAlignment: Text.AlignVCenter
        textFormat: Text.PlainText
        Accessible.ignored: true
    }

    FocusRing {
        control: onOff
    }
}
