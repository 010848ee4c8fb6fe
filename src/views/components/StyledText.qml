import QtQuick
import Quorvel.Views

// Text of the interface, read by assistive technology as what it says.
Text {
    property bool isSecondary: false

    color: isSecondary ? Theme.secondaryText : Theme.primaryText
    font: Theme.body
    wrapMode: Text.Wrap
    textFormat: Text.PlainText
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
