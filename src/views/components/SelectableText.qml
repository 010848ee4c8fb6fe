import QtQuick
import Quorvel.Views

// Text that can be selected with mouse or keyboard, and copied.
TextEdit {
    id: edit

    color: Theme.primaryText
    font: Theme.body
    selectionColor: Theme.accent
    selectedTextColor: Theme.accentText
    wrapMode: TextEdit.Wrap
    textFormat: TextEdit.PlainText
    readOnly: true
    selectByMouse: true
    selectByKeyboard: true
    activeFocusOnTab: false
    Accessible.role: Accessible.StaticText
    Accessible.name: text
    Accessible.readOnly: true
}
