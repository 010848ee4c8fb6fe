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

        footer: InterimLine {
            width: parent ? parent.width - 2 * Theme.padding : 0
        }

        Binding {
            target: list.footerItem
            property: "text"
            value: view.store.partialText
        }
        Binding {
            target: list.footerItem
            property: "gap"
            value: list.count > 0 ? list.spacing : 0
        }
    }
}
