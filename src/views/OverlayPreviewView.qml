import QtQuick
import QtQuick.Layouts
import Quorvel.Views

// Tunes the overlay: what is changed here shows in the preview at once, and in the overlay with the button.
Card {
    id: panel

    required property AppState appState

    implicitHeight: column.implicitHeight + 2 * Theme.padding

    ColumnLayout {
        id: column

        anchors.fill: parent
        anchors.margins: Theme.padding
        spacing: 12

        SectionHeader {
            symbol: "rectangle.inset.filled"
            title: qsTr("Overlay")
        }

        StyledText {
            Layout.fillWidth: true
            text: qsTr("If you share your entire screen, this overlay may be visible to others. Share only a specific window/tab to keep it private.")
            font: Theme.caption
            isSecondary: true
        }

        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: panel.appState.overlaySettings.height
            opacity: panel.appState.overlaySettings.opacity
            radius: Theme.radius
            color: Theme.inset
            border.width: 1
            border.color: Theme.hairline

            StyledText {
                anchors.fill: parent
                anchors.margins: 16
                text: panel.appState.currentSuggestionText.length > 0 ? panel.appState.currentSuggestionText : qsTr("Quorvel ready")
                font: Theme.headline
                fontSizeMode: Text.Fit
                minimumPointSize: Math.max(1, Math.ceil(Theme.baseSize * 0.7))
                maximumLineCount: 4
                elide: Text.ElideRight
                verticalAlignment: Text.AlignVCenter
            }
        }

        GridLayout {
            Layout.fillWidth: true
            columns: 2
            columnSpacing: 16
            rowSpacing: 6

            SliderLabel {
                text: qsTr("Width")
            }
            ValueSlider {
                Layout.fillWidth: true
                label: qsTr("Width")
                from: 0.5
                to: 1.0
                value: panel.appState.overlaySettings.widthRatio
                onMoved: panel.appState.overlaySettings.widthRatio = value
            }

            SliderLabel {
                text: qsTr("Height")
            }
            ValueSlider {
                Layout.fillWidth: true
                label: qsTr("Height")
                from: 80
                to: 220
                value: panel.appState.overlaySettings.height
                onMoved: panel.appState.overlaySettings.height = value
            }

            SliderLabel {
                text: qsTr("Opacity")
            }
            ValueSlider {
                Layout.fillWidth: true
                label: qsTr("Opacity")
                from: 0.25
                to: 1.0
                value: panel.appState.overlaySettings.opacity
                onMoved: panel.appState.overlaySettings.opacity = value
            }

            SliderLabel {
                text: qsTr("Top Offset")
            }
            ValueSlider {
                Layout.fillWidth: true
                label: qsTr("Top Offset")
                from: 60
                to: 180
                value: panel.appState.overlaySettings.topOffset
                onMoved: panel.appState.overlaySettings.topOffset = value
            }
        }

        ToggleSwitch {
            text: qsTr("Click-through overlay")
            checked: panel.appState.overlaySettings.clickThrough
            onToggled: panel.appState.overlaySettings.clickThrough = checked
        }

        ActionButton {
            symbol: "slider.horizontal.3"
            text: qsTr("Apply Overlay Settings")
            onClicked: panel.appState.saveOverlaySettings()
        }
    }

    // The sliders have these names, too.
    component SliderLabel: StyledText {
        font: Theme.callout
        Accessible.ignored: true
    }
}
