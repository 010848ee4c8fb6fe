import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Quorvel.Views

// The commands that belong to no screen.
ActionButton {
    id: opener

    required property MainViewModel main
    signal clearRequested
    signal aboutRequested
    signal quitRequested

    symbol: "line.3.horizontal"
    label: qsTr("Quorvel")
    isPlain: true
    onClicked: menu.opened ? menu.close() : menu.popup(opener, opener.width - menu.width, opener.height + 4)

    Menu {
        id: menu

        // Wide enough for the longest command with its shortcut.
        width: 280
        padding: 5
        title: qsTr("Quorvel")
        closePolicy: Menu.CloseOnEscape | Menu.CloseOnPressOutsideParent

        background: Rectangle {
            color: Theme.card
            radius: Theme.radius
            border.width: 1
            border.color: Theme.controlOutline
        }

        Command {
            text: qsTr("About Quorvel")
            onTriggered: opener.aboutRequested()
        }
        Command {
            text: qsTr("Clear Suggestion")
            keys: opener.main.clearKeys
            onTriggered: opener.clearRequested()
        }
        Command {
            text: qsTr("Quit Quorvel")
            keys: opener.main.quitSequence
            onTriggered: opener.quitRequested()
        }
    }

    component Command: MenuItem {
        id: command

        property string keys: ""

        font: Theme.body
        padding: 8
        Accessible.name: text
        Accessible.onPressAction: {
            menu.close();
            triggered();
        }

        contentItem: RowLayout {
            spacing: 16

            Text {
                Layout.fillWidth: true
                text: command.text
                font: command.font
                color: command.highlighted ? Theme.accentText : Theme.primaryText
                elide: Text.ElideRight
                textFormat: Text.PlainText
                Accessible.ignored: true
            }
            Text {
                text: command.keys
                font: command.font
                color: command.highlighted ? Theme.accentText : Theme.secondaryText
                textFormat: Text.PlainText
                Accessible.ignored: true
            }
        }
        background: Rectangle {
            radius: 5
            color: command.highlighted ? Theme.accent : "transparent"
        }
    }
}
