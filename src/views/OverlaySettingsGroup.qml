import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Quorvel.Views

// The overlay's settings, folded away until they are wanted.
Panel {
    id: group

    required property AppState appState
    property bool isExpanded: false

    T.AbstractButton {
        id: opener

        Layout.fillWidth: true
        implicitHeight: header.implicitHeight
        text: qsTr("Advanced Overlay Settings")
        focusPolicy: Qt.StrongFocus
        onClicked: group.isExpanded = !group.isExpanded
        Keys.onReturnPressed: clicked()
        Keys.onEnterPressed: clicked()
        Accessible.role: Accessible.Button
        Accessible.name: text
        Accessible.description: group.isExpanded ? qsTr("Expanded") : qsTr("Collapsed")
        Accessible.onPressAction: clicked()

        FocusRing {
            control: opener
        }
        RowLayout {
            id: header

            width: parent.width

            SectionHeader {
                Layout.fillWidth: true
                symbol: "slider.horizontal.3"
                title: opener.text
                Accessible.ignored: true
            }
            SymbolIcon {
                symbol: "chevron.right"
                color: Theme.secondaryText
                rotation: group.isExpanded ? 90 : 0

                Behavior on rotation {
                    NumberAnimation {
                        duration: Theme.quickMotion
                    }
                }
            }
        }
    }
    OverlayPreviewView {
        Layout.fillWidth: true
        visible: group.isExpanded
        appState: group.appState
    }
}
