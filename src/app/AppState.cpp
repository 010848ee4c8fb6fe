#include "app/AppState.h"

#include "app/SettingsKeys.h"
#include "storage/SettingsStore.h"

#include <QRegularExpression>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

template <typename... Handlers>
struct Overloaded : Handlers...
{
    using Handlers::operator()...;
};

} // namespace

std::shared_ptr<AppState> AppState::create(const platform::Services& services, const QUrl& backendOrigin)
{
    const std::shared_ptr<AppState> state(new AppState(services, backendOrigin));
    state->wireServices();
    state->m_mainThread->post([weak = std::weak_ptr(state)] {
        if (const auto alive = weak.lock()) {
            launch(alive->loadInitialState());
        }
    });
    return state;
}

AppState::AppState(const platform::Services& services, const QUrl& backendOrigin)
    : m_mainThread(services.mainThread)
    , m_clock(services.clock)
    , m_workspace(services.workspace)
    , m_screens(services.screens)
    , m_panels(services.panels)
    , m_keyMonitors(services.keyMonitors)
    , m_settings(openSettingsStore(*services.userDefaults))
    , m_consentGate(m_settings)
    , m_backendHost(backendOrigin.host())
    , m_availableSources({
          {.name = "title", .read = [](const CaptureSource& source) { return QVariant(source.displayName()); }},
          {.name = "subtitle", .read = [](const CaptureSource& source) { return QVariant(source.subtitle()); }},
          {.name = "kind", .read = [](const CaptureSource& source) { return QVariant(rawValue(source.kind)); }},
          {.name = "isLikelyMeeting",
           .read = [](const CaptureSource& source) { return QVariant(source.isLikelyMeeting); }},
      })
    , m_showOnboarding(!m_consentGate.hasAcceptedConsent())
    , m_overlaySettings(OverlaySettings::load(*m_settings))
    , m_transcriptStore(std::make_unique<TranscriptStore>(services.clock))
    , m_suggestionEngine(std::make_unique<SuggestionEngine>(
          std::make_shared<OpenAIResponseSuggestionClient>(services.urlSession), services.clock, m_mainThread))
    , m_shareableContent(std::make_shared<ShareableContentService>(services.shareableContent))
    , m_captureService(ScreenCaptureService::create(services.capture, services.clock))
    , m_backendClient(BackendRealtimeClient::create(services.urlSession, backendOrigin))
    , m_keychain(std::make_shared<KeychainService>(services.keychain))
{
    connect(m_suggestionEngine.get(), &SuggestionEngine::currentSuggestionChanged, this,
            &AppState::currentSuggestionTextChanged);
    connect(this, &AppState::meetingContextChanged, this, &AppState::needsInterviewSetupChanged);
    connect(this, &AppState::hasCompletedInterviewSetupChanged, this, &AppState::needsInterviewSetupChanged);
    connect(this, &AppState::authUserChanged, this, &AppState::isAuthenticatedChanged);
    connect(this, &AppState::developmentFlagsChanged, this, &AppState::isAuthenticatedChanged);
    connect(m_suggestionEngine.get(), &SuggestionEngine::currentSuggestionChanged, this, &AppState::updateOverlayView);
    connect(m_suggestionEngine.get(), &SuggestionEngine::isWorkingChanged, this, &AppState::updateOverlayView);
    connect(this, &AppState::sessionStatusChanged, this, &AppState::updateOverlayView);
    connect(this, &AppState::backendDiagnosticsChanged, this, &AppState::updateOverlayView);
    updateOverlayView();
}

AppState::~AppState() = default;

void AppState::wireServices()
{
    const std::weak_ptr<AppState> weak = weak_from_this();
    m_backendClient->onEvent =
        platform::weakCallback(m_mainThread, weak, [](AppState& self, BackendRealtimeEvent event) {
            launch(self.handleEvent(std::move(event)));
        });
    m_backendClient->onDisconnect =
        platform::weakCallback(m_mainThread, weak, [](AppState& self, const std::optional<QString>& reason) {
            self.handleDisconnect(reason);
        });
    m_captureService->onAudioChunk = platform::weakCallback(
        m_mainThread, weak, [](AppState& self, QByteArray chunk) { launch(self.forwardAudio(std::move(chunk))); });
    // The backend finds the pauses by itself.
    m_captureService->onCommitRequested = [] {};
    m_captureService->onError = platform::weakCallback(
        m_mainThread, weak, [](AppState& self, QString message) { launch(self.failSession(std::move(message))); });
}

Task<> AppState::loadInitialState()
{
    const auto self = shared_from_this();
    co_await checkBackend();
    if (m_backendAvailability != BackendAvailability::available) {
        co_return;
    }
    co_await m_keychain->unlock();
    loadSavedAuth();
    applyDevelopmentBypasses();
    co_await loadAccountState();
    assign(m_apiKeyStatus, APIKeyStatus::connected, &AppState::apiKeyStatusChanged);
    setMeetingContext(loadMeetingContext());
    assign(m_hasCompletedInterviewSetup,
           m_settings->boolForKey(interviewSetupCompletedKey) && m_meetingContext.isInterviewProfileComplete(),
           &AppState::hasCompletedInterviewSetupChanged);
    setShowInterviewSetup(!m_hasCompletedInterviewSetup);
    setOverlayVisible(false);
    m_overlaySettings.save(*m_settings);
    overlayController().show();
    overlayController().applySettings(m_overlaySettings);
    co_await refreshSources();
}

Task<> AppState::handleEvent(BackendRealtimeEvent event)
{
    const auto self = shared_from_this();
    std::optional<QString> fatal;
    std::visit(Overloaded{
                   [this](const realtime::Status& status) {
                       setBackendConnectionStatus(status.backend);
                       setBackendTranscriberStatus(status.transcriber);
                       if (status.state == u"running"_s) {
                           setSessionStatus(SessionStatus::running);
                       }
                       if (status.message && !status.message->isEmpty()) {
                           setErrorMessage(status.message);
                       }
                   },
                   [this](const realtime::TranscriptDelta& delta) { m_transcriptStore->setPartialText(delta.partial); },
                   [this](const realtime::TranscriptFinal& final) {
                       m_transcriptStore->setPartialText({});
                       m_transcriptStore->append(final.text, TranscriptTurn::Kind::final);
                   },
                   [this](const ResponseSuggestion& suggestion) { m_suggestionEngine->takeIn(suggestion); },
                   [this](const BackendDiagnostics& diagnostics) {
                       assign(m_backendDiagnostics, diagnostics, &AppState::backendDiagnosticsChanged);
                   },
                   [this, &fatal](const realtime::Error& error) {
                       setErrorMessage(error.message);
                       if (error.severity == u"fatal"_s) {
                           fatal = error.message;
                       }
                   },
               },
               event);
    if (fatal) {
        co_await failSession(*fatal);
    }
}

void AppState::presentError(const Failure& failure)
{
    presentErrorMessage(failure.description);
    if (failure.code == errorCode(CaptureError::permissionDenied)) {
        presentMissingCapturePermission();
    }
}

void AppState::presentErrorMessage(const QString& message)
{
    if (isCapturePermissionMessage(message)) {
        presentMissingCapturePermission();
        return;
    }
    setErrorMessage(message);
    setCapturePermissionRecoveryVisible(false);
}

void AppState::presentMissingCapturePermission()
{
    setErrorMessage(
        u"Screen & System Audio Recording is enabled, but macOS has not applied it to this running copy yet. "
        "Quit and reopen Quorvel, then choose the source again."_s);
    setCapturePermissionRecoveryVisible(true);
}

bool AppState::isCapturePermissionMessage(const QString& message)
{
    static const std::array signs{u"tcc"_s,      u"screen recording"_s, u"screen & system audio"_s,
                                  u"declined"_s, u"permission"_s,       u"not authorized"_s};
    const QString lowered = message.toLower();
    return std::ranges::any_of(signs, [&lowered](const QString& sign) { return lowered.contains(sign); });
}

void AppState::dismissError()
{
    setErrorMessage(std::nullopt);
    setCapturePermissionRecoveryVisible(false);
}

void AppState::submitMockTranscript()
{
    // Every newline character; a carriage return and line feed pair only makes one more empty piece.
    static const QRegularExpression newline(u"[\\n\\x{0b}\\f\\r\\x{85}\\x{2028}\\x{2029}]"_s);
    QStringList lines;
    for (const QString& piece : m_mockText.split(newline, Qt::SkipEmptyParts)) {
        if (const QString line = piece.trimmed(); !line.isEmpty()) {
            lines.append(line);
        }
    }
    if (lines.isEmpty()) {
        return;
    }
    for (const QString& line : std::as_const(lines)) {
        m_transcriptStore->append(line, TranscriptTurn::Kind::mock);
    }
    if (lines.constLast().toLower().contains(u"introduce yourself"_s)) {
        m_suggestionEngine->takeIn({
            .shouldRespond = true,
            .suggestion = u"Sure. I'm a senior engineer, and I focus on solving practical problems clearly and working "
                          "well with the team."_s,
            .confidence = 0.72,
            .detectedIntent = DetectedIntent::question,
        });
    }
    setMockText({});
}

void AppState::clearSuggestions()
{
    m_suggestionEngine->clear();
}

bool AppState::isAudioArriving() const
{
    return quorvel::isAudioArriving(m_backendDiagnostics.lastAudioAt, m_clock->now());
}

QString AppState::currentSuggestionText() const
{
    const ResponseSuggestion& current = m_suggestionEngine->currentSuggestion();
    return current.shouldRespond ? current.suggestion : QString();
}

void AppState::setSelectedSource(const std::optional<CaptureSource>& source)
{
    // Sources are equal by id alone, but a fresh copy carries a fresh window and perhaps another title.
    const bool isShownAlike =
        m_selectedSource == source && (!source || m_selectedSource->displayName() == source->displayName());
    m_selectedSource = source;
    if (!isShownAlike) {
        Q_EMIT selectedSourceChanged();
    }
}

void AppState::setShowOnboarding(bool show)
{
    assign(m_showOnboarding, show, &AppState::showOnboardingChanged);
}

void AppState::setOverlaySettings(const OverlaySettings& settings)
{
    assign(m_overlaySettings, settings, &AppState::overlaySettingsChanged);
}

void AppState::setMeetingContext(const MeetingContext& context)
{
    assign(m_meetingContext, context, &AppState::meetingContextChanged);
}

void AppState::setMockModeEnabled(bool enabled)
{
    assign(m_mockModeEnabled, enabled, &AppState::mockModeEnabledChanged);
}

void AppState::setMockText(const QString& text)
{
    assign(m_mockText, text, &AppState::mockTextChanged);
}

void AppState::setShowSharePicker(bool show)
{
    assign(m_showSharePicker, show, &AppState::showSharePickerChanged);
}

void AppState::setShowInterviewSetup(bool show)
{
    assign(m_showInterviewSetup, show, &AppState::showInterviewSetupChanged);
}

void AppState::setAuthEmail(const QString& email)
{
    assign(m_authEmail, email, &AppState::authEmailChanged);
}

void AppState::setAuthCode(const QString& code)
{
    assign(m_authCode, code, &AppState::authCodeChanged);
}

void AppState::setSessionStatus(SessionStatus status)
{
    assign(m_sessionStatus, status, &AppState::sessionStatusChanged);
}

void AppState::setBackendConnectionStatus(BackendConnectionStatus status)
{
    assign(m_backendConnectionStatus, status, &AppState::backendConnectionStatusChanged);
}

void AppState::setBackendTranscriberStatus(BackendTranscriberStatus status)
{
    assign(m_backendTranscriberStatus, status, &AppState::backendTranscriberStatusChanged);
}

void AppState::setErrorMessage(std::optional<QString> message)
{
    assign(m_errorMessage, std::move(message), &AppState::errorMessageChanged);
}

void AppState::setCapturePermissionRecoveryVisible(bool visible)
{
    assign(m_capturePermissionRecoveryVisible, visible, &AppState::capturePermissionRecoveryVisibleChanged);
}

} // namespace quorvel
