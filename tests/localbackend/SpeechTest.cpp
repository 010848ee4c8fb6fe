#include "speech/PhraseDetector.h"
#include "speech/PooledRecognizer.h"
#include "speech/Resampler.h"
#include "speech/SphinxDecoder.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <cmath>
#include <numbers>
#include <semaphore>

using namespace quorvel::localbackend;
using Kind = RecognitionEvent::Kind;

namespace {

std::vector<std::int16_t> tone(double amplitude, double frequency, std::size_t samples, double rate)
{
    std::vector<std::int16_t> wave(samples);
    for (std::size_t i = 0; i < samples; ++i) {
        const double phase = 2 * std::numbers::pi * frequency * static_cast<double>(i) / rate;
        wave[i] = static_cast<std::int16_t>(amplitude * std::sin(phase));
    }
    return wave;
}

/// 24 kHz sound of a script: upper case letters are 100 ms of speech, dots 100 ms of silence.
std::vector<std::int16_t> sound(std::string_view script)
{
    std::vector<std::int16_t> samples;
    for (const char c : script) {
        const auto piece = tone(c == '.' ? 0 : 8000, 400, 2400, 24'000);
        samples.insert(samples.end(), piece.begin(), piece.end());
    }
    return samples;
}

/// Of the standard library, whose calls the thread sanitizer sees, unlike those of Qt.
using Semaphore = std::counting_semaphore<>;

struct Behaviour
{
    bool failMake = false;
    bool failProcess = false;
    std::string text = "what do i say";
    Semaphore* entered = nullptr; ///< released when a phrase is about to be finished,
    Semaphore* gate = nullptr;    ///< which then waits for this one
    std::atomic<int> decoders = 0;
};

class FakeDecoder : public PhraseDecoder
{
public:
    explicit FakeDecoder(Behaviour& behaviour)
        : m_behaviour(behaviour)
    {
        ++m_behaviour.decoders;
    }
    Result<void> begin(const ChannelState& state) override
    {
        m_phrase = state.values.empty() ? 1 : state.values.front() + 1;
        return {};
    }
    Result<void> process(std::span<const std::int16_t>) override
    {
        if (m_behaviour.failProcess)
            return failed(Fault::Unavailable, "The decoder broke.");
        return {};
    }
    std::string partial() override { return m_behaviour.text; }
    Result<std::string> finish(ChannelState& state) override
    {
        if (m_behaviour.gate != nullptr) {
            m_behaviour.entered->release();
            m_behaviour.gate->acquire();
        }
        state.values = {m_phrase};
        return m_behaviour.text.empty() ? "" : m_behaviour.text + " " + std::to_string(static_cast<int>(m_phrase));
    }

private:
    Behaviour& m_behaviour;
    float m_phrase = 0;
};

class FakeSource : public DecoderSource
{
public:
    explicit FakeSource(Behaviour& behaviour)
        : m_behaviour(behaviour)
    {
    }
    Result<std::unique_ptr<PhraseDecoder>> make() override
    {
        if (m_behaviour.failMake)
            return failed(Fault::Unavailable, "No model.");
        return std::make_unique<FakeDecoder>(m_behaviour);
    }

private:
    Behaviour& m_behaviour;
};

/// Collects the events of one stream; reading waits for them.
class Events
{
public:
    [[nodiscard]] Recognizer::Handler handler()
    {
        return [this](RecognitionEvent event) {
            m_events[m_count++] = std::move(event);
            m_ready.release();
        };
    }
    /// The next event that is not a partial text.
    [[nodiscard]] RecognitionEvent next()
    {
        for (;;) {
            m_ready.acquire();
            if (m_events[m_read++].kind != Kind::Partial)
                return m_events[m_read - 1];
        }
    }
    [[nodiscard]] RecognitionEvent nextOfAny()
    {
        m_ready.acquire();
        return m_events[m_read++];
    }

private:
    std::array<RecognitionEvent, 1000> m_events;
    std::size_t m_count = 0;
    std::size_t m_read = 0;
    Semaphore m_ready{0};
};

std::unique_ptr<PooledRecognizer> recognizer(Behaviour& behaviour, RecognitionLimits limits = {})
{
    return PooledRecognizer::make([&] { return std::make_unique<FakeSource>(behaviour); }, limits).value();
}

} // namespace

class SpeechTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void phrasesAreFound_data()
    {
        QTest::addColumn<double>("noise");
        QTest::addColumn<int>("speechMs");
        QTest::addColumn<int>("pauseMs");
        QTest::addColumn<int>("phrases");
        QTest::newRow("silence") << 0.0 << 0 << 2000 << 0;
        QTest::newRow("quiet noise") << 60.0 << 0 << 2000 << 0;
        QTest::newRow("click") << 0.0 << 30 << 1000 << 0;
        QTest::newRow("word") << 0.0 << 300 << 1000 << 1;
        QTest::newRow("word over noise") << 60.0 << 300 << 1000 << 1;
        QTest::newRow("short pauses stay within") << 0.0 << 600 << 400 << 1;
        QTest::newRow("endless speech is cut") << 0.0 << 50'000 << 1000 << 2;
    }
    void phrasesAreFound()
    {
        QFETCH(double, noise);
        QFETCH(int, speechMs);
        QFETCH(int, pauseMs);
        QFETCH(int, phrases);
        PhraseDetector detector;
        int ended = 0;
        const auto run = [&](double amplitude, int milliseconds) {
            const auto wave = tone(amplitude, 300, PhraseDetector::frameSamples, 16'000);
            for (int i = 0; i < milliseconds / 10; ++i)
                ended += detector.take(wave) == PhraseDetector::Change::End ? 1 : 0;
        };
        run(noise, 500);
        for (int i = 0; i < 3; ++i) {
            run(8000, speechMs);
            run(noise, pauseMs);
        }
        run(noise, 1000);
        QVERIFY(!detector.inPhrase());
        // Short pauses join the three parts, others end each of them.
        QCOMPARE(ended, pauseMs < 500 ? phrases : 3 * phrases + (speechMs == 50'000 ? 3 : 0));
    }

    void steadyNoiseStopsBeingSpeech()
    {
        PhraseDetector detector;
        const auto noise = tone(400, 300, PhraseDetector::frameSamples, 16'000);
        int speechFrames = 0;
        for (int i = 0; i < 100 * 180; ++i) {
            static_cast<void>(detector.take(noise));
            speechFrames += detector.inPhrase() ? 1 : 0;
        }
        QVERIFY(!detector.inPhrase());
        QVERIFY(speechFrames > 0);
    }

    void resamplerKeepsSpeechAndRemovesWhatCannotBeKept()
    {
        const auto level = [](double frequency) {
            Resampler resampler;
            std::vector<std::int16_t> output;
            const auto wave = tone(10'000, frequency, 24'000, 24'000);
            for (std::size_t at = 0; at < wave.size(); at += 480)
                resampler.convert(std::span(wave).subspan(at, 480), output);
            double energy = 0;
            for (const auto sample : output)
                energy += static_cast<double>(sample) * sample;
            return std::pair(output.size(), std::sqrt(energy / static_cast<double>(output.size())));
        };
        const auto [samples, kept] = level(1000);
        QVERIFY(samples > 15'600 && samples <= 16'000);
        QVERIFY(std::abs(kept - 7071) < 200);
        QVERIFY(level(11'000).second < 100);
    }

    void phraseGivesPartialsAndAFinal()
    {
        Behaviour behaviour;
        const auto pool = recognizer(behaviour);
        Events events;
        const auto stream = pool->open(events.handler());
        const SteadyTime arrival{std::chrono::seconds{5}};
        stream->feed(sound("..AAAAA......"), arrival);
        const auto partial = events.nextOfAny();
        QVERIFY(partial.kind == Kind::Partial);
        QCOMPARE(partial.text, std::string("What do I say"));
        auto final = events.nextOfAny();
        QVERIFY2(final.kind == Kind::Final, "an unchanged partial text is not repeated");
        QCOMPARE(final.text, std::string("What do I say 1"));
        QVERIFY(final.audioArrival == arrival);
        stream->feed(sound("AAA......"), arrival);
        QCOMPARE(events.next().text, std::string("What do I say 2"));
    }

    void pauseEndsThePhraseUnderWay()
    {
        Behaviour behaviour;
        const auto pool = recognizer(behaviour);
        Events events;
        const auto stream = pool->open(events.handler());
        stream->feed(sound("AAAAA"), {});
        stream->pause();
        QCOMPARE(events.next().text, std::string("What do I say 1"));
    }

    void noiseWithoutWordsIsNoLine()
    {
        Behaviour behaviour{.text = ""};
        const auto pool = recognizer(behaviour);
        Events events;
        const auto stream = pool->open(events.handler());
        stream->feed(sound("AAAAA......"), {});
        QVERIFY(events.nextOfAny().kind == Kind::Nothing);
    }

    void streamsShareDecodersAndKeepTheirChannels()
    {
        Behaviour behaviour;
        const auto pool = recognizer(behaviour, {.decodersPerThread = 1});
        std::array<Events, 3> events;
        std::array<std::unique_ptr<RecognitionStream>, 3> streams;
        for (std::size_t i = 0; i < streams.size(); ++i)
            streams.at(i) = pool->open(events.at(i).handler());
        for (int round = 1; round <= 2; ++round) {
            for (auto& stream : streams)
                stream->feed(sound("AAAAA......"), {});
            for (auto& each : events)
                QCOMPARE(each.next().text, "What do I say " + std::to_string(round));
        }
        QCOMPARE(behaviour.decoders.load(), 1);
    }

    void longestWaitingStreamIsNext_data()
    {
        QTest::addColumn<int>("silence");
        for (int silence = 4; silence < 12; ++silence)
            QTest::addRow("after %d00 ms", silence) << silence;
    }
    void longestWaitingStreamIsNext()
    {
        // Whenever the third one begins to speak, before, while or after the first one ends, it is behind the second.
        QFETCH(int, silence);
        Behaviour behaviour;
        const auto pool = recognizer(behaviour, {.decodersPerThread = 1});
        std::string order;
        Semaphore finals{0};
        const auto noting = [&](char name) {
            return [&, name](const RecognitionEvent& event) {
                if (event.kind != Kind::Final)
                    return;
                order += name;
                finals.release();
            };
        };
        Semaphore talking{0};
        Semaphore allFed{0};
        const auto first = pool->open([&](const RecognitionEvent& event) {
            if (event.kind != Kind::Partial)
                return;
            talking.release();
            allFed.acquire();
        });
        const auto second = pool->open(noting('2'));
        const auto third = pool->open(noting('3'));
        first->feed(sound("AAAAA"), {});
        talking.acquire();
        second->feed(sound("AAAAA......"), {});
        first->feed(sound("......"), {});
        third->feed(sound(std::string(static_cast<std::size_t>(silence), '.') + "AAAAA......"), {});
        allFed.release();
        finals.acquire();
        finals.acquire();
        QCOMPARE(order, std::string("23"));
    }

    void streamThatEndsFreesItsDecoder()
    {
        Behaviour behaviour;
        const auto pool = recognizer(behaviour, {.decodersPerThread = 1});
        Events first;
        Events second;
        Events third;
        auto talking = pool->open(first.handler());
        talking->feed(sound("AAAAA"), {});
        QVERIFY(first.nextOfAny().kind == Kind::Partial);
        auto waiting = pool->open(second.handler());
        waiting->feed(sound("AAAAA......"), {});
        const auto last = pool->open(third.handler());
        last->feed(sound("AAAAA......"), {});
        waiting.reset();
        talking.reset();
        QCOMPARE(third.next().text, std::string("What do I say 1"));
    }

    void soundThatWaitsTooLongIsLeftOutAndSaid()
    {
        Semaphore entered{0};
        Semaphore gate{0};
        Behaviour behaviour{.entered = &entered, .gate = &gate};
        const auto pool =
            recognizer(behaviour, {.mostWaiting = std::chrono::seconds{3}, .keptWaiting = std::chrono::seconds{1}});
        Events events;
        const auto stream = pool->open(events.handler());
        stream->feed(sound("AAAAA......"), {});
        entered.acquire();
        for (int i = 0; i < 40; ++i)
            stream->feed(sound("."), {});
        gate.release(100);
        QVERIFY(events.next().kind == Kind::Final);
        const auto skipped = events.next();
        QVERIFY(skipped.kind == Kind::Skipped);
        QVERIFY(skipped.skipped >= std::chrono::seconds{2} && skipped.skipped <= std::chrono::seconds{4});
        QVERIFY(events.next().kind == Kind::CaughtUp);
        stream->feed(sound("AAAAA......"), {});
        QVERIFY(events.next().kind == Kind::Final);
    }

    void failuresAreTold()
    {
        Behaviour behaviour{.failMake = true};
        const auto none = PooledRecognizer::make([&] { return std::make_unique<FakeSource>(behaviour); }, {});
        QCOMPARE(none.error().sentence, std::string("No model."));

        behaviour.failMake = false;
        behaviour.failProcess = true;
        const auto pool = recognizer(behaviour, {.decodersPerThread = 1});
        for (int i = 0; i < 2; ++i) {
            Events events;
            const auto stream = pool->open(events.handler());
            stream->feed(sound("AAAAA......"), {});
            const auto event = events.next();
            QVERIFY(event.kind == Kind::Failed);
            QCOMPARE(event.text, std::string("The decoder broke."));
        }
        QCOMPARE(behaviour.decoders.load(), 2);
    }

    void missingModelFileIsNamed()
    {
        const QTemporaryDir directory;
        const auto checked = checkModel({.dictionary = directory.filePath(QStringLiteral("words.dict")).toStdString()});
        QVERIFY(checked.error().sentence.contains("words.dict"));
        QVERIFY(checkModel({}));
    }

    void packagedReadingIsRecognised()
    {
        QFile file(QStringLiteral("/usr/share/pocketsphinx/test/data/goforward.raw"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        const auto source = makeSphinxSource({});
        const auto decoder = source->make();
        QVERIFY(decoder);
        ChannelState state{.stream = 1, .values = {}};
        for (int i = 0; i < 2; ++i) {
            QVERIFY((*decoder)->begin(state));
            std::vector<std::int16_t> samples(static_cast<std::size_t>(bytes.size()) / 2);
            std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
            QVERIFY((*decoder)->process(samples));
            QVERIFY((*decoder)->partial().contains("go forward"));
            const auto text = (*decoder)->finish(state);
            QCOMPARE(text.value(), std::string("go forward ten meters"));
            QVERIFY(!state.values.empty());
        }
    }
};

QTEST_APPLESS_MAIN(SpeechTest)
#include "SpeechTest.moc"
