#include "views/InterviewSetupViewModel.h"

#include <algorithm>
#include <cstddef>
#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

constexpr qsizetype shownKeyterms = 12;
constexpr auto modes = rawValues(SessionMode());

} // namespace

InterviewSetupViewModel::InterviewSetupViewModel(AppState& state)
    : ViewModel(state)
{
    observe(&AppState::meetingContextChanged, &AppState::resumeUploadNameChanged,
            &AppState::hasCompletedInterviewSetupChanged, &AppState::developmentFlagsChanged);
}

bool InterviewSetupViewModel::hasResume() const
{
    return !appState()->meetingContext().resumeSummary.isEmpty();
}

bool InterviewSetupViewModel::hasJobDescription() const
{
    return !appState()->meetingContext().jobDescription.isEmpty();
}

bool InterviewSetupViewModel::hasRole() const
{
    return !appState()->meetingContext().userRole.isEmpty();
}

bool InterviewSetupViewModel::isComplete() const
{
    return appState()->meetingContext().isInterviewProfileComplete();
}

bool InterviewSetupViewModel::isDevelopmentMode() const
{
    return appState()->developmentFlags().disableAuth;
}

QString InterviewSetupViewModel::uploadTitle() const
{
    return hasResume() ? tr("Replace Resume") : tr("Upload Resume");
}

QString InterviewSetupViewModel::uploadHint() const
{
    const QString& name = appState()->resumeUploadName();
    return name.isEmpty() ? tr("PDF, DOCX, or TXT") : name;
}

void InterviewSetupViewModel::extractResume(const QUrl& file)
{
    QUrl address = file;
    launch(appState()->extractResume(std::move(address)));
}

QStringList InterviewSetupViewModel::modeTitles()
{
    QStringList titles;
    for (const auto& mode : modes) {
        titles << rawValue(mode.value);
    }
    return titles;
}

int InterviewSetupViewModel::modeIndex() const
{
    const auto* const found =
        std::ranges::find(modes, appState()->meetingContext().sessionMode, [](const auto& mode) { return mode.value; });
    return static_cast<int>(found - modes.begin());
}

void InterviewSetupViewModel::setModeIndex(int index)
{
    MeetingContext context = appState()->meetingContext();
    context.sessionMode = modes.at(static_cast<std::size_t>(index)).value;
    appState()->setMeetingContext(context);
}

QString InterviewSetupViewModel::modeText() const
{
    return modeDescription(appState()->meetingContext().sessionMode);
}

QString InterviewSetupViewModel::keytermsLine() const
{
    const QStringList& keyterms = appState()->meetingContext().keyterms;
    return keyterms.isEmpty() ? QString() : tr("Keyterms: %1").arg(keyterms.mid(0, shownKeyterms).join(u", "_s));
}

bool InterviewSetupViewModel::canReset() const
{
    return hasResume() || hasJobDescription();
}

QString InterviewSetupViewModel::saveTitle() const
{
    return appState()->hasCompletedInterviewSetup() ? tr("Save Changes") : tr("Continue");
}

} // namespace quorvel
