import QtQuick
import QtQuick.Layouts
import Quorvel.Views

// Sign-in: by the browser, or by a code that is sent to an e-mail address.
FocusScope {
    id: view

    required property MainViewModel main
    readonly property AppState appState: main.appState

    ScrollArea {
        anchors.fill: parent
        focus: true
        contentHeight: column.implicitHeight + 64

        ColumnLayout {
            id: column

            x: 32
            y: Math.max(32, (view.height - implicitHeight) / 2)
            width: Math.min(view.width, 620) - 64
            spacing: 18

            SectionHeader {
                Layout.fillWidth: true
                symbol: "person.crop.circle.badge.checkmark"
                title: qsTr("Sign in to Quorvel")
                font: Theme.largeTitle
            }
            StyledText {
                Layout.fillWidth: true
                text: qsTr("Use Gmail OTP to log in or create your account. Google sign-in is handled by the backend OAuth endpoint when configured.")
                font: Theme.thirdTitle
                isSecondary: true
            }
            ActionButton {
                symbol: "g.circle.fill"
                text: qsTr("Continue with Google")
                onClicked: view.main.beginGoogleLogin()
            }
            InputField {
                Layout.fillWidth: true
                focus: true
                label: qsTr("Email")
                inputMethodHints: Qt.ImhEmailCharactersOnly
                text: view.appState.authEmail
                onTextChanged: view.appState.authEmail = text
                Keys.onReturnPressed: otp.press()
                Keys.onEnterPressed: otp.press()
            }
            RowLayout {
                spacing: 10

                ActionButton {
                    id: otp

                    enabled: !view.appState.isAuthenticating
                    symbol: "envelope.fill"
                    text: qsTr("Send Gmail OTP")
                    isProminent: true
                    onClicked: view.main.requestOtp()
                }
                Spinner {
                    visible: view.appState.isAuthenticating
                    label: qsTr("Signing in")
                }
            }
            RowLayout {
                Layout.fillWidth: true
                spacing: 10

                InputField {
                    Layout.fillWidth: true
                    label: qsTr("6-digit code")
                    inputMethodHints: Qt.ImhDigitsOnly
                    text: view.appState.authCode
                    onTextChanged: view.appState.authCode = text
                    Keys.onReturnPressed: verify.press()
                    Keys.onEnterPressed: verify.press()
                }
                ActionButton {
                    id: verify

                    symbol: "checkmark.circle.fill"
                    text: qsTr("Verify and Continue")
                    onClicked: view.main.verifyOtp()
                }
            }
            SelectableText {
                Layout.fillWidth: true
                visible: view.main.authMessage.length > 0
                text: view.main.authMessage
                color: Theme.secondaryText
                activeFocusOnTab: true
            }
        }
    }
}
