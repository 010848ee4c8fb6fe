import QtQuick
import QtQuick.Layouts
import Quorvel.Views

// Who is signed in, the way to the setup, and lines typed instead of spoken.
Panel {
    id: panel

    required property DashboardViewModel dashboard
    readonly property AppState appState: dashboard.appState

    SectionHeader {
        Layout.fillWidth: true
        symbol: "person.crop.circle"
        title: qsTr("Account")
    }
    StyledText {
        Layout.fillWidth: true
        text: panel.dashboard.userText
        isSecondary: true
        wrapMode: Text.WrapAnywhere
    }
    ActionButton {
        symbol: "person.text.rectangle"
        text: qsTr("Edit Interview Setup")
        onClicked: panel.appState.showInterviewSetup = true
    }
    ToggleSwitch {
        text: qsTr("Mock transcript mode")
        checked: panel.appState.mockModeEnabled
        onToggled: panel.appState.mockModeEnabled = checked
    }
    TextEditor {
        Layout.fillWidth: true
        Layout.preferredHeight: 120
        visible: panel.appState.mockModeEnabled
        label: qsTr("Mock transcript")
        placeholderText: qsTr("One line for each turn")
        text: panel.appState.mockText
        onEdited: panel.appState.mockText = text
    }
    ActionButton {
        visible: panel.appState.mockModeEnabled
        symbol: "paperplane.fill"
        text: qsTr("Submit Mock Transcript")
        onClicked: panel.appState.submitMockTranscript()
    }
    ActionButton {
        symbol: "rectangle.portrait.and.arrow.right"
        text: qsTr("Log Out")
        isDestructive: true
        onClicked: panel.appState.logout()
    }
}
