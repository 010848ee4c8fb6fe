import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Quorvel.Views

// The transcript on the left, everything else on the right.
Item {
    id: dashboard

    required property AppState appState

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        TopBar {
            Layout.fillWidth: true
            appState: dashboard.appState
        }
        ErrorBanner {
            Layout.fillWidth: true
            visible: dashboard.appState.hasErrorMessage
            message: dashboard.appState.errorMessage
            onDismissed: dashboard.appState.dismissError()
        }

        SplitView {
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.margins: Theme.padding
            Layout.rightMargin: 0

            handle: Item {
                implicitWidth: Theme.padding
            }

            Card {
                SplitView.minimumWidth: 420
                SplitView.preferredWidth: 560
                SplitView.fillWidth: true

                TranscriptView {
                    anchors.fill: parent
                    store: dashboard.appState.transcriptStore
                }
            }

            ScrollView {
                id: side

                SplitView.minimumWidth: 400
                SplitView.preferredWidth: 500
                contentWidth: availableWidth
                rightPadding: Theme.padding

                ColumnLayout {
                    width: side.availableWidth
                    spacing: Theme.padding

                    SuggestionsPanel {
                        Layout.fillWidth: true
                        engine: dashboard.appState.suggestionEngine
                    }
                    OverlayPreviewView {
                        Layout.fillWidth: true
                        appState: dashboard.appState
                    }
                    MockTranscriptPanel {
                        Layout.fillWidth: true
                        appState: dashboard.appState
                    }
                }
            }
        }
    }
}
