import QtQuick
import QtQuick.Layouts
import Quorvel.Views

// One suggested answer with what it answers and how sure the backend is.
Rectangle {
    id: row

    required property string suggestion
    required property string intent
    required property int confidencePercent

    implicitHeight: column.implicitHeight + 24
    radius: Theme.radius
    color: Theme.inset
    border.width: 1
    border.color: Theme.hairline
    Accessible.role: Accessible.ListItem
    Accessible.name: suggestion

    ColumnLayout {
        id: column

        anchors.fill: parent
        anchors.margins: 12
        spacing: 8

        SelectableText {
            Layout.fillWidth: true
            text: row.suggestion
            font.family: Theme.body.family
            font.pixelSize: 18
        }
        Flow {
            Layout.fillWidth: true
            spacing: 16

            StyledText {
                text: qsTr("Intent: %1").arg(row.intent)
                font: Theme.caption
                isSecondary: true
            }
            StyledText {
                text: qsTr("Confidence: %1%").arg(row.confidencePercent)
                font: Theme.caption
                isSecondary: true
            }
        }
    }
}
