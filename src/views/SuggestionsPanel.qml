import QtQuick
import QtQuick.Layouts
import Quorvel.Views

// The suggested answers so far, newest first.
Panel {
    id: panel

    required property SuggestionEngine engine

    RowLayout {
        Layout.fillWidth: true

        SectionHeader {
            Layout.fillWidth: true
            symbol: "text.bubble"
            title: qsTr("Suggestions")
        }
        Spinner {
            visible: panel.engine.isWorking
            label: qsTr("Working on a suggestion")
        }
    }

    ColumnLayout {
        Layout.fillWidth: true
        visible: repeater.count === 0
        spacing: 6

        StyledText {
            Layout.fillWidth: true
            text: qsTr("No suggestion yet.")
            font.family: Theme.body.family
            font.pixelSize: 24
        }
        StyledText {
            Layout.fillWidth: true
            isSecondary: true
            text: qsTr("Choose a source and let the interviewer ask a question. Suggestions will appear here and in the overlay.")
        }
    }

    ColumnLayout {
        Layout.fillWidth: true
        visible: repeater.count > 0
        spacing: 10

        Repeater {
            id: repeater

            model: panel.engine.history
            delegate: SuggestionRow {
                Layout.fillWidth: true
            }
        }
    }
}
