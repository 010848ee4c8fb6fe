import QtQuick
import QtQuick.Controls.Basic
import Quorvel.Views

// The sources of the chosen kind. The arrow keys go from row to row, like the tab key.
ListView {
    id: list

    required property SharePickerViewModel picker

    clip: true
    spacing: 8
    topMargin: 14
    bottomMargin: 14
    leftMargin: 18
    rightMargin: 18
    boundsBehavior: Flickable.StopAtBounds
    activeFocusOnTab: true
    model: picker.visibleSources
    Accessible.role: Accessible.List
    Accessible.name: qsTr("Sources")

    ScrollBar.vertical: ScrollBar {}

    delegate: ShareSourceRow {
        id: row

        readonly property SourceList list: ListView.view as SourceList

        width: list ? list.width - 36 : 0
        focus: ListView.isCurrentItem
        symbol: list ? list.picker.symbol : "circle"
        onClicked: list.picker.startScreenShare(index)
    }
}
