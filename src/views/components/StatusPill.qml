import QtQuick
import Quorvel.Views

// A state in one word, with a light that is green when all is well.
Rectangle {
    id: pill

    required property string status
    required property bool isGood

    implicitWidth: row.implicitWidth + 20
    implicitHeight: row.implicitHeight + 14
    radius: height / 2
    color: Theme.control
    border.width: 1
    border.color: Theme.hairline
    Accessible.role: Accessible.StaticText
    Accessible.name: qsTr("Session: %1").arg(status)

    Row {
        id: row

        anchors.centerIn: parent
        spacing: 6

        Rectangle {
            anchors.verticalCenter: parent.verticalCenter
            width: 8
            height: 8
            radius: 4
            color: pill.isGood ? Theme.good : Theme.secondaryText
        }
        Text {
            text: pill.status
            font: Theme.caption
            color: Theme.primaryText
            textFormat: Text.PlainText
            Accessible.ignored: true
        }
    }
}
