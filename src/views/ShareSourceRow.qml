import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Quorvel.Views

// One thing that can be listened to; the whole row is one button.
T.AbstractButton {
    id: row

    required property int index
    required property string title
    required property string subtitle
    required property bool isLikelyMeeting
    property string symbol: "circle"

    implicitHeight: content.implicitHeight + 24
    focusPolicy: Qt.StrongFocus
    text: title
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    Accessible.role: Accessible.Button
    Accessible.name: title
    Accessible.description: isLikelyMeeting ? qsTr("%1, %2").arg(subtitle).arg(qsTr("Likely meeting source")) : subtitle
    Accessible.onPressAction: clicked()

    background: Rectangle {
        radius: Theme.radius
        color: row.down ? Theme.controlPressed : row.hovered ? Theme.controlHovered : Theme.card
        border.width: 1
        border.color: Theme.hairline

        FocusRing {
            control: row
            anchors.margins: -1
        }
    }

    RowLayout {
        id: content

        anchors.fill: parent
        anchors.margins: 12
        spacing: 12

        Item {
            implicitWidth: 34
            implicitHeight: 34

            SymbolIcon {
                anchors.centerIn: parent
                symbol: row.symbol
                color: Theme.accent
                size: 24
            }
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2

            StyledText {
                Layout.fillWidth: true
                text: row.title
                font: Theme.headline
                wrapMode: Text.Wrap
                maximumLineCount: 2
                elide: Text.ElideRight
                Accessible.ignored: true
            }
            StyledText {
                Layout.fillWidth: true
                text: row.subtitle
                font: Theme.subheadline
                isSecondary: true
                maximumLineCount: 2
                elide: Text.ElideRight
                Accessible.ignored: true
            }
        }
        RowLayout {
            visible: row.isLikelyMeeting
            spacing: 6

            SymbolIcon {
                symbol: "checkmark.seal.fill"
                color: Theme.good
                size: 18
            }
            StyledText {
                text: qsTr("Likely meeting source")
                font: Theme.caption
                color: Theme.good
                wrapMode: Text.NoWrap
                Accessible.ignored: true
            }
        }
    }
}
