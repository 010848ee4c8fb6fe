import QtQuick
import QtQuick.Templates as T
import Quorvel.Views

// Chooses one of a few, which are all in view. One stop of the tab key; the arrow keys choose.
ListView {
    id: picker

    required property string label
    required property var titles
    property var symbols: []
    signal chosen(index: int)

    function choose(index: int) {
        if (index >= 0 && index < count && index !== currentIndex) {
            chosen(index);
        }
    }
    function step(direction: int) {
        choose(currentIndex + direction);
        currentItem?.forceActiveFocus(Qt.TabFocusReason);
    }

    implicitHeight: Math.round(Theme.baseSize * 3.4)
    leftMargin: 3
    rightMargin: 3
    orientation: Qt.Horizontal
    interactive: false
    keyNavigationEnabled: false
    activeFocusOnTab: true
    model: titles
    Accessible.role: Accessible.Grouping
    Accessible.name: label

    Rectangle {
        anchors.fill: parent
        z: -1
        radius: Theme.radius
        color: Theme.controlPressed
    }

    delegate: T.RadioButton {
        id: segment

        required property string modelData
        required property int index
        readonly property SegmentedPicker picker: ListView.view as SegmentedPicker
        readonly property string symbol: picker ? picker.symbols[index] ?? "" : ""

        width: picker ? (picker.width - 6) / picker.count : 0
        height: picker ? picker.height : 0
        checked: ListView.isCurrentItem
        text: modelData
        focusPolicy: Qt.StrongFocus
        focus: ListView.isCurrentItem
        onClicked: picker.choose(index)
        Keys.onLeftPressed: picker.step(-1)
        Keys.onRightPressed: picker.step(1)
        Accessible.name: text
        Accessible.onPressAction: picker.choose(index)
        Accessible.onToggleAction: picker.choose(index)

        Rectangle {
            anchors.fill: parent
            anchors.topMargin: 3
            anchors.bottomMargin: 3
            radius: 6
            color: segment.checked ? Theme.card : segment.hovered ? Theme.controlHovered : "transparent"

            FocusRing {
                control: segment
                anchors.margins: -1
            }
        }
        Row {
            anchors.centerIn: parent
            spacing: 6

            SymbolIcon {
                visible: segment.symbol.length > 0
                anchors.verticalCenter: parent.verticalCenter
                symbol: segment.symbol.length > 0 ? segment.symbol : "circle"
                color: segment.checked ? Theme.accent : Theme.secondaryText
                size: Math.round(Theme.baseSize * 1.6)
            }
            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: segment.text
                font: segment.checked ? Theme.headline : Theme.body
                color: Theme.primaryText
                textFormat: Text.PlainText
                Accessible.ignored: true
            }
        }
    }
}
