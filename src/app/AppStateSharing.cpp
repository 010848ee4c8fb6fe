#include "app/AppState.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel {

Task<> AppState::refreshSources()
{
    const auto self = shared_from_this();
    Result<std::deque<CaptureSource>> sources = co_await m_shareableContent->availableSources();
    if (!sources) {
        presentError(sources.error());
        co_return;
    }
    m_availableSources.reset(std::move(*sources));
    setCapturePermissionRecoveryVisible(false);
    const auto same = std::ranges::find_if(availableSources(),
                                           [this](const CaptureSource& source) { return m_selectedSource == source; });
    setSelectedSource(same != availableSources().end() ? std::optional(*same) : bestCaptureSource());
}

std::optional<CaptureSource> AppState::bestCaptureSource() const
{
    const auto likely = std::ranges::find_if(availableSources(), &CaptureSource::isLikelyMeeting);
    if (likely != availableSources().end()) {
        return *likely;
    }
    return availableSources().empty() ? std::nullopt : std::optional(availableSources().front());
}

Task<> AppState::openSharePicker()
{
    const auto self = shared_from_this();
    if (m_sessionStatus == SessionStatus::starting || m_sessionStatus == SessionStatus::stopping) {
        co_return;
    }
    dismissError();
    co_await refreshSources();
    setShowSharePicker(true);
}

Task<> AppState::startScreenShare(std::optional<CaptureSource> source)
{
    const auto self = shared_from_this();
    if (m_isMeetScreenShareMode || m_sessionStatus == SessionStatus::running ||
        m_sessionStatus == SessionStatus::starting) {
        co_return;
    }
    setShowSharePicker(false);
    if (source) {
        setSelectedSource(source);
    } else if (!m_selectedSource) {
        setSelectedSource(bestCaptureSource());
    }
    co_await startSession();
    if (m_sessionStatus == SessionStatus::running) {
        assign(m_isMeetScreenShareMode, true, &AppState::isMeetScreenShareModeChanged);
        setOverlayVisible(true);
        storeAndApplyOverlaySettings();
        setErrorMessage(std::nullopt);
    } else {
        hideShareOverlay();
    }
}

Task<> AppState::stopScreenShare()
{
    const auto self = shared_from_this();
    if (m_isMeetScreenShareMode || m_sessionStatus != SessionStatus::idle) {
        co_await stopSession();
    }
    hideShareOverlay();
}

void AppState::hideShareOverlay()
{
    assign(m_isMeetScreenShareMode, false, &AppState::isMeetScreenShareModeChanged);
    setOverlayVisible(false);
    storeAndApplyOverlaySettings();
}

void AppState::toggleOverlay()
{
    if (!m_isMeetScreenShareMode) {
        return;
    }
    setOverlayVisible(!m_overlaySettings.isVisible);
    m_overlaySettings.save(*m_settings);
    overlayController().setPanelVisible(m_overlaySettings.isVisible);
}

void AppState::saveOverlaySettings()
{
    if (!m_isMeetScreenShareMode) {
        setOverlayVisible(false);
    }
    storeAndApplyOverlaySettings();
}

void AppState::openScreenRecordingSettings()
{
    if (!m_workspace->open(QUrl(QString::fromLatin1(platform::privacySettingsAddress)))) {
        m_workspace->open(QUrl(QString::fromLatin1(platform::soundSettingsAddress)));
    }
}

void AppState::storeAndApplyOverlaySettings()
{
    m_overlaySettings.save(*m_settings);
    overlayController().applySettings(m_overlaySettings);
}

void AppState::setOverlayVisible(bool visible)
{
    OverlaySettings settings = m_overlaySettings;
    settings.isVisible = visible;
    setOverlaySettings(settings);
}

void AppState::updateOverlayView()
{
    const ResponseSuggestion& current = m_suggestionEngine->currentSuggestion();
    m_overlayViewState.update(
        {
            .shouldRespond = current.shouldRespond,
            .suggestion = current.suggestion,
            .isRunning = m_sessionStatus == SessionStatus::running,
            .isWorking = m_suggestionEngine->isWorking(),
            .lastAudioAt = m_backendDiagnostics.lastAudioAt,
        },
        m_clock->now());
}

OverlayWindowController& AppState::overlayController()
{
    if (!m_overlayController) {
        m_overlayController = std::make_shared<OverlayWindowController>(weak_from_this(), m_screens, m_panels,
                                                                        m_keyMonitors, m_mainThread);
    }
    return *m_overlayController;
}

} // namespace quorvel
