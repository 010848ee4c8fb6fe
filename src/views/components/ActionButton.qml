import QtQuick
import QtQuick.Templates as T
import Quorvel.Views

// A button with a text and, if it has one, a symbol. Without a text on show it needs a label of its own for its name.
T.Button {
    id: button

    property string symbol: ""
    property bool isProminent: false
    property color prominentColor: Theme.accent
    property color prominentTextColor: Theme.accentText
    // Without a frame until the pointer rests on it.
    property bool isPlain: false
    property color plainColor: isDestructive ? Theme.danger : Theme.primaryText
    property bool isDestructive: false
    // The name where the button shows only a symbol; it is shown as a tip, too.
    property string label: text

    readonly property color textColor: isProminent ? prominentTextColor : plainColor

    implicitWidth: Math.max(implicitContentWidth + leftPadding + rightPadding, implicitHeight)
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    leftPadding: text.length > 0 ? 12 : 8
    rightPadding: leftPadding
    topPadding: 7
    bottomPadding: 7
    font: Theme.body
    focusPolicy: Qt.StrongFocus
    opacity: enabled ? 1 : 0.5

    Accessible.role: Accessible.Button
    Accessible.name: label
    // This toolkit version tells assistive technology of no control that it is disabled.
    Accessible.description: enabled ? "" : qsTr("Unavailable")
    Accessible.focusable: enabled
    // A press through assistive technology; the stock button of this toolkit version ignores it.
    Accessible.onPressAction: press()
    Keys.onReturnPressed: press()
    Keys.onEnterPressed: press()

    function press() {
        if (enabled) {
            clicked();
        }
    }

    contentItem: Row {
        spacing: 8
        opacity: 1

        SymbolIcon {
            visible: button.symbol.length > 0
            anchors.verticalCenter: parent.verticalCenter
            symbol: button.symbol.length > 0 ? button.symbol : "circle"
            color: button.textColor
            size: Math.round(Theme.baseSize * 1.6)
        }
        Text {
            visible: button.text.length > 0
            anchors.verticalCenter: parent.verticalCenter
            text: button.text
            font: button.font
            color: button.textColor
            textFormat: Text.PlainText
            Accessible.ignored: true
        }
    }

    background: Rectangle {
        radius: Theme.radius
        color: button.isProminent ? prominent() : plain()
        border.width: button.isProminent || button.isPlain ? 0 : 1
        border.color: Theme.controlOutline

        Behavior on color {
            ColorAnimation {
                duration: Theme.quickMotion
            }
        }

        FocusRing {
            control: button
        }

        function prominent(): color {
            return button.down ? Qt.darker(button.prominentColor, 1.2) : button.hovered ? Qt.lighter(button.prominentColor, 1.1) : button.prominentColor;
        }
        function plain(): color {
            if (button.isPlain)
                return Qt.alpha(button.plainColor, button.down ? 0.2 : button.hovered ? 0.1 : 0);
            return button.down ? Theme.controlPressed : button.hovered ? Theme.controlHovered : Theme.control;
        }
    }

    HoverTip {
        control: button
        text: button.text.length > 0 ? "" : button.label
    }
}
