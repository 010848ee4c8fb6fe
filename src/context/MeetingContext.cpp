#include "context/MeetingContext.h"

#include "platform/Json.h"

#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace quorvel {

const MeetingContext& MeetingContext::defaults()
{
    static const MeetingContext context{
        .userRole = u"Candidate"_s,
        .meetingGoal = {},
        .tone = u"Senior engineer - concise, confident, plain English"_s,
        .resumeSummary = {},
        .jobDescription = {},
        .sessionMode = SessionMode::hr,
        .keyterms = {},
    };
    return context;
}

bool MeetingContext::isInterviewProfileComplete() const
{
    return !resumeSummary.trimmed().isEmpty() && !jobDescription.trimmed().isEmpty();
}

QJsonObject MeetingContext::toJson() const
{
    return {
        {u"userRole"_s, userRole},
        {u"meetingGoal"_s, meetingGoal},
        {u"tone"_s, tone},
        {u"resumeSummary"_s, resumeSummary},
        {u"jobDescription"_s, jobDescription},
        {u"sessionMode"_s, rawValue(sessionMode)},
        {u"keyterms"_s, QJsonArray::fromStringList(keyterms)},
    };
}

Result<MeetingContext> MeetingContext::fromJson(const QByteArray& json)
{
    Result<QJsonObject> object = parseJsonObject(json);
    if (!object) {
        return std::unexpected(std::move(object).error());
    }
    JsonReader reader(*std::move(object));
    return reader.finish(MeetingContext{
        .userRole = reader.string(u"userRole"_s),
        .meetingGoal = reader.string(u"meetingGoal"_s),
        .tone = reader.string(u"tone"_s),
        .resumeSummary = reader.string(u"resumeSummary"_s),
        .jobDescription = reader.string(u"jobDescription"_s),
        .sessionMode = reader.oneOf<SessionMode>(u"sessionMode"_s),
        .keyterms = reader.strings(u"keyterms"_s),
    });
}

} // namespace quorvel
