import QtQuick
import QtQuick.Layouts
import Quorvel.Views

// One finished line of the transcript with the label of where it came from.
Rectangle {
    id: row

    required property string kind
    required property string text

    implicitHeight: column.implicitHeight + 20
    radius: Theme.radius
    color: Theme.inset
    Accessible.role: Accessible.ListItem
    Accessible.name: kind + ": " + text

    ColumnLayout {
        id: column

        anchors.fill: parent
        anchors.margins: 10
        spacing: 4

        Text {
            text: row.kind
            font: Theme.strongCaption
            color: Theme.secondaryText
            textFormat: Text.PlainText
            Accessible.ignored: true
        }
        SelectableText {
            Layout.fillWidth: true
            text: row.text
        }
    }
}
