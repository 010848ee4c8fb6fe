#include "realtime/Messages.h"

#include "support/Json.h"

#include <array>
#include <ctime>

namespace quorvel::localbackend {

namespace {

std::unexpected<Failure> invalid(std::string sentence)
{
    return failed(Fault::Invalid, std::move(sentence));
}

Result<std::vector<std::string>> parseKeyterms(const boost::json::object& context)
{
    const auto* array = arrayAt(context, "keyterms");
    if (array == nullptr)
        return invalid("The context lacks keyterms, an array of strings.");
    if (array->size() > ContextLimits::keyterms)
        return invalid("The context has more than 500 key terms.");
    std::vector<std::string> keyterms;
    for (const auto& value : *array) {
        const auto* text = value.if_string();
        if (text == nullptr)
            return invalid("A key term of the context is not a string.");
        if (text->size() > ContextLimits::keyterm)
            return invalid("A key term of the context is longer than 256 bytes.");
        keyterms.emplace_back(*text);
    }
    return keyterms;
}

Result<MeetingContext> parseContext(const boost::json::object& message)
{
    const auto* object = objectAt(message, "context");
    if (object == nullptr)
        return invalid("The message lacks its context.");
    MeetingContext context;
    struct Field
    {
        std::string_view key;
        std::string* target;
        std::size_t limit;
    };
    const std::array fields{
        Field{"userRole", &context.userRole, ContextLimits::shortText},
        Field{"meetingGoal", &context.meetingGoal, ContextLimits::shortText},
        Field{"tone", &context.tone, ContextLimits::shortText},
        Field{"resumeSummary", &context.resumeSummary, ContextLimits::longText},
        Field{"jobDescription", &context.jobDescription, ContextLimits::longText},
    };
    for (const auto& field : fields) {
        auto text = stringAt(*object, field.key);
        if (!text)
            return invalid("The context lacks " + std::string(field.key) + ", a string.");
        if (text->size() > field.limit)
            return invalid("The context's " + std::string(field.key) + " is longer than " +
                           std::to_string(field.limit) + " bytes.");
        *field.target = std::move(*text);
    }
    const auto mode = stringAt(*object, "sessionMode");
    if (mode != "HR" && mode != "Technical")
        return invalid("The context's sessionMode is neither HR nor Technical.");
    context.sessionMode = *mode == "HR" ? SessionMode::HR : SessionMode::Technical;
    auto keyterms = parseKeyterms(*object);
    if (!keyterms)
        return std::unexpected(keyterms.error());
    context.keyterms = std::move(*keyterms);
    return context;
}

bool isSupportedAudio(const boost::json::object& message)
{
    const auto* audio = objectAt(message, "audio");
    return audio != nullptr && stringAt(*audio, "format") == "pcm16" && integerAt(*audio, "sampleRate") == 24'000 &&
           integerAt(*audio, "channels") == 1;
}

/// The client reads this form only: no fractions of a second, a zone designator.
std::string internetDateTime(WallTime time)
{
    const std::time_t seconds = time.time_since_epoch().count();
    std::tm fields{};
    gmtime_r(&seconds, &fields);
    std::array<char, 32> text{};
    const auto length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &fields);
    return {text.data(), length};
}

std::string_view transcriberName(Transcriber transcriber)
{
    constexpr std::array<std::string_view, 5> names{"waiting", "connecting", "connected", "closed", "error"};
    return names.at(static_cast<std::size_t>(transcriber));
}

} // namespace

Result<ClientMessage> parseClientMessage(std::string_view text)
{
    const auto message = parseJsonObject(text);
    if (!message)
        return std::unexpected(message.error());
    const auto type = stringAt(*message, "type");
    if (!type)
        return invalid("The message lacks its type.");
    if (*type == "session.stop")
        return SessionStop{};
    if (*type != "session.start" && *type != "context.update")
        return invalid("The message's type is not known.");
    auto context = parseContext(*message);
    if (!context)
        return std::unexpected(context.error());
    if (*type == "context.update")
        return ContextUpdate{std::move(*context)};
    if (objectAt(*message, "source") == nullptr)
        return invalid("The message lacks its source.");
    if (!isSupportedAudio(*message))
        return invalid("Only pcm16 audio with one channel at 24000 samples a second is taken.");
    return SessionStart{std::move(*context)};
}

std::string statusMessage(std::string_view state, Transcriber transcriber, std::string_view message)
{
    boost::json::object object{
        {"type", "session.status"}, {"state", state}, {"transcriber", transcriberName(transcriber)}};
    if (!message.empty())
        object["message"] = message;
    return boost::json::serialize(object);
}

std::string deltaMessage(std::string_view added, std::string_view partial)
{
    return boost::json::serialize(
        boost::json::object{{"type", "transcript.delta"}, {"text", added}, {"partial", partial}});
}

std::string finalMessage(std::string_view text)
{
    return boost::json::serialize(boost::json::object{{"type", "transcript.final"}, {"text", text}});
}

std::string suggestionMessage(const Suggestion& suggestion)
{
    return boost::json::serialize(boost::json::object{{"type", "suggestion.update"},
                                                      {"shouldRespond", suggestion.shouldRespond},
                                                      {"suggestion", suggestion.text},
                                                      {"confidence", suggestion.confidence},
                                                      {"detectedIntent", intentName(suggestion.intent)}});
}

std::string diagnosticMessage(const Diagnostics& diagnostics)
{
    boost::json::object object{
        {"type", "diagnostic.tick"}, {"audioBytes", diagnostics.audioBytes}, {"commits", diagnostics.commits}};
    if (diagnostics.lastAudioAt)
        object["lastAudioAt"] = internetDateTime(*diagnostics.lastAudioAt);
    if (diagnostics.lastTranscriptAt)
        object["lastTranscriptAt"] = internetDateTime(*diagnostics.lastTranscriptAt);
    if (diagnostics.latencyMs)
        object["latencyMs"] = *diagnostics.latencyMs;
    return boost::json::serialize(object);
}

std::string errorMessage(Severity severity, std::string_view message)
{
    return boost::json::serialize(boost::json::object{
        {"type", "error"}, {"severity", severity == Severity::Fatal ? "fatal" : "recoverable"}, {"message", message}});
}

} // namespace quorvel::localbackend
