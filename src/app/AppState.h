#pragma once

#include "app/SessionStatus.h"
#include "backend/BackendRealtimeClient.h"
#include "capture/ScreenCaptureService.h"
#include "capture/ShareableContentService.h"
#include "context/MeetingContext.h"
#include "overlay/OverlayHost.h"
#include "overlay/OverlaySettings.h"
#include "overlay/OverlayViewState.h"
#include "overlay/OverlayWindowController.h"
#include "platform/ObservableList.h"
#include "platform/Services.h"
#include "storage/ConsentGate.h"
#include "storage/KeychainService.h"
#include "suggestions/SuggestionEngine.h"
#include "transcript/TranscriptStore.h"

#include <QObject>
#include <QUrl>

#include <memory>
#include <optional>

namespace quorvel {

/// The one controller of the application: it owns every service, holds everything that a screen shows and carries out
/// every operation of the user. Screens bind to it and call it; no screen talks to a service.
///
/// Main thread only. Callbacks of the services come from their own threads; they queue a call here and hold the state
/// weakly. Operations that suspend see the state as it is when they resume; they keep the object alive until they end.
/// No operation reports a failure to its caller: failures become errorMessage or authMessage.
///
/// The implementation is one file per flow: construction, events and errors in AppState.cpp, the listening session in
/// AppStateSession.cpp, sign-in in AppStateAccount.cpp, the interview context in AppStateInterview.cpp, sources and
/// share mode in AppStateSharing.cpp.
class AppState final : public QObject, public OverlayHost, public std::enable_shared_from_this<AppState>
{
    Q_OBJECT
    Q_PROPERTY(QString apiKeyStatus READ apiKeyStatusText NOTIFY apiKeyStatusChanged)
    Q_PROPERTY(QString sessionStatus READ sessionStatusText NOTIFY sessionStatusChanged)
    Q_PROPERTY(bool isSessionRunning READ isSessionRunning NOTIFY sessionStatusChanged)
    Q_PROPERTY(QString backendConnectionStatus READ backendConnectionStatusText NOTIFY backendConnectionStatusChanged)
    Q_PROPERTY(QString backendAvailability READ backendAvailabilityText NOTIFY backendAvailabilityChanged)
    Q_PROPERTY(
        QString backendTranscriberStatus READ backendTranscriberStatusText NOTIFY backendTranscriberStatusChanged)
    Q_PROPERTY(bool hasErrorMessage READ hasErrorMessage NOTIFY errorMessageChanged)
    Q_PROPERTY(QString errorMessage READ errorMessageText NOTIFY errorMessageChanged)
    Q_PROPERTY(bool capturePermissionRecoveryVisible READ capturePermissionRecoveryVisible NOTIFY
                   capturePermissionRecoveryVisibleChanged)
    Q_PROPERTY(QObject* availableSources READ availableSourcesModel CONSTANT)
    Q_PROPERTY(bool showOnboarding READ showOnboarding WRITE setShowOnboarding NOTIFY showOnboardingChanged)
    Q_PROPERTY(quorvel::OverlaySettings overlaySettings READ overlaySettings WRITE setOverlaySettings NOTIFY
                   overlaySettingsChanged)
    Q_PROPERTY(
        quorvel::MeetingContext meetingContext READ meetingContext WRITE setMeetingContext NOTIFY meetingContextChanged)
    Q_PROPERTY(bool mockModeEnabled READ mockModeEnabled WRITE setMockModeEnabled NOTIFY mockModeEnabledChanged)
    Q_PROPERTY(QString mockText READ mockText WRITE setMockText NOTIFY mockTextChanged)
    Q_PROPERTY(bool isMeetScreenShareMode READ isMeetScreenShareMode NOTIFY isMeetScreenShareModeChanged)
    Q_PROPERTY(bool showSharePicker READ showSharePicker WRITE setShowSharePicker NOTIFY showSharePickerChanged)
    Q_PROPERTY(
        bool showInterviewSetup READ showInterviewSetup WRITE setShowInterviewSetup NOTIFY showInterviewSetupChanged)
    Q_PROPERTY(bool hasCompletedInterviewSetup READ hasCompletedInterviewSetup NOTIFY hasCompletedInterviewSetupChanged)
    Q_PROPERTY(bool isExtractingResume READ isExtractingResume NOTIFY isExtractingResumeChanged)
    Q_PROPERTY(QString resumeUploadName READ resumeUploadName NOTIFY resumeUploadNameChanged)
    Q_PROPERTY(QString authEmail READ authEmail WRITE setAuthEmail NOTIFY authEmailChanged)
    Q_PROPERTY(QString authCode READ authCode WRITE setAuthCode NOTIFY authCodeChanged)
    Q_PROPERTY(QString authMessage READ authMessageText NOTIFY authMessageChanged)
    Q_PROPERTY(bool isAuthenticating READ isAuthenticating NOTIFY isAuthenticatingChanged)
    Q_PROPERTY(bool isAuthenticated READ isAuthenticated NOTIFY isAuthenticatedChanged)
    Q_PROPERTY(bool needsInterviewSetup READ needsInterviewSetup NOTIFY needsInterviewSetupChanged)
    Q_PROPERTY(QString currentSuggestionText READ currentSuggestionText NOTIFY currentSuggestionTextChanged)
    Q_PROPERTY(quorvel::TranscriptStore* transcriptStore READ transcriptStore CONSTANT)
    Q_PROPERTY(quorvel::SuggestionEngine* suggestionEngine READ suggestionEngine CONSTANT)

public:
    /// Builds the state and its services, installs their callbacks and schedules loadInitialState().
    /// `backendOrigin` is scheme, host and port of the service backend.
    [[nodiscard]] static std::shared_ptr<AppState> create(const platform::Services& services,
                                                          const QUrl& backendOrigin);
    ~AppState() override;
    AppState(const AppState&) = delete;
    AppState(AppState&&) = delete;
    AppState& operator=(const AppState&) = delete;
    AppState& operator=(AppState&&) = delete;

    // Start, session and end.

    [[nodiscard]] Task<> loadInitialState();
    /// Starts listening to the selected source. What is missing for it is told in errorMessage and changes nothing
    /// else.
    [[nodiscard]] Task<> startSession();
    [[nodiscard]] Task<> stopSession();
    /// The end of the program: closes the backend's socket at once and lets capture stop.
    void shutdown();
    /// Takes the typed lines into the transcript. Works with or without a session.
    Q_INVOKABLE void submitMockTranscript();
    /// What the error banner's close button does.
    Q_INVOKABLE void dismissError();

    // Account.

    [[nodiscard]] Task<> checkBackend();
    [[nodiscard]] Task<> requestOtp();
    [[nodiscard]] Task<> verifyOtp();
    /// Opens the sign-in page in the browser, which comes back through handleAuthCallback().
    [[nodiscard]] Task<> beginGoogleLogin();
    /// Takes the tokens of a sign-in callback; any other address, and one of more than 64 Ki characters, is ignored.
    void handleAuthCallback(const QString& address);
    Q_INVOKABLE void logout();
    [[nodiscard]] bool isAuthenticated() const;

    // Interview context.

    void saveMeetingContext();
    Q_INVOKABLE void saveInterviewSetup();
    Q_INVOKABLE void resetInterviewSetup();
    Q_INVOKABLE void closeInterviewSetup();
    [[nodiscard]] bool needsInterviewSetup() const;
    /// Lets the backend summarise a resume and takes its summary and key terms over.
    [[nodiscard]] Task<> extractResume(QUrl fileURL);
    /// Records the consent for good and closes the notice.
    Q_INVOKABLE void acceptConsent();

    // Sources and share mode.

    [[nodiscard]] Task<> refreshSources();
    [[nodiscard]] Task<> openSharePicker();
    /// Listens to the given source, the selected one, or the best one, and shows the overlay once that runs.
    [[nodiscard]] Task<> startScreenShare(std::optional<CaptureSource> source);
    [[nodiscard]] Task<> stopScreenShare();
    void toggleOverlay() override;
    Q_INVOKABLE void saveOverlaySettings() override;
    Q_INVOKABLE void openScreenRecordingSettings();

    // OverlayHost.

    [[nodiscard]] const OverlaySettings& currentOverlaySettings() const override { return m_overlaySettings; }
    void setCurrentOverlaySettings(const OverlaySettings& settings) override { setOverlaySettings(settings); }
    Q_INVOKABLE void clearSuggestions() override;
    [[nodiscard]] OverlayViewState* overlayViewState() override { return &m_overlayViewState; }

    // Properties.

    [[nodiscard]] APIKeyStatus apiKeyStatus() const { return m_apiKeyStatus; }
    [[nodiscard]] SessionStatus sessionStatus() const { return m_sessionStatus; }
    [[nodiscard]] bool isSessionRunning() const { return m_sessionStatus == SessionStatus::running; }
    [[nodiscard]] BackendConnectionStatus backendConnectionStatus() const { return m_backendConnectionStatus; }
    [[nodiscard]] BackendAvailability backendAvailability() const { return m_backendAvailability; }
    [[nodiscard]] BackendTranscriberStatus backendTranscriberStatus() const { return m_backendTranscriberStatus; }
    [[nodiscard]] const BackendDiagnostics& backendDiagnostics() const { return m_backendDiagnostics; }
    [[nodiscard]] const std::optional<CaptureSource>& selectedSource() const { return m_selectedSource; }
    void setSelectedSource(const std::optional<CaptureSource>& source);
    [[nodiscard]] const std::deque<CaptureSource>& availableSources() const { return m_availableSources.values(); }
    [[nodiscard]] QAbstractItemModel* availableSourcesModel() { return &m_availableSources; }
    [[nodiscard]] const std::optional<QString>& errorMessage() const { return m_errorMessage; }
    [[nodiscard]] bool hasErrorMessage() const { return m_errorMessage.has_value(); }
    [[nodiscard]] bool capturePermissionRecoveryVisible() const { return m_capturePermissionRecoveryVisible; }
    [[nodiscard]] bool showOnboarding() const { return m_showOnboarding; }
    void setShowOnboarding(bool show);
    [[nodiscard]] const OverlaySettings& overlaySettings() const { return m_overlaySettings; }
    void setOverlaySettings(const OverlaySettings& settings);
    [[nodiscard]] const MeetingContext& meetingContext() const { return m_meetingContext; }
    void setMeetingContext(const MeetingContext& context);
    [[nodiscard]] bool mockModeEnabled() const { return m_mockModeEnabled; }
    void setMockModeEnabled(bool enabled);
    [[nodiscard]] const QString& mockText() const { return m_mockText; }
    void setMockText(const QString& text);
    [[nodiscard]] bool isMeetScreenShareMode() const { return m_isMeetScreenShareMode; }
    [[nodiscard]] bool showSharePicker() const { return m_showSharePicker; }
    void setShowSharePicker(bool show);
    [[nodiscard]] bool showInterviewSetup() const { return m_showInterviewSetup; }
    void setShowInterviewSetup(bool show);
    [[nodiscard]] bool hasCompletedInterviewSetup() const { return m_hasCompletedInterviewSetup; }
    [[nodiscard]] bool isExtractingResume() const { return m_isExtractingResume; }
    [[nodiscard]] const QString& resumeUploadName() const { return m_resumeUploadName; }
    [[nodiscard]] const std::optional<BackendUser>& authUser() const { return m_authUser; }
    [[nodiscard]] const QString& authEmail() const { return m_authEmail; }
    void setAuthEmail(const QString& email);
    [[nodiscard]] const QString& authCode() const { return m_authCode; }
    void setAuthCode(const QString& code);
    [[nodiscard]] const std::optional<QString>& authDevCode() const { return m_authDevCode; }
    [[nodiscard]] const std::optional<QString>& authMessage() const { return m_authMessage; }
    [[nodiscard]] bool isAuthenticating() const { return m_isAuthenticating; }
    [[nodiscard]] const BackendDevelopmentFlags& developmentFlags() const { return m_developmentFlags; }

    /// The store that all settings of the application share.
    [[nodiscard]] platform::UserDefaults& settings() { return *m_settings; }
    /// Where the backend is, for people to read.
    [[nodiscard]] const QString& backendHost() const { return m_backendHost; }
    /// Whether the backend has heard sound until now; says nothing when it falls silent.
    [[nodiscard]] bool isAudioArriving() const;
    /// The suggestion to display; empty when there is none that asks for a response.
    [[nodiscard]] QString currentSuggestionText() const;
    [[nodiscard]] TranscriptStore* transcriptStore() { return m_transcriptStore.get(); }
    [[nodiscard]] SuggestionEngine* suggestionEngine() { return m_suggestionEngine.get(); }

Q_SIGNALS:
    void apiKeyStatusChanged();
    void sessionStatusChanged();
    void backendConnectionStatusChanged();
    void backendAvailabilityChanged();
    void backendTranscriberStatusChanged();
    void backendDiagnosticsChanged();
    void selectedSourceChanged();
    void errorMessageChanged();
    void capturePermissionRecoveryVisibleChanged();
    void showOnboardingChanged();
    void overlaySettingsChanged();
    void meetingContextChanged();
    void mockModeEnabledChanged();
    void mockTextChanged();
    void isMeetScreenShareModeChanged();
    void showSharePickerChanged();
    void showInterviewSetupChanged();
    void hasCompletedInterviewSetupChanged();
    void isExtractingResumeChanged();
    void resumeUploadNameChanged();
    void authUserChanged();
    void authEmailChanged();
    void authCodeChanged();
    void authDevCodeChanged();
    void authMessageChanged();
    void isAuthenticatingChanged();
    void developmentFlagsChanged();
    void isAuthenticatedChanged();
    void needsInterviewSetupChanged();
    void currentSuggestionTextChanged();

private:
    AppState(const platform::Services& services, const QUrl& backendOrigin);

    void wireServices();
    [[nodiscard]] Task<> handleEvent(BackendRealtimeEvent event);
    void handleDisconnect(const std::optional<QString>& reason);
    [[nodiscard]] Task<> forwardAudio(QByteArray chunk);

    /// Shows an error; one that means a missing capture permission gets a fixed text and the way to the settings.
    void presentError(const Failure& failure);
    void presentErrorMessage(const QString& message);
    void presentMissingCapturePermission();
    [[nodiscard]] static bool isCapturePermissionMessage(const QString& message);

    void resetForNewSession();
    /// Permission, connection, "session.start" and capture, as far as the session is not ended meanwhile.
    [[nodiscard]] Task<Result<>> openSession(CaptureSource source, int session);
    [[nodiscard]] bool isOpening(int session) const;
    [[nodiscard]] Task<> failSession(QString message);
    /// Closes the connection of a session that has failed; the disconnect that this causes is no news.
    void closeConnection();
    /// Does not need this object once it has begun.
    [[nodiscard]] Task<> stopCaptureIgnoringFailure();

    void loadSavedAuth();
    void applyDevelopmentBypasses();
    [[nodiscard]] Task<> loadAccountState();
    void saveTokens(const QString& accessToken, const QString& refreshToken);

    [[nodiscard]] MeetingContext loadMeetingContext() const;
    void storeInterviewSetupCompleted(bool completed);
    [[nodiscard]] Task<> pushMeetingContext();

    [[nodiscard]] std::optional<CaptureSource> bestCaptureSource() const;
    void hideShareOverlay();
    void storeAndApplyOverlaySettings();
    void setOverlayVisible(bool visible);
    [[nodiscard]] OverlayWindowController& overlayController();
    void updateOverlayView();

    /// Compares, assigns and notifies once.
    template <typename Value>
    void assign(Value& property, Value value, void (AppState::*changed)())
    {
        if (property != value) {
            property = std::move(value);
            Q_EMIT(this->*changed)();
        }
    }
    void setSessionStatus(SessionStatus status);
    void setBackendConnectionStatus(BackendConnectionStatus status);
    void setBackendTranscriberStatus(BackendTranscriberStatus status);
    void setErrorMessage(std::optional<QString> message);
    void setCapturePermissionRecoveryVisible(bool visible);
    void setAuthUser(std::optional<BackendUser> user);
    void setAuthMessage(std::optional<QString> message);
    void setAuthenticating(bool authenticating);

    [[nodiscard]] QString apiKeyStatusText() const { return rawValue(m_apiKeyStatus); }
    [[nodiscard]] QString sessionStatusText() const { return rawValue(m_sessionStatus); }
    [[nodiscard]] QString backendConnectionStatusText() const { return rawValue(m_backendConnectionStatus); }
    [[nodiscard]] QString backendAvailabilityText() const { return rawValue(m_backendAvailability); }
    [[nodiscard]] QString backendTranscriberStatusText() const { return rawValue(m_backendTranscriberStatus); }
    [[nodiscard]] QString errorMessageText() const { return m_errorMessage.value_or(QString()); }
    [[nodiscard]] QString authMessageText() const { return m_authMessage.value_or(QString()); }

    std::shared_ptr<platform::MainThread> m_mainThread;
    std::shared_ptr<platform::Clock> m_clock;
    std::shared_ptr<platform::Workspace> m_workspace;
    std::shared_ptr<platform::ScreenProvider> m_screens;
    std::shared_ptr<platform::PanelProvider> m_panels;
    std::shared_ptr<platform::KeyMonitorProvider> m_keyMonitors;
    std::shared_ptr<platform::UserDefaults> m_settings;
    ConsentGate m_consentGate;
    QString m_backendHost;

    APIKeyStatus m_apiKeyStatus = APIKeyStatus::missing;
    SessionStatus m_sessionStatus = SessionStatus::idle;
    BackendConnectionStatus m_backendConnectionStatus = BackendConnectionStatus::disconnected;
    BackendAvailability m_backendAvailability = BackendAvailability::checking;
    BackendTranscriberStatus m_backendTranscriberStatus = BackendTranscriberStatus::waiting;
    BackendDiagnostics m_backendDiagnostics;
    std::optional<CaptureSource> m_selectedSource;
    ObservableList<CaptureSource> m_availableSources;
    std::optional<QString> m_errorMessage;
    bool m_capturePermissionRecoveryVisible = false;
    bool m_showOnboarding;
    OverlaySettings m_overlaySettings;
    MeetingContext m_meetingContext = MeetingContext::defaults();
    bool m_mockModeEnabled = false;
    QString m_mockText;
    bool m_isMeetScreenShareMode = false;
    bool m_showSharePicker = false;
    bool m_showInterviewSetup = false;
    bool m_hasCompletedInterviewSetup = false;
    bool m_isExtractingResume = false;
    QString m_resumeUploadName;
    std::optional<BackendUser> m_authUser;
    QString m_authEmail;
    QString m_authCode;
    std::optional<QString> m_authDevCode;
    std::optional<QString> m_authMessage;
    bool m_isAuthenticating = false;
    BackendDevelopmentFlags m_developmentFlags;

    std::unique_ptr<TranscriptStore> m_transcriptStore;
    std::unique_ptr<SuggestionEngine> m_suggestionEngine;
    std::shared_ptr<ShareableContentService> m_shareableContent;
    std::shared_ptr<ScreenCaptureService> m_captureService;
    std::shared_ptr<BackendRealtimeClient> m_backendClient;
    std::shared_ptr<KeychainService> m_keychain;
    OverlayViewState m_overlayViewState;
    std::shared_ptr<OverlayWindowController> m_overlayController;

    /// Counts the starts, so that a start that has been overtaken by another one knows it.
    int m_session = 0;
    /// The start whose connection we have closed because it failed.
    int m_endedSession = -1;
};

} // namespace quorvel
