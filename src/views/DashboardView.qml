import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import QtQuick.Templates as T
import Quorvel.Views

// The transcript on the left, everything else on the right.
FocusScope {
    id: view

    required property MainViewModel main
    readonly property AppState appState: main.appState

    Component.onCompleted: main.dashboard.refreshSources()

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        TopBar {
            Layout.fillWidth: true
            dashboard: view.main.dashboard
        }
        ErrorBanner {
            Layout.fillWidth: true
            visible: view.appState.hasErrorMessage
            message: view.main.errorMessage
            offersRecovery: view.appState.capturePermissionRecoveryVisible
            onDismissed: view.appState.dismissError()
            onSettingsRequested: view.appState.openScreenRecordingSettings()
            onQuitRequested: Qt.quit()
        }

        SplitView {
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.margins: Theme.padding
            Layout.rightMargin: 0

            handle: Item {
                id: grip

                readonly property color tint: T.SplitHandle.pressed ? Theme.accent : T.SplitHandle.hovered ? Theme.secondaryText : Theme.controlOutline

                implicitWidth: Theme.padding

                Rectangle {
                    anchors.centerIn: parent
                    width: 3
                    height: 36
                    radius: 1.5
                    color: grip.tint
                }
            }

            Card {
                SplitView.minimumWidth: 420
                SplitView.preferredWidth: 560
                SplitView.fillWidth: true

                TranscriptView {
                    anchors.fill: parent
                    store: view.appState.transcriptStore
                }
            }

            ScrollArea {
                id: side

                SplitView.minimumWidth: 400
                SplitView.preferredWidth: view.main.sideWidth
                rightPadding: Theme.padding + 4
                ScrollBar.vertical.policy: ScrollBar.AlwaysOn
                onWidthChanged: if (width >= 400) {
                    view.main.sideWidth = width;
                }

                ColumnLayout {
                    width: side.availableWidth
                    spacing: Theme.padding

                    LiveHealthPanel {
                        Layout.fillWidth: true
                        dashboard: view.main.dashboard
                    }
                    SuggestionsPanel {
                        Layout.fillWidth: true
                        engine: view.appState.suggestionEngine
                    }
                    OverlaySettingsGroup {
                        Layout.fillWidth: true
                        appState: view.appState
                    }
                    AccountPanel {
                        Layout.fillWidth: true
                        dashboard: view.main.dashboard
                    }
                }
            }
        }
    }

    SharePickerView {
        picker: view.main.sharePicker
    }
}
