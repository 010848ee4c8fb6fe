#include "backend/RealtimeMessages.h"

#include <QTest>

using namespace quorvel;
using namespace Qt::StringLiterals;

namespace {

/// In a structure of its own, because Qt would ask for an order of the events.
struct MaybeEvent
{
    std::optional<BackendRealtimeEvent> event;
};

} // namespace

using Transcriber = BackendTranscriberStatus;
Q_DECLARE_METATYPE(MaybeEvent)

class RealtimeMessagesTest : public QObject
{
    Q_OBJECT

private:
    static Timestamp at(qint64 seconds) { return Timestamp(std::chrono::seconds(seconds)); }

    static BackendDiagnostics counted(std::int64_t audioBytes, std::int64_t commits)
    {
        BackendDiagnostics diagnostics;
        diagnostics.audioBytes = audioBytes;
        diagnostics.commits = commits;
        return diagnostics;
    }

    static realtime::Status status(Transcriber transcriber) { return {.state = u"idle"_s, .transcriber = transcriber}; }

    static void row(const char* name, const QByteArray& json, const std::optional<BackendRealtimeEvent>& event)
    {
        QTest::newRow(name) << json << MaybeEvent{event};
    }

    static void addStatusAndTranscriptRows()
    {
        row("status, bare", R"({"type":"session.status"})", status(Transcriber::waiting));
        row("status, full", R"({"type":"session.status","state":"running","transcriber":"connected","message":"Hi"})",
            realtime::Status{.state = u"running"_s, .transcriber = Transcriber::connected, .message = u"Hi"_s});
        row("status, upper case", R"({"type":"session.status","transcriber":"CONNECTED"})",
            status(Transcriber::connected));
        row("status, older key", R"({"type":"session.status","openAI":"closed"})", status(Transcriber::closed));
        row("status, both keys", R"({"type":"session.status","transcriber":"error","openAI":"closed"})",
            status(Transcriber::error));
        row("status, first key no string", R"({"type":"session.status","transcriber":7,"openAI":"connecting"})",
            status(Transcriber::connecting));
        row("status, unknown transcriber", R"({"type":"session.status","transcriber":"ready"})",
            status(Transcriber::waiting));
        row("status, two words", R"({"type":"session.status","transcriber":"connected now"})",
            status(Transcriber::waiting));
        row("status, other types", R"({"type":"session.status","state":1,"transcriber":[],"message":{}})",
            status(Transcriber::waiting));
        row("status, empty message", R"({"type":"session.status","message":""})",
            realtime::Status{.state = u"idle"_s, .message = u""_s});

        row("delta, partial only", R"({"type":"transcript.delta","partial":"Hello wor"})",
            realtime::TranscriptDelta{.text = {}, .partial = u"Hello wor"_s});
        row("delta, full", R"({"type":"transcript.delta","text":"wor","partial":"Hello wor"})",
            realtime::TranscriptDelta{.text = u"wor"_s, .partial = u"Hello wor"_s});
        row("final", R"({"type":"transcript.final","text":"Hello \u00e9\ud83d\ude00"})",
            realtime::TranscriptFinal{.text = u"Hello é😀"_s});
        row("final, bare", R"({"type":"transcript.final","text":null})", realtime::TranscriptFinal{});

        row("suggestion",
            R"({"type":"suggestion.update","shouldRespond":true,"suggestion":"Say","confidence":0.5,"detectedIntent":"question","x":1})",
            ResponseSuggestion{.shouldRespond = true,
                               .suggestion = u"Say"_s,
                               .confidence = 0.5,
                               .detectedIntent = DetectedIntent::question});
        row("suggestion without intent",
            R"({"type":"suggestion.update","shouldRespond":true,"suggestion":"Say","confidence":0.5})", std::nullopt);
        row("suggestion with unknown intent",
            R"({"type":"suggestion.update","shouldRespond":true,"suggestion":"Say","confidence":0.5,"detectedIntent":"Question"})",
            std::nullopt);
        row("suggestion with a text for a number",
            R"({"type":"suggestion.update","shouldRespond":true,"suggestion":"Say","confidence":"1","detectedIntent":"unknown"})",
            std::nullopt);

        row("tick, bare", R"({"type":"diagnostic.tick"})", BackendDiagnostics{});
        row("tick, full",
            R"({"type":"diagnostic.tick","audioBytes":48000,"commits":2,"lastAudioAt":"2026-01-05T14:03:22Z","lastTranscriptAt":"2026-01-05T15:03:22+01:00","latencyMs":-5})",
            BackendDiagnostics{.audioBytes = 48000,
                               .commits = 2,
                               .lastAudioAt = at(1767621802),
                               .lastTranscriptAt = at(1767621802),
                               .latencyMs = -5});
        row("tick, fractions of a second",
            R"({"type":"diagnostic.tick","audioBytes":48000,"lastAudioAt":"2026-01-05T14:03:22.512Z"})",
            counted(48000, 0));
        row("tick, no zone", R"({"type":"diagnostic.tick","lastAudioAt":"2026-01-05T14:03:22"})", BackendDiagnostics{});
        row("tick, line break after it", R"({"type":"diagnostic.tick","lastAudioAt":"2026-01-05T14:03:22Z\n"})",
            BackendDiagnostics{});
        row("tick, no such day", R"({"type":"diagnostic.tick","lastAudioAt":"2026-02-30T14:03:22Z"})",
            BackendDiagnostics{});
        row("tick, beyond the clock",
            R"({"type":"diagnostic.tick","lastAudioAt":"9999-12-31T23:59:59Z","lastTranscriptAt":"0001-01-01T00:00:00Z"})",
            BackendDiagnostics{});
        row("tick, fractional numbers", R"({"type":"diagnostic.tick","audioBytes":1.5,"commits":2.0,"latencyMs":0.1})",
            counted(0, 2));
        row("tick, other types", R"({"type":"diagnostic.tick","audioBytes":"1","commits":true,"latencyMs":null})",
            BackendDiagnostics{});
        row("tick, largest", R"({"type":"diagnostic.tick","audioBytes":9223372036854775807})",
            counted(std::numeric_limits<std::int64_t>::max(), 0));
        row("tick, one too large", R"({"type":"diagnostic.tick","audioBytes":9223372036854775808,"commits":-1e300})",
            BackendDiagnostics{});
        row("tick, endless digits", R"({"type":"diagnostic.tick","commits":)" + QByteArray(100'000, '9') + "}",
            std::nullopt);
        row("tick, beyond any double", R"({"type":"diagnostic.tick","commits":1e999})", std::nullopt);
    }

    static void addOtherRows()
    {
        row("error, bare", R"({"type":"error"})",
            realtime::Error{.severity = u"recoverable"_s, .message = u"Backend error."_s});
        row("error, full", R"({"type":"error","severity":"fatal","message":"Stop"})",
            realtime::Error{.severity = u"fatal"_s, .message = u"Stop"_s});

        row("key twice: the last counts", R"({"type":"error","message":"a","message":"b","severity":"s"})",
            realtime::Error{.severity = u"s"_s, .message = u"b"_s});
        row("type twice", R"({"type":"ping","type":"transcript.final"})", realtime::TranscriptFinal{});
        row("unknown type", R"({"type":"ping"})", std::nullopt);
        row("type in another case", R"({"type":"Error"})", std::nullopt);
        row("type no string", R"({"type":1})", std::nullopt);
        row("no type", R"({"state":"running"})", std::nullopt);
        row("array", R"([{"type":"error"}])", std::nullopt);
        row("text", R"("error")", std::nullopt);
        row("nothing", "", std::nullopt);
        row("no JSON", "error", std::nullopt);
        row("something after it", R"({"type":"error"} x)", std::nullopt);
        row("no UTF-8", "{\"type\":\"transcript.final\",\"text\":\"\xff\"}", std::nullopt);
        row("half a surrogate", R"({"type":"transcript.final","text":"\ud83d"})",
            realtime::TranscriptFinal{.text = QString(QChar(0xD83D))});
        row("100,000 levels", R"({"type":"error","x":)" + QByteArray(100'000, '[') + QByteArray(100'000, ']') + "}",
            std::nullopt);
        row("100,000 objects deep", QByteArray(R"({"x":)").repeated(100'000), std::nullopt);
    }

private Q_SLOTS:
    void decodes_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<MaybeEvent>("event");
        addStatusAndTranscriptRows();
        addOtherRows();
    }
    void decodes()
    {
        QFETCH(const QByteArray, json);
        QFETCH(const MaybeEvent, event);
        const std::optional<BackendRealtimeEvent> decoded = realtime::decode(json);
        QCOMPARE(decoded.has_value(), event.event.has_value());
        QVERIFY(decoded == event.event);
    }
};

QTEST_GUILESS_MAIN(RealtimeMessagesTest)
#include "RealtimeMessagesTest.moc"
