import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Quorvel.Views

// What has been said, oldest first, and below it the line that is still being revised. It never scrolls by itself.
ColumnLayout {
    id: view

    required property TranscriptStore store

    spacing: 0

    RowLayout {
        Layout.fillWidth: true
        Layout.margins: Theme.padding
        spacing: Theme.spacing

        SectionHeader {
            Layout.fillWidth: true
            symbol: "captions.bubble"
            title: qsTr("Live Transcript")
        }
        ActionButton {
            symbol: "xmark.circle"
            label: qsTr("Clear transcript")
            onClicked: view.store.clear()
        }
    }

    Rectangle {
        Layout.fillWidth: true
        implicitHeight: 1
        color: Theme.hairline
    }

    ListView {
        id: list

        Layout.fillWidth: true
        Layout.fillHeight: true
        clip: true
        spacing: 10
        topMargin: Theme.padding
        bottomMargin: Theme.padding
        leftMargin: Theme.padding
        rightMargin: Theme.padding
        boundsBehavior: Flickable.StopAtBounds
        model: view.store.turns
        activeFocusOnTab: true
        keyNavigationEnabled: false
        Keys.onUpPressed: scrollBar.decrease()
        Keys.onDownPressed: scrollBar.increase()
        Accessible.role: Accessible.List
        Accessible.name: qsTr("Transcript")

        ScrollBar.vertical: ScrollBar {
            id: scrollBar

            policy: list.contentHeight > list.height ? ScrollBar.AlwaysOn : ScrollBar.AsNeeded
        }

        delegate: TranscriptRow {
            width: ListView.view.width - 2 * Theme.padding
        }

        footer: Item {
            width: list.width - 2 * Theme.padding
            implicitHeight: partial.visible ? partial.implicitHeight + 20 + (list.count > 0 ? list.spacing : 0) : 0

            Text {
                id: partial

                anchors.left: parent.left
                anchors.right: parent.right
                anchors.bottom: parent.bottom
                anchors.margins: 10
                visible: text.length > 0
                text: view.store.partialText
                font.family: Theme.body.family
                font.pointSize: Theme.body.pointSize
                font.italic: true
                color: Theme.secondaryText
                wrapMode: Text.Wrap
                textFormat: Text.PlainText
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }
    }
}
