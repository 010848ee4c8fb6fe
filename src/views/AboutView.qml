import QtQuick
import QtQuick.Layouts
import Quorvel.Views

// What this program is.
Sheet {
    id: view

    title: qsTr("About Quorvel")
    wantedWidth: 380
    wantedHeight: 260
    closePolicy: Sheet.CloseOnEscape | Sheet.CloseOnPressOutside

    ColumnLayout {
        anchors.fill: parent
        spacing: 10
        Keys.onReturnPressed: view.close()

        Item {
            Layout.fillHeight: true
        }
        SymbolIcon {
            Layout.alignment: Qt.AlignHCenter
            symbol: "sparkles"
            color: Theme.good
            size: 44
        }
        StyledText {
            Layout.alignment: Qt.AlignHCenter
            text: Application.displayName
            font: Theme.secondTitle
        }
        StyledText {
            Layout.alignment: Qt.AlignHCenter
            text: qsTr("Version %1").arg(Application.version)
            font: Theme.caption
            isSecondary: true
        }
        StyledText {
            Layout.fillWidth: true
            Layout.leftMargin: 24
            Layout.rightMargin: 24
            horizontalAlignment: Text.AlignHCenter
            text: qsTr("Live answers for meetings and interviews. Nothing is recorded.")
            isSecondary: true
        }
        ActionButton {
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 6
            focus: true
            text: qsTr("Close")
            onClicked: view.close()
        }
        Item {
            Layout.fillHeight: true
        }
    }
}
