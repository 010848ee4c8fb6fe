import QtQuick
import QtQuick.Templates as T
import Quorvel.Views

// A box for one line of text. Its label shows inside until something is typed.
T.TextField {
    id: field

    required property string label

    implicitWidth: 200
    implicitHeight: contentHeight + topPadding + bottomPadding
    leftPadding: 10
    rightPadding: 10
    topPadding: 8
    bottomPadding: 8
    font: Theme.body
    color: Theme.primaryText
    placeholderText: label
    placeholderTextColor: Theme.secondaryText
    selectionColor: Theme.accent
    selectedTextColor: Theme.accentText
    selectByMouse: true
    verticalAlignment: TextInput.AlignVCenter
    Accessible.role: Accessible.EditableText
    Accessible.name: label

    background: Rectangle {
        color: Theme.inset
        radius: 6
        border.width: field.activeFocus ? Theme.focusWidth : 1
        border.color: field.activeFocus ? Theme.accent : Theme.controlOutline
    }

    Text {
        anchors.fill: parent
        leftPadding: field.leftPadding
        rightPadding: field.rightPadding
        visible: field.length === 0 && field.preeditText.length === 0
        text: field.placeholderText
        font: field.font
        color: field.placeholderTextColor
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
        textFormat: Text.PlainText
        Accessible.ignored: true
    }
}
