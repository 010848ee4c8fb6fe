#include "backend/BackendRealtimeClient.h"
#include "fixtures/RunningBackend.h"
#include "platform/linux/network/QtUrlSession.h"
#include "support/Await.h"

#include <QTest>

using namespace quorvel;
using namespace quorvel::test;
using namespace Qt::StringLiterals;
using localbackend::recording;
using localbackend::RunningBackend;

namespace {

constexpr auto resume = "Jane Doe\nCharge Nurse at Saint Mary Hospital, 2017 to 2023\n"
                        "- Introduced a handover checklist, reducing medication errors by 25%\n";

/// The last event of a kind that has arrived.
template <typename Event>
std::optional<Event> last(const std::vector<BackendRealtimeEvent>& events)
{
    std::optional<Event> found;
    for (const auto& event : events) {
        if (const auto* const match = std::get_if<Event>(&event))
            found = *match;
    }
    return found;
}

} // namespace

/// The application's own client and the program, over a real connection.
class ClientTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void signInExtractionAndSpokenSession()
    {
        const QTemporaryDir directory;
        const QString spoken = directory.filePath(u"question.wav"_s);
        QCOMPARE(QProcess::execute(u"flite"_s, {u"-voice"_s, u"slt"_s, u"-t"_s,
                                                u"tell me about yourself and your background"_s, u"-o"_s, spoken}),
                 0);
        QFile file(directory.filePath(u"resume.txt"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(resume);
        file.close();

        RunningBackend backend;
        QVERIFY2(backend.port() != 0, backend.process.readAllStandardError().constData());
        const auto client = BackendRealtimeClient::create(std::make_shared<platform::QtUrlSession>(),
                                                          QUrl(u"http://127.0.0.1:%1"_s.arg(backend.port())));
        std::vector<BackendRealtimeEvent> events;
        client->onEvent = [&](const BackendRealtimeEvent& event) { events.push_back(event); };

        const auto health = await(client->health());
        QVERIFY2(health->has_value() && (*health)->ok && !(*health)->development, qPrintable(sentenceOf(health)));
        QVERIFY2(!await(client->me())->has_value(), "nobody is signed in yet");
        const auto code = await(client->requestOtp(u"jane@example.org"_s));
        QVERIFY2(code->has_value(), qPrintable(sentenceOf(code)));
        const auto signIn = await(client->verifyOtp(u"jane@example.org"_s, (*code)->value_or(QString())));
        QVERIFY2(signIn->has_value(), qPrintable(sentenceOf(signIn)));
        client->accessToken = (*signIn)->accessToken;
        const auto me = await(client->me());
        QVERIFY2(me->has_value() && (*me)->user == (*signIn)->user, qPrintable(sentenceOf(me)));

        const auto profile = await(client->extractProfile(QUrl::fromLocalFile(file.fileName())));
        QVERIFY2(profile->has_value(), qPrintable(sentenceOf(profile)));
        QVERIFY((*profile)->resumeSummary.contains(u"handover checklist"_s));

        MeetingContext context = MeetingContext::defaults();
        context.resumeSummary = (*profile)->resumeSummary;
        context.jobDescription = u"A ward lead for intensive care."_s;
        context.keyterms = (*profile)->keyterms;
        CaptureSource source;
        source.id = u"window-1"_s;
        QVERIFY(await(client->connect())->has_value());
        QVERIFY(await(client->start(context, source))->has_value());
        const auto samples = recording(spoken, 44);
        QVERIFY(samples.size() > 24'000);
        const QByteArray bytes(reinterpret_cast<const char*>(samples.data()),
                               static_cast<qsizetype>(samples.size() * sizeof(samples[0])));
        for (qsizetype at = 0; at < bytes.size(); at += 960)
            QVERIFY(await(client->sendAudio(bytes.mid(at, 960)))->has_value());

        QVERIFY(waitUntil([&] { return last<ResponseSuggestion>(events).has_value(); }, std::chrono::minutes(1)));
        const QString heard = last<realtime::TranscriptFinal>(events).value_or(realtime::TranscriptFinal{}).text;
        QVERIFY2(heard.contains(u"about yourself"_s), qPrintable(heard));
        QVERIFY(last<realtime::TranscriptDelta>(events).has_value());
        const auto suggestion = last<ResponseSuggestion>(events).value_or(ResponseSuggestion{});
        QVERIFY(suggestion.shouldRespond);
        QCOMPARE(suggestion.detectedIntent, DetectedIntent::question);
        QVERIFY2(suggestion.suggestion.contains(u"handover checklist"_s), qPrintable(suggestion.suggestion));
        const auto counted = [&] {
            return last<BackendDiagnostics>(events).value_or(BackendDiagnostics{}).audioBytes == bytes.size();
        };
        QVERIFY(waitUntil(counted));

        bool hasEnded = false;
        client->onDisconnect = [&](const std::optional<QString>&) { hasEnded = true; };
        launch(client->stop());
        QVERIFY(waitUntil([&] { return hasEnded; }));
        QVERIFY(!last<realtime::Error>(events));
    }
};

QTEST_GUILESS_MAIN(ClientTest)
#include "ClientTest.moc"
