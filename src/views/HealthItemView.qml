import QtQuick
import QtQuick.Layouts
import Quorvel.Views

// One measure of the session with a light: green when it is good.
RowLayout {
    id: item

    required property string title
    required property healthItem health

    spacing: 10
    Accessible.role: Accessible.StaticText
    Accessible.name: qsTr("%1: %2").arg(title).arg(health.value)

    Rectangle {
        Layout.alignment: Qt.AlignTop
        Layout.topMargin: 4
        implicitWidth: 8
        implicitHeight: 8
        radius: 4
        color: item.health.isGood ? Theme.good : Theme.waiting
    }
    ColumnLayout {
        Layout.fillWidth: true
        spacing: 2

        StyledText {
            Layout.fillWidth: true
            text: item.title
            font: Theme.caption
            isSecondary: true
            Accessible.ignored: true
        }
        StyledText {
            Layout.fillWidth: true
            text: item.health.value
            font: Theme.subheadline
            Accessible.ignored: true
        }
    }
}
