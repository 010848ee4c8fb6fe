#include "suggestions/ResponseSuggestion.h"

#include "platform/Json.h"

using namespace Qt::StringLiterals;

namespace quorvel {

QJsonObject ResponseSuggestion::toJson() const
{
    return {
        {u"shouldRespond"_s, shouldRespond},
        {u"suggestion"_s, suggestion},
        {u"confidence"_s, confidence},
        {u"detectedIntent"_s, rawValue(detectedIntent)},
    };
}

Result<ResponseSuggestion> ResponseSuggestion::fromJson(const QJsonObject& object)
{
    JsonReader reader(object);
    return reader.finish(ResponseSuggestion{
        .shouldRespond = reader.boolean(u"shouldRespond"_s),
        .suggestion = reader.string(u"suggestion"_s),
        .confidence = reader.number(u"confidence"_s),
        .detectedIntent = reader.oneOf<DetectedIntent>(u"detectedIntent"_s),
    });
}

} // namespace quorvel
