import QtQuick
import QtQuick.Layouts
import Quorvel.Views

// Chooses what to listen to; choosing starts the session.
Sheet {
    id: view

    required property SharePickerViewModel picker
    readonly property AppState appState: picker.appState

    title: qsTr("Choose Source")
    wantedWidth: 680
    wantedHeight: 520
    visible: appState.showSharePicker
    closePolicy: Sheet.CloseOnEscape
    onAboutToShow: picker.selectPreferredKind()
    onClosed: appState.showSharePicker = false

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        ColumnLayout {
            Layout.fillWidth: true
            Layout.margins: 18
            spacing: 14

            RowLayout {
                Layout.fillWidth: true
                spacing: 8

                SectionHeader {
                    Layout.fillWidth: true
                    symbol: "rectangle.on.rectangle.angled"
                    title: qsTr("Choose Source")
                    font: Theme.secondTitle
                }
                ActionButton {
                    symbol: "arrow.clockwise"
                    label: qsTr("Refresh")
                    onClicked: view.picker.refreshSources()
                }
                ActionButton {
                    symbol: "xmark"
                    label: qsTr("Close")
                    onClicked: view.appState.showSharePicker = false
                }
            }
            SegmentedPicker {
                Layout.fillWidth: true
                label: qsTr("Source type")
                titles: view.picker.kindTitles
                symbols: view.picker.kindSymbols
                currentIndex: view.picker.selectedKind
                onChosen: index => view.picker.selectedKind = index
            }
        }
        Divider {
            Layout.fillWidth: true
        }
        SourceList {
            id: list

            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: count > 0
            focus: true
            picker: view.picker
        }
        ColumnLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: list.count === 0
            spacing: 14

            Item {
                Layout.fillHeight: true
            }
            SymbolIcon {
                Layout.alignment: Qt.AlignHCenter
                symbol: view.picker.symbol
                color: Theme.secondaryText
                size: 36
            }
            StyledText {
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignHCenter
                text: view.picker.emptyText
            }
            ActionButton {
                Layout.alignment: Qt.AlignHCenter
                symbol: "arrow.clockwise"
                text: qsTr("Refresh")
                onClicked: view.picker.refreshSources()
            }
            Item {
                Layout.fillHeight: true
            }
        }
    }
}
