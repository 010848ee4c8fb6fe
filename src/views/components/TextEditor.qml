import QtQuick
import QtQuick.Controls.Basic
import Quorvel.Views

// A box for several lines of text. Tab leaves it, as in every form; a tab is no text here.
ScrollView {
    id: editor

    required property string label
    property alias text: area.text
    property alias placeholderText: area.placeholderText
    signal edited

    clip: true
    contentWidth: availableWidth

    TextArea {
        id: area

        wrapMode: TextArea.Wrap
        textFormat: TextEdit.PlainText
        font: Theme.body
        color: Theme.primaryText
        placeholderTextColor: Theme.secondaryText
        selectionColor: Theme.accent
        selectedTextColor: Theme.accentText
        selectByMouse: true
        padding: 10
        Keys.priority: Keys.BeforeItem
        Keys.onTabPressed: nextItemInFocusChain(true).forceActiveFocus(Qt.TabFocusReason)
        Keys.onBacktabPressed: nextItemInFocusChain(false).forceActiveFocus(Qt.BacktabFocusReason)
        Accessible.role: Accessible.EditableText
        Accessible.name: editor.label
        Accessible.multiLine: true
        Accessible.focusable: true
        onTextChanged: editor.edited()

        background: Rectangle {
            color: Theme.inset
            radius: 6
            border.width: area.activeFocus ? Theme.focusWidth : 1
            border.color: area.activeFocus ? Theme.accent : Theme.controlOutline
        }
    }
}
