#include "views/MainViewModel.h"

#include <QKeySequence>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

QString shown(const std::optional<QString>& message)
{
    if (!message) {
        return {};
    }
    // More is not looked at: it may be megabytes.
    const QString text = message->left(4 * MainViewModel::longestMessage).simplified();
    if (text.isEmpty()) {
        return u"Backend request failed."_s;
    }
    return text.size() <= MainViewModel::longestMessage ? text : text.left(MainViewModel::longestMessage) + u'\u2026';
}

} // namespace

MainViewModel::MainViewModel(AppState& state)
    : ViewModel(state)
    , m_interviewSetup(state)
    , m_dashboard(state)
    , m_sharePicker(state)
{
    observe(&AppState::backendAvailabilityChanged, &AppState::isAuthenticatedChanged,
            &AppState::needsInterviewSetupChanged, &AppState::showInterviewSetupChanged,
            &AppState::backendConnectionStatusChanged, &AppState::authMessageChanged);
    connect(&state, &AppState::errorMessageChanged, this, &MainViewModel::errorMessageChanged);
}

MainViewModel::Screen MainViewModel::screen() const
{
    if (appState()->backendAvailability() != BackendAvailability::available) {
        return Screen::serverConnection;
    }
    if (!appState()->isAuthenticated()) {
        return Screen::authGate;
    }
    if (appState()->needsInterviewSetup() || appState()->showInterviewSetup()) {
        return Screen::interviewSetup;
    }
    return Screen::dashboard;
}

int MainViewModel::minimumWidth() const
{
    switch (screen()) {
    case Screen::serverConnection:
    case Screen::authGate:
        return 620;
    case Screen::interviewSetup:
        return 840;
    case Screen::dashboard:
        break;
    }
    return 940;
}

int MainViewModel::minimumHeight() const
{
    switch (screen()) {
    case Screen::serverConnection:
        return 420;
    case Screen::authGate:
        return 520;
    case Screen::interviewSetup:
    case Screen::dashboard:
        break;
    }
    return 640;
}

void MainViewModel::setSideWidth(double width)
{
    if (width != m_sideWidth) {
        m_sideWidth = width;
        Q_EMIT sideWidthChanged();
    }
}

QString MainViewModel::clearSequence()
{
    return u"Meta+Shift+C"_s;
}

QString MainViewModel::clearKeys()
{
    return clearSequence().replace(u"Meta"_s, u"Super"_s);
}

QString MainViewModel::quitSequence()
{
    return QKeySequence(QKeySequence::Quit).toString();
}

bool MainViewModel::isCheckingBackend() const
{
    return appState()->backendAvailability() == BackendAvailability::checking;
}

void MainViewModel::checkBackend()
{
    launch(appState()->checkBackend());
}

QString MainViewModel::backendNotice() const
{
    return tr("Quorvel connects to the secure backend at %1. Deepgram handles transcription; OpenAI handles "
              "suggestions.")
        .arg(appState()->backendHost());
}

QString MainViewModel::connectionText() const
{
    return tr("Backend: %1").arg(rawValue(appState()->backendConnectionStatus()));
}

bool MainViewModel::isConnected() const
{
    return appState()->backendConnectionStatus() == BackendConnectionStatus::connected;
}

QString MainViewModel::errorMessage() const
{
    return shown(appState()->errorMessage());
}

QString MainViewModel::authMessage() const
{
    return shown(appState()->authMessage());
}

void MainViewModel::requestOtp()
{
    launch(appState()->requestOtp());
}

void MainViewModel::verifyOtp()
{
    launch(appState()->verifyOtp());
}

void MainViewModel::beginGoogleLogin()
{
    launch(appState()->beginGoogleLogin());
}

} // namespace quorvel
