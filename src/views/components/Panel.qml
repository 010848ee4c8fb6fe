import QtQuick
import QtQuick.Layouts
import Quorvel.Views

// A card whose parts stand below each other.
Card {
    id: panel

    default property alias parts: column.data

    implicitWidth: column.implicitWidth + 2 * Theme.padding
    implicitHeight: column.implicitHeight + 2 * Theme.padding

    ColumnLayout {
        id: column

        anchors.fill: parent
        anchors.margins: Theme.padding
        spacing: Theme.spacing
    }
}
