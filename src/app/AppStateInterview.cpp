#include "app/AppState.h"
#include "app/SettingsKeys.h"

#include <QJsonDocument>

#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel {

MeetingContext AppState::loadMeetingContext() const
{
    const std::optional<QByteArray> stored = m_settings->dataForKey(meetingContextKey);
    return stored ? MeetingContext::fromJson(*stored).value_or(MeetingContext::defaults()) : MeetingContext::defaults();
}

void AppState::saveMeetingContext()
{
    m_settings->setData(QJsonDocument(m_meetingContext.toJson()).toJson(QJsonDocument::Compact), meetingContextKey);
    m_mainThread->post([self = shared_from_this()] { launch(self->pushMeetingContext()); });
}

Task<> AppState::pushMeetingContext()
{
    const auto self = shared_from_this();
    MeetingContext context = m_meetingContext;
    // Without a session there is nobody to tell, and a running one keeps what it had; the next save tries again.
    [[maybe_unused]] const Result<> pushed = co_await m_backendClient->updateContext(std::move(context));
}

void AppState::saveInterviewSetup()
{
    saveMeetingContext();
    if (!m_meetingContext.isInterviewProfileComplete()) {
        setErrorMessage(u"Resume and job description are required."_s);
        return;
    }
    storeInterviewSetupCompleted(true);
    setShowInterviewSetup(false);
    setErrorMessage(std::nullopt);
}

void AppState::resetInterviewSetup()
{
    MeetingContext context = m_meetingContext;
    context.resumeSummary.clear();
    context.jobDescription.clear();
    context.keyterms.clear();
    setMeetingContext(context);
    assign(m_resumeUploadName, QString(), &AppState::resumeUploadNameChanged);
    storeInterviewSetupCompleted(false);
    saveMeetingContext();
    setShowInterviewSetup(true);
}

void AppState::closeInterviewSetup()
{
    if (!needsInterviewSetup()) {
        setShowInterviewSetup(false);
        setErrorMessage(std::nullopt);
    }
}

bool AppState::needsInterviewSetup() const
{
    return !m_hasCompletedInterviewSetup || !m_meetingContext.isInterviewProfileComplete();
}

Task<> AppState::extractResume(QUrl fileURL)
{
    const auto self = shared_from_this();
    assign(m_isExtractingResume, true, &AppState::isExtractingResumeChanged);
    setErrorMessage(std::nullopt);
    const Result<ExtractedProfile> profile = co_await m_backendClient->extractProfile(fileURL);
    if (profile) {
        // The user may have edited the rest meanwhile.
        MeetingContext context = m_meetingContext;
        context.resumeSummary = profile->resumeSummary;
        context.keyterms = profile->keyterms;
        setMeetingContext(context);
        assign(m_resumeUploadName, fileURL.fileName(), &AppState::resumeUploadNameChanged);
        saveMeetingContext();
    } else {
        setErrorMessage(profile.error().description);
    }
    assign(m_isExtractingResume, false, &AppState::isExtractingResumeChanged);
}

void AppState::acceptConsent()
{
    m_consentGate.setHasAcceptedConsent(true);
    setShowOnboarding(false);
}

void AppState::storeInterviewSetupCompleted(bool completed)
{
    assign(m_hasCompletedInterviewSetup, completed, &AppState::hasCompletedInterviewSetupChanged);
    m_settings->setBool(completed, interviewSetupCompletedKey);
}

} // namespace quorvel
