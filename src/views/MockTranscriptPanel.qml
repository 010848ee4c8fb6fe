import QtQuick
import QtQuick.Layouts
import Quorvel.Views

// Feeds typed lines into the transcript, without sound or a backend.
Card {
    id: panel

    required property AppState appState

    implicitHeight: column.implicitHeight + 2 * Theme.padding

    ColumnLayout {
        id: column

        anchors.fill: parent
        anchors.margins: Theme.padding
        spacing: Theme.spacing

        SectionHeader {
            Layout.fillWidth: true
            symbol: "paperplane.fill"
            title: qsTr("Mock transcript mode")
        }
        TextEditor {
            id: editor

            Layout.fillWidth: true
            implicitHeight: 120
            label: qsTr("Mock transcript")
            placeholderText: qsTr("One line for each turn")
            text: panel.appState.mockText
            onEdited: panel.appState.mockText = text
        }
        ActionButton {
            text: qsTr("Submit Mock Transcript")
            symbol: "paperplane.fill"
            isProminent: true
            onClicked: panel.appState.submitMockTranscript()
        }
    }
}
