import QtQuick
import QtQuick.Layouts
import Quorvel.Views

// Name and state of the session, and what starts and ends it.
Rectangle {
    id: bar

    required property DashboardViewModel dashboard
    // Points at the right end that are somebody else's.
    property int reserved: 46

    implicitHeight: row.implicitHeight + 20
    color: Theme.bar

    RowLayout {
        id: row

        anchors.fill: parent
        anchors.leftMargin: Theme.padding
        anchors.rightMargin: Theme.padding + bar.reserved
        spacing: Theme.spacing

        SymbolIcon {
            symbol: "sparkles"
            color: Theme.good
            size: 24
        }
        ColumnLayout {
            Layout.fillWidth: true
            Layout.minimumWidth: 220
            spacing: 1

            StyledText {
                Layout.fillWidth: true
                text: qsTr("Quorvel")
                font: Theme.headline
            }
            StyledText {
                Layout.fillWidth: true
                text: bar.dashboard.sourceText
                font: Theme.caption
                isSecondary: true
                wrapMode: Text.NoWrap
                elide: Text.ElideRight
            }
        }
        StatusPill {
            status: bar.dashboard.sessionHealth.value
            isGood: bar.dashboard.sessionHealth.isGood
        }
        ActionButton {
            enabled: bar.dashboard.canChooseSource
            symbol: "rectangle.on.rectangle.angled"
            text: qsTr("Choose Source")
            isProminent: true
            onClicked: bar.dashboard.openSharePicker()
        }
        ActionButton {
            visible: bar.dashboard.isStopShown
            enabled: bar.dashboard.canStop
            symbol: "stop.fill"
            text: qsTr("Stop")
            isProminent: true
            prominentColor: Theme.waiting
            prominentTextColor: Theme.waitingText
            onClicked: bar.dashboard.stopScreenShare()
        }
        ActionButton {
            enabled: bar.dashboard.canOpenSetup
            symbol: "gearshape"
            label: qsTr("Interview setup")
            onClicked: bar.dashboard.appState.showInterviewSetup = true
        }
    }
    Divider {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
    }
}
