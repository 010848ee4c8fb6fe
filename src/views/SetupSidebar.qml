import QtQuick
import QtQuick.Layouts
import Quorvel.Views

// What the setup takes, and how far it has come.
Rectangle {
    id: sidebar

    required property InterviewSetupViewModel setup

    color: Theme.bar

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 22
        spacing: 18

        SectionHeader {
            Layout.fillWidth: true
            symbol: "person.text.rectangle"
            title: qsTr("Setup")
            font: Theme.boldSecondTitle
        }
        StyledText {
            Layout.fillWidth: true
            text: qsTr("Give Quorvel enough context to answer like you, not like a template.")
            font: Theme.callout
            isSecondary: true
        }
        Divider {
            Layout.fillWidth: true
        }
        Step {
            title: qsTr("Resume")
            isComplete: sidebar.setup.hasResume
        }
        Step {
            title: qsTr("Job description")
            isComplete: sidebar.setup.hasJobDescription
        }
        Step {
            title: qsTr("Mode and tone")
            isComplete: sidebar.setup.hasRole
        }
        Step {
            title: qsTr("Ready")
            isComplete: sidebar.setup.isComplete
        }
        Item {
            Layout.fillHeight: true
        }
        RowLayout {
            visible: sidebar.setup.isDevelopmentMode
            spacing: 6

            SymbolIcon {
                symbol: "hammer"
                color: Theme.secondaryText
            }
            StyledText {
                Layout.fillWidth: true
                text: qsTr("Development mode")
                font: Theme.boldCaption
            }
        }
    }
    Divider {
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        anchors.right: parent.right
        width: 1
    }

    component Step: RowLayout {
        id: step

        required property string title
        required property bool isComplete

        Layout.fillWidth: true
        spacing: 10
        Accessible.role: Accessible.StaticText
        Accessible.name: isComplete ? qsTr("%1: complete").arg(title) : qsTr("%1: to do").arg(title)

        SymbolIcon {
            symbol: step.isComplete ? "checkmark.circle.fill" : "circle"
            color: step.isComplete ? Theme.good : Theme.secondaryText
            size: 18
        }
        StyledText {
            Layout.fillWidth: true
            text: step.title
            font: Theme.strongCallout
            Accessible.ignored: true
        }
    }
}
