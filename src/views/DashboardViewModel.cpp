#include "views/DashboardViewModel.h"

namespace quorvel {

DashboardViewModel::DashboardViewModel(AppState& state)
    : ViewModel(state)
{
    observe(&AppState::sessionStatusChanged, &AppState::selectedSourceChanged, &AppState::backendDiagnosticsChanged,
            &AppState::backendTranscriberStatusChanged, &AppState::authUserChanged);
}

bool DashboardViewModel::isSessionActive() const
{
    return appState()->sessionStatus() == SessionStatus::running || isSessionChanging();
}

bool DashboardViewModel::isSessionChanging() const
{
    return appState()->sessionStatus() == SessionStatus::starting ||
           appState()->sessionStatus() == SessionStatus::stopping;
}

QString DashboardViewModel::sourceText() const
{
    const auto& source = appState()->selectedSource();
    return source ? source->displayName() : tr("Choose a meeting source");
}

bool DashboardViewModel::canChooseSource() const
{
    return !isSessionActive();
}

bool DashboardViewModel::isStopShown() const
{
    return isSessionActive();
}

bool DashboardViewModel::canStop() const
{
    return isSessionActive() && !isSessionChanging();
}

bool DashboardViewModel::canOpenSetup() const
{
    return !isSessionChanging();
}

void DashboardViewModel::openSharePicker()
{
    launch(appState()->openSharePicker());
}

void DashboardViewModel::stopScreenShare()
{
    launch(appState()->stopScreenShare());
}

void DashboardViewModel::refreshSources()
{
    launch(appState()->refreshSources());
}

HealthItem DashboardViewModel::transcriberHealth() const
{
    const BackendTranscriberStatus status = appState()->backendTranscriberStatus();
    return {.value = rawValue(status), .isGood = status == BackendTranscriberStatus::connected};
}

HealthItem DashboardViewModel::audioHealth() const
{
    const bool isArriving = appState()->isAudioArriving();
    return {.value = isArriving ? tr("Receiving") : tr("No audio"), .isGood = isArriving};
}

HealthItem DashboardViewModel::latencyHealth() const
{
    const BackendDiagnostics& diagnostics = appState()->backendDiagnostics();
    return {.value = diagnostics.latencyMs ? tr("%1 ms").arg(*diagnostics.latencyMs) : tr("Waiting"),
            .isGood = diagnostics.lastTranscriptAt.has_value()};
}

HealthItem DashboardViewModel::sessionHealth() const
{
    const SessionStatus status = appState()->sessionStatus();
    return {.value = rawValue(status), .isGood = status == SessionStatus::running};
}

QString DashboardViewModel::sourceLine() const
{
    const auto& source = appState()->selectedSource();
    return source ? tr("Source: %1").arg(source->displayName()) : QString();
}

QString DashboardViewModel::countersLine() const
{
    const BackendDiagnostics& diagnostics = appState()->backendDiagnostics();
    return tr("Audio bytes: %1  |  Commits: %2").arg(diagnostics.audioBytes).arg(diagnostics.commits);
}

QString DashboardViewModel::userText() const
{
    const auto& user = appState()->authUser();
    return user ? user->email : tr("Unknown user");
}

} // namespace quorvel
