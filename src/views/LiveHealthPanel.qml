import QtQuick
import QtQuick.Layouts
import Quorvel.Views

// Whether sound flows, and what the backend makes of it.
Panel {
    id: panel

    required property DashboardViewModel dashboard

    RowLayout {
        Layout.fillWidth: true

        SectionHeader {
            Layout.fillWidth: true
            symbol: "waveform.path.ecg"
            title: qsTr("Live Health")
        }
        StyledText {
            visible: panel.dashboard.audioHealth.isGood
            text: qsTr("Audio receiving")
            font: Theme.caption
            color: Theme.good
            wrapMode: Text.NoWrap
        }
    }
    GridLayout {
        Layout.fillWidth: true
        columns: 2
        columnSpacing: 12
        rowSpacing: 12

        HealthItemView {
            Layout.fillWidth: true
            Layout.preferredWidth: 1
            title: qsTr("Transcriber")
            health: panel.dashboard.transcriberHealth
        }
        HealthItemView {
            Layout.fillWidth: true
            Layout.preferredWidth: 1
            title: qsTr("Audio")
            health: panel.dashboard.audioHealth
        }
        HealthItemView {
            Layout.fillWidth: true
            Layout.preferredWidth: 1
            title: qsTr("Latency")
            health: panel.dashboard.latencyHealth
        }
        HealthItemView {
            Layout.fillWidth: true
            Layout.preferredWidth: 1
            title: qsTr("Session")
            health: panel.dashboard.sessionHealth
        }
    }
    StyledText {
        Layout.fillWidth: true
        visible: text.length > 0
        text: panel.dashboard.sourceLine
        font: Theme.caption
        isSecondary: true
    }
    StyledText {
        Layout.fillWidth: true
        text: panel.dashboard.countersLine
        font: Theme.caption
        isSecondary: true
    }
}
