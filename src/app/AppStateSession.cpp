#include "app/AppState.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

bool isWithdrawn(const Failure& failure)
{
    return failure.code == errorCode(platform::PlatformError::cancelled);
}

} // namespace

Task<> AppState::startSession()
{
    const auto self = shared_from_this();
    if (m_sessionStatus == SessionStatus::running) {
        co_return;
    }
    if (!m_selectedSource) {
        setErrorMessage(u"Choose a screen, browser tab, or window to share."_s);
        co_return;
    }
    if (needsInterviewSetup()) {
        setShowInterviewSetup(true);
        setErrorMessage(u"Add your resume and job description before starting."_s);
        co_return;
    }
    if (!isAuthenticated()) {
        setErrorMessage(u"Please log in before starting."_s);
        co_return;
    }

    const int session = ++m_session;
    resetForNewSession();
    CaptureSource source = *m_selectedSource;
    const Result<> opened = co_await openSession(std::move(source), session);
    if (session != m_session) {
        co_return; // Another start has taken over, and with it the connection and the capture.
    }
    if (opened && isOpening(session)) {
        setSessionStatus(SessionStatus::running);
        co_return;
    }
    // Ended while a step was awaited, by a failure that is shown already or by the user: what the step opened must not
    // go on unseen, and that our own close withdrew it is no news.
    const bool isStopped = m_sessionStatus == SessionStatus::idle || m_sessionStatus == SessionStatus::stopping;
    if (opened || isStopped || (isWithdrawn(opened.error()) && !isOpening(session))) {
        closeConnection();
        co_await stopCaptureIgnoringFailure();
        co_return;
    }
    presentError(opened.error());
    closeConnection();
    setBackendConnectionStatus(BackendConnectionStatus::error);
    co_await stopCaptureIgnoringFailure();
    setSessionStatus(SessionStatus::failed);
}

void AppState::resetForNewSession()
{
    setSessionStatus(SessionStatus::starting);
    setErrorMessage(std::nullopt);
    setCapturePermissionRecoveryVisible(false);
    setBackendConnectionStatus(BackendConnectionStatus::connecting);
    setBackendTranscriberStatus(BackendTranscriberStatus::waiting);
    assign(m_backendDiagnostics, BackendDiagnostics(), &AppState::backendDiagnosticsChanged);
    m_transcriptStore->clear();
    m_suggestionEngine->clear();
}

Task<Result<>> AppState::openSession(CaptureSource source, int session)
{
    Result<> done = co_await m_captureService->ensureScreenRecordingPermission();
    if (!done || !isOpening(session)) {
        co_return done;
    }
    done = co_await m_backendClient->connect();
    if (!done || !isOpening(session)) {
        co_return done;
    }
    setBackendConnectionStatus(BackendConnectionStatus::connected);
    MeetingContext context = m_meetingContext;
    done = co_await m_backendClient->start(std::move(context), source);
    if (!done || !isOpening(session)) {
        co_return done;
    }
    co_return co_await m_captureService->startCapture(std::move(source));
}

bool AppState::isOpening(int session) const
{
    return session == m_session &&
           (m_sessionStatus == SessionStatus::starting || m_sessionStatus == SessionStatus::running);
}

Task<> AppState::stopSession()
{
    const auto self = shared_from_this();
    if (m_sessionStatus == SessionStatus::idle) {
        co_return;
    }
    setSessionStatus(SessionStatus::stopping);
    const Result<> stopped = co_await m_captureService->stopCapture();
    if (!stopped) {
        setErrorMessage(stopped.error().description);
    }
    co_await m_backendClient->stop();
    setBackendConnectionStatus(BackendConnectionStatus::disconnected);
    setBackendTranscriberStatus(BackendTranscriberStatus::closed);
    setSessionStatus(SessionStatus::idle);
}

Task<> AppState::failSession(QString message)
{
    const auto self = shared_from_this();
    presentErrorMessage(message);
    m_suggestionEngine->cancel();
    closeConnection();
    co_await stopCaptureIgnoringFailure();
    setBackendConnectionStatus(BackendConnectionStatus::error);
    setBackendTranscriberStatus(BackendTranscriberStatus::error);
    setSessionStatus(SessionStatus::failed);
    hideShareOverlay();
}

void AppState::closeConnection()
{
    m_endedSession = m_session;
    m_backendClient->disconnect();
}

Task<> AppState::stopCaptureIgnoringFailure()
{
    const auto captureService = m_captureService;
    // A capture that cannot be stopped is no news beside what ended the session.
    [[maybe_unused]] const Result<> stopped = co_await captureService->stopCapture();
}

void AppState::shutdown()
{
    m_backendClient->disconnect();
    launch(stopCaptureIgnoringFailure());
}

void AppState::handleDisconnect(const std::optional<QString>& reason)
{
    const bool isLive = m_sessionStatus == SessionStatus::running || m_sessionStatus == SessionStatus::starting;
    if (!isLive || m_endedSession == m_session) {
        return;
    }
    setErrorMessage(reason.value_or(u"Backend disconnected."_s));
    setBackendConnectionStatus(BackendConnectionStatus::disconnected);
    setSessionStatus(SessionStatus::failed);
    hideShareOverlay();
    // Nobody would hear what is captured from here on.
    m_suggestionEngine->cancel();
    closeConnection();
    launch(stopCaptureIgnoringFailure());
}

Task<> AppState::forwardAudio(QByteArray chunk)
{
    const auto self = shared_from_this();
    const Result<> sent = co_await m_backendClient->sendAudio(std::move(chunk));
    // Our own close withdraws what was still to be sent; that is an end of the session, not a failure of it.
    if (!sent && !isWithdrawn(sent.error())) {
        co_await failSession(sent.error().description);
    }
}

} // namespace quorvel
