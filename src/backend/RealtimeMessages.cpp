#include "backend/RealtimeMessages.h"

#include "platform/Json.h"

#include <QDateTime>
#include <QRegularExpression>

#include <chrono>

using namespace Qt::StringLiterals;

namespace quorvel::realtime {

namespace {

std::optional<QString> optionalString(const QJsonObject& message, const QString& key)
{
    const QJsonValue value = message.value(key);
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

QString string(const QJsonObject& message, const QString& key, const QString& otherwise = {})
{
    return optionalString(message, key).value_or(otherwise);
}

/// The first letter of each word in upper case, all others in lower case, whatever the locale.
QString capitalized(const QString& text)
{
    QString result = text.toLower();
    bool startsWord = true;
    for (QChar& character : result) {
        if (startsWord) {
            character = character.toTitleCase();
        }
        startsWord = !character.isLetterOrNumber();
    }
    return result;
}

/// An internet date-time without fractional seconds and with a zone; anything else is no timestamp.
std::optional<Timestamp> timestamp(const QJsonObject& message, const QString& key)
{
    static const QRegularExpression form(
        u"^[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}(Z|[+-][0-9]{2}:?[0-9]{2})$"_s);
    const QString text = string(message, key);
    if (!form.match(text).hasMatch()) {
        return std::nullopt;
    }
    const QDateTime moment = QDateTime::fromString(text, Qt::ISODate);
    const std::chrono::milliseconds sinceEpoch(moment.toMSecsSinceEpoch());
    // A timestamp counts nanoseconds, which reach from 1677 to 2262 only.
    constexpr auto furthest = std::chrono::floor<std::chrono::milliseconds>(Timestamp::duration::max());
    if (!moment.isValid() || sinceEpoch > furthest || sinceEpoch < -furthest) {
        return std::nullopt;
    }
    return Timestamp(sinceEpoch);
}

Status decodeStatus(const QJsonObject& message)
{
    const QString transcriber = string(message, u"transcriber"_s, string(message, u"openAI"_s, u"waiting"_s));
    return {
        .state = string(message, u"state"_s, u"idle"_s),
        .backend = BackendConnectionStatus::connected,
        .transcriber = fromRawValue<BackendTranscriberStatus>(capitalized(transcriber))
                           .value_or(BackendTranscriberStatus::waiting),
        .message = optionalString(message, u"message"_s),
    };
}

BackendDiagnostics decodeDiagnostics(const QJsonObject& message)
{
    return {
        .audioBytes = exactInteger(message.value(u"audioBytes"_s)).value_or(0),
        .commits = exactInteger(message.value(u"commits"_s)).value_or(0),
        .lastAudioAt = timestamp(message, u"lastAudioAt"_s),
        .lastTranscriptAt = timestamp(message, u"lastTranscriptAt"_s),
        .latencyMs = exactInteger(message.value(u"latencyMs"_s)),
    };
}

} // namespace

QJsonObject sessionStart(const MeetingContext& context, const CaptureSource& source)
{
    return {
        {u"type"_s, u"session.start"_s},
        {u"context"_s, context.toJson()},
        {u"source"_s,
         QJsonObject{
             {u"id"_s, source.id},
             {u"kind"_s, rawValue(source.kind)},
             {u"title"_s, source.title},
             {u"applicationName"_s, source.applicationName},
         }},
        {u"audio"_s,
         QJsonObject{
             {u"format"_s, u"pcm16"_s},
             {u"sampleRate"_s, 24000},
             {u"channels"_s, 1},
         }},
    };
}

QJsonObject contextUpdate(const MeetingContext& context)
{
    return {{u"type"_s, u"context.update"_s}, {u"context"_s, context.toJson()}};
}

QJsonObject sessionStop()
{
    return {{u"type"_s, u"session.stop"_s}};
}

std::optional<BackendRealtimeEvent> decode(const QByteArray& message)
{
    const Result<QJsonObject> parsed = parseJsonObject(message);
    const QString type = parsed ? string(*parsed, u"type"_s) : QString();
    if (type == u"session.status"_s) {
        return decodeStatus(*parsed);
    }
    if (type == u"transcript.delta"_s) {
        return TranscriptDelta{.text = string(*parsed, u"text"_s), .partial = string(*parsed, u"partial"_s)};
    }
    if (type == u"transcript.final"_s) {
        return TranscriptFinal{.text = string(*parsed, u"text"_s)};
    }
    if (type == u"suggestion.update"_s) {
        const Result<ResponseSuggestion> suggestion = ResponseSuggestion::fromJson(*parsed);
        return suggestion ? std::optional<BackendRealtimeEvent>(*suggestion) : std::nullopt;
    }
    if (type == u"diagnostic.tick"_s) {
        return decodeDiagnostics(*parsed);
    }
    if (type == u"error"_s) {
        return Error{.severity = string(*parsed, u"severity"_s, u"recoverable"_s),
                     .message = string(*parsed, u"message"_s, u"Backend error."_s)};
    }
    return std::nullopt;
}

} // namespace quorvel::realtime
