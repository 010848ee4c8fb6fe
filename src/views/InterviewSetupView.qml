import QtQuick
import QtQuick.Dialogs
import QtQuick.Layouts
import Quorvel.Views

// Where the user tells who they are and what the interview is about.
FocusScope {
    id: view

    required property MainViewModel main
    readonly property InterviewSetupViewModel setup: main.interviewSetup
    readonly property AppState appState: main.appState

    // The window's default action, for every control that has no use for Return itself.
    Keys.onReturnPressed: save.press()
    Keys.onEnterPressed: save.press()

    FileDialog {
        id: resumePicker

        title: qsTr("Upload Resume")
        nameFilters: [qsTr("Resumes (*.pdf *.txt *.docx)"), qsTr("PDF (*.pdf)"), qsTr("Plain text (*.txt)"), qsTr("Word document (*.docx)")]
        onAccepted: view.setup.extractResume(selectedFile)
    }

    RowLayout {
        anchors.fill: parent
        spacing: 0

        SetupSidebar {
            Layout.preferredWidth: 260
            Layout.fillHeight: true
            setup: view.setup
        }
        ScrollArea {
            id: scroll

            Layout.fillWidth: true
            Layout.fillHeight: true

            ColumnLayout {
                x: 24
                width: Math.min(scroll.availableWidth, 960) - 48
                spacing: 16

                StyledText {
                    Layout.fillWidth: true
                    Layout.topMargin: 24
                    text: qsTr("Interview Setup")
                    font: Theme.largeTitle
                }
                StyledText {
                    Layout.fillWidth: true
                    text: qsTr("Add your resume, job description, mode, role, and tone before listening starts.")
                    font: Theme.thirdTitle
                    isSecondary: true
                }
                RowLayout {
                    Layout.fillWidth: true
                    visible: view.appState.isSessionRunning
                    spacing: 8

                    SymbolIcon {
                        symbol: "waveform"
                        color: Theme.waiting
                        size: 18
                    }
                    StyledText {
                        Layout.fillWidth: true
                        text: qsTr("Listening continues while you edit. Save changes to update backend context.")
                        font: Theme.strongCallout
                        color: Theme.waiting
                    }
                }
                ErrorBanner {
                    Layout.fillWidth: true
                    radius: Theme.radius
                    visible: view.appState.hasErrorMessage
                    message: view.main.errorMessage
                    onDismissed: view.appState.dismissError()
                }

                RowLayout {
                    Layout.fillWidth: true
                    spacing: 16

                    Panel {
                        Layout.fillWidth: true
                        Layout.fillHeight: true

                        SectionHeader {
                            Layout.fillWidth: true
                            symbol: "doc.text"
                            title: qsTr("Resume")
                        }
                        Flow {
                            id: upload

                            Layout.fillWidth: true
                            spacing: 10

                            ActionButton {
                                id: uploadButton

                                enabled: !view.appState.isExtractingResume
                                symbol: "square.and.arrow.up"
                                text: view.setup.uploadTitle
                                onClicked: resumePicker.open()
                            }
                            Item {
                                visible: view.appState.isExtractingResume
                                width: spinner.width
                                height: uploadButton.height

                                Spinner {
                                    id: spinner

                                    anchors.verticalCenter: parent.verticalCenter
                                    visible: parent.visible
                                    label: qsTr("Reading the resume")
                                }
                            }
                            StyledText {
                                width: Math.min(implicitWidth, upload.width)
                                height: Math.max(implicitHeight, uploadButton.height)
                                verticalAlignment: Text.AlignVCenter
                                text: view.setup.uploadHint
                                isSecondary: true
                                wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                                maximumLineCount: 3
                                elide: Text.ElideRight
                            }
                        }
                        Rectangle {
                            Layout.fillWidth: true
                            implicitHeight: summary.implicitHeight + 20
                            visible: view.setup.hasResume
                            radius: 6
                            color: Theme.inset

                            SelectableText {
                                id: summary

                                anchors.fill: parent
                                anchors.margins: 10
                                text: view.appState.meetingContext.resumeSummary
                                font: Theme.callout
                            }
                        }
                        Item {
                            Layout.fillHeight: true
                        }
                    }
                    Panel {
                        Layout.preferredWidth: 260 + 2 * Theme.padding
                        Layout.alignment: Qt.AlignTop
                        Layout.fillHeight: true

                        SectionHeader {
                            Layout.fillWidth: true
                            symbol: "slider.horizontal.2.square"
                            title: qsTr("Session Mode")
                        }
                        SegmentedPicker {
                            Layout.preferredWidth: 260
                            label: qsTr("Session Mode")
                            titles: view.setup.modeTitles
                            currentIndex: view.setup.modeIndex
                            onChosen: index => view.setup.modeIndex = index
                        }
                        StyledText {
                            Layout.fillWidth: true
                            text: view.setup.modeText
                            isSecondary: true
                        }
                        Item {
                            Layout.fillHeight: true
                        }
                    }
                }

                Panel {
                    Layout.fillWidth: true

                    SectionHeader {
                        Layout.fillWidth: true
                        symbol: "briefcase"
                        title: qsTr("Job Description")
                    }
                    TextEditor {
                        Layout.fillWidth: true
                        Layout.preferredHeight: 150
                        label: qsTr("Job Description")
                        text: view.appState.meetingContext.jobDescription
                        onEdited: view.appState.meetingContext.jobDescription = text
                    }
                }

                Panel {
                    Layout.fillWidth: true

                    SectionHeader {
                        Layout.fillWidth: true
                        symbol: "person.text.rectangle"
                        title: qsTr("Meeting Context")
                    }
                    InputField {
                        Layout.fillWidth: true
                        label: qsTr("Role")
                        text: view.appState.meetingContext.userRole
                        onTextChanged: view.appState.meetingContext.userRole = text
                    }
                    InputField {
                        Layout.fillWidth: true
                        label: qsTr("Goal")
                        text: view.appState.meetingContext.meetingGoal
                        onTextChanged: view.appState.meetingContext.meetingGoal = text
                    }
                    InputField {
                        Layout.fillWidth: true
                        label: qsTr("Tone")
                        text: view.appState.meetingContext.tone
                        onTextChanged: view.appState.meetingContext.tone = text
                    }
                    StyledText {
                        Layout.fillWidth: true
                        visible: text.length > 0
                        text: view.setup.keytermsLine
                        font: Theme.caption
                        isSecondary: true
                    }
                }

                RowLayout {
                    Layout.fillWidth: true
                    Layout.bottomMargin: 24
                    spacing: 10

                    ActionButton {
                        enabled: view.setup.canReset
                        symbol: "arrow.counterclockwise"
                        text: qsTr("Reset")
                        onClicked: view.appState.resetInterviewSetup()
                    }
                    Item {
                        Layout.fillWidth: true
                    }
                    ActionButton {
                        visible: view.appState.hasCompletedInterviewSetup
                        enabled: view.setup.isComplete
                        symbol: "arrow.left.circle"
                        text: qsTr("Back to Dashboard")
                        onClicked: view.appState.closeInterviewSetup()
                    }
                    ActionButton {
                        id: save

                        enabled: view.setup.isComplete
                        symbol: "arrow.right.circle.fill"
                        text: view.setup.saveTitle
                        isProminent: true
                        onClicked: view.appState.saveInterviewSetup()
                    }
                }
            }
        }
    }
}
