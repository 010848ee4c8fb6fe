import QtQuick
import QtQuick.Layouts
import Quorvel.Views

// The rules of use, shown until they have been accepted once.
Sheet {
    id: view

    required property MainViewModel main

    title: qsTr("Quorvel")
    visible: main.appState.showOnboarding
    closePolicy: Sheet.NoAutoClose
    onClosed: main.appState.showOnboarding = false

    ScrollArea {
        id: scroll

        anchors.fill: parent
        padding: 28
        focus: true
        Keys.onReturnPressed: view.main.appState.acceptConsent()
        Keys.onEnterPressed: view.main.appState.acceptConsent()

        ColumnLayout {
            width: scroll.availableWidth
            spacing: 18

            SectionHeader {
                Layout.fillWidth: true
                symbol: "person.wave.2.fill"
                title: qsTr("Quorvel")
                font: Theme.largeTitle
            }
            StyledText {
                Layout.fillWidth: true
                text: qsTr("Only use this with the explicit consent of all meeting participants and follow applicable laws. This app does not record or hide itself.")
                font: Theme.strongThirdTitle
            }
            StyledText {
                Layout.fillWidth: true
                text: qsTr("If you share your entire screen, this overlay may be visible to others. Share only a specific window/tab to keep it private.")
                isSecondary: true
            }
            Divider {
                Layout.fillWidth: true
            }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 6

                SectionHeader {
                    Layout.fillWidth: true
                    symbol: "server.rack"
                    title: qsTr("Backend Required")
                }
                StyledText {
                    Layout.fillWidth: true
                    text: view.main.backendNotice
                    isSecondary: true
                }
            }
            RowLayout {
                Layout.fillWidth: true

                ActionButton {
                    focus: true
                    symbol: "checkmark.circle.fill"
                    text: qsTr("I Understand")
                    isProminent: true
                    onClicked: view.main.appState.acceptConsent()
                }
                Item {
                    Layout.fillWidth: true
                }
                StyledText {
                    text: view.main.connectionText
                    color: view.main.isConnected ? Theme.good : Theme.secondaryText
                    wrapMode: Text.NoWrap
                }
            }
        }
    }
}
