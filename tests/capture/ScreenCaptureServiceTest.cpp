#include "capture/ScreenCaptureService.h"

#include "support/EventLoop.h"
#include "support/FakeCapture.h"
#include "support/FakeClock.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quorvel {

namespace {

QByteArray floats(float value, int count = 480)
{
    const std::vector<float> samples(static_cast<std::size_t>(count), value);
    return {reinterpret_cast<const char*>(samples.data()), static_cast<qsizetype>(samples.size() * sizeof(float))};
}

CaptureSource windowSource()
{
    CaptureSource source;
    source.id = u"window-1"_s;
    source.window = std::make_shared<platform::ShareableWindow>();
    return source;
}

/// A service on fakes, with what it called back.
struct Fixture
{
    Fixture()
    {
        service->onAudioChunk = [this](QByteArray chunk) { chunks.append(std::move(chunk)); };
        service->onCommitRequested = [this] { ++commits; };
        service->onError = [this](QString text) { errors.append(std::move(text)); };
    }

    Result<> start(const CaptureSource& source = windowSource())
    {
        return QCoro::waitFor(service->startCapture(source));
    }
    test::FakeCaptureStream& stream() { return *provider->streams.back(); }

    std::shared_ptr<test::FakeCaptureProvider> provider = std::make_shared<test::FakeCaptureProvider>();
    std::shared_ptr<test::FakeClock> clock = std::make_shared<test::FakeClock>();
    std::shared_ptr<ScreenCaptureService> service = ScreenCaptureService::create(provider, clock);
    QList<QByteArray> chunks;
    int commits = 0;
    QStringList errors;
};

} // namespace

class ScreenCaptureServiceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void asksForNothingWhenPermitted();
    void waitsForThePermission_data();
    void waitsForThePermission();
    void endsTheWaitWhenItsSleepFails();
    void errorsHaveTheirTexts();
    void startsAStreamOfTheSource_data();
    void startsAStreamOfTheSource();
    void stopsTheFormerStreamBeforeItLooksAtTheSource();
    void aFailedStepLeavesNothingRunning_data();
    void aFailedStepLeavesNothingRunning();
    void aFailedStopKeepsTheStream();
    void stopWithoutAStreamSucceeds();
    void handsChunksOverInOrder();
    void requestsACommitAfterSilence_data();
    void requestsACommitAfterSilence();
    void aNewStartForgetsTheSilence();
    void reportsAStreamThatStoppedByItself();
    void lateBuffersAreDropped();
};

void ScreenCaptureServiceTest::asksForNothingWhenPermitted()
{
    Fixture fixture;
    QVERIFY(QCoro::waitFor(fixture.service->ensureScreenRecordingPermission()).has_value());
    QCOMPARE(fixture.provider->preflights, 1);
    QCOMPARE(fixture.provider->requests, 0);
    QCOMPARE(fixture.clock->sleeps(), 0);
}

void ScreenCaptureServiceTest::waitsForThePermission_data()
{
    QTest::addColumn<int>("grantedAfterSleeps");
    QTest::addColumn<bool>("isGranted");
    QTest::addColumn<int>("preflights");
    QTest::addColumn<int>("sleeps");
    QTest::newRow("after the first sleep") << 1 << true << 3 << 1;
    QTest::newRow("after the 29th sleep") << 29 << true << 31 << 29;
    QTest::newRow("too late, after the 30th sleep") << 30 << false << 31 << 30;
    QTest::newRow("never") << 1000 << false << 31 << 30;
}

void ScreenCaptureServiceTest::waitsForThePermission()
{
    QFETCH(int, grantedAfterSleeps);
    QFETCH(bool, isGranted);
    QFETCH(int, preflights);
    QFETCH(int, sleeps);
    Fixture fixture;
    fixture.provider->isAllowed = false;
    std::optional<Result<>> result;
    fixture.service->ensureScreenRecordingPermission().then([&result](const Result<>& end) { result = end; });
    for (int slept = 1; slept <= 40 && !result; ++slept) {
        fixture.clock->advance(499ms);
        test::settle();
        QCOMPARE(fixture.clock->sleeps(), slept);
        fixture.provider->isAllowed = slept >= grantedAfterSleeps;
        fixture.clock->advance(1ms);
        test::settle();
    }
    const Result<> denied = std::unexpected(captureFailure(CaptureError::permissionDenied));
    QCOMPARE(result, isGranted ? Result<>() : denied);
    QCOMPARE(fixture.provider->preflights, preflights);
    QCOMPARE(fixture.clock->sleeps(), sleeps);
    QCOMPARE(fixture.provider->requests, 1);
    QVERIFY(fixture.provider->streams.empty());
}

void ScreenCaptureServiceTest::endsTheWaitWhenItsSleepFails()
{
    class CancellingClock final : public platform::Clock
    {
    public:
        [[nodiscard]] Timestamp now() const override { return {}; }
        [[nodiscard]] Task<Result<>> sleep(std::chrono::milliseconds, std::stop_token) override
        {
            co_return std::unexpected(platform::cancelledFailure());
        }
    };
    const auto provider = std::make_shared<test::FakeCaptureProvider>();
    provider->isAllowed = false;
    const auto service = ScreenCaptureService::create(provider, std::make_shared<CancellingClock>());
    const Result<> started = QCoro::waitFor(service->startCapture(windowSource()));
    QCOMPARE(started.error(), platform::cancelledFailure());
}

void ScreenCaptureServiceTest::errorsHaveTheirTexts()
{
    const Failure denied = captureFailure(CaptureError::permissionDenied);
    QCOMPARE(denied.description, u"Quorvel needs Screen & System Audio Recording permission."_s);
    QCOMPARE(denied.recoverySuggestion, u"Enable Quorvel in System Settings > Privacy & Security > Screen & System "
                                        u"Audio Recording, then fully quit and "
                                        u"reopen the app before choosing a source again."_s);
    const Failure invalid = captureFailure(CaptureError::invalidSource);
    QCOMPARE(invalid.description, u"Choose a screen, browser tab, or window to share."_s);
    QCOMPARE(invalid.recoverySuggestion, QString());
    QVERIFY(denied.code != invalid.code && denied.code == errorCode(CaptureError::permissionDenied));
}

void ScreenCaptureServiceTest::startsAStreamOfTheSource_data()
{
    QTest::addColumn<bool>("hasWindow");
    QTest::addColumn<bool>("hasDisplay");
    QTest::newRow("window") << true << false;
    QTest::newRow("display") << false << true;
    QTest::newRow("the window wins") << true << true;
}

void ScreenCaptureServiceTest::startsAStreamOfTheSource()
{
    QFETCH(bool, hasWindow);
    QFETCH(bool, hasDisplay);
    Fixture fixture;
    CaptureSource source;
    if (hasWindow) {
        source.window = std::make_shared<platform::ShareableWindow>();
    }
    if (hasDisplay) {
        source.display = std::make_shared<platform::ShareableDisplay>();
    }
    QVERIFY(fixture.start(source).has_value());
    const platform::ContentFilter& filter = fixture.stream().filter;
    QCOMPARE(std::holds_alternative<platform::WindowFilter>(filter), hasWindow);
    if (hasWindow) {
        QCOMPARE(std::get<platform::WindowFilter>(filter).window, source.window);
    } else {
        QCOMPARE(std::get<platform::DisplayFilter>(filter).display, source.display);
        QVERIFY(std::get<platform::DisplayFilter>(filter).excludedWindows.empty());
    }
    const platform::CaptureConfiguration expected{
        .capturesAudio = true,
        .excludesCurrentProcessAudio = true,
        .sampleRate = 24000,
        .channelCount = 1,
        .width = 2,
        .height = 2,
        .minimumFrameInterval = 200ms,
    };
    QCOMPARE(fixture.stream().configuration, expected);
    QCOMPARE(fixture.stream().outputs.size(), 2U);
    QCOMPARE(fixture.stream().outputs[0].output, fixture.stream().outputs[1].output);
    QCOMPARE(fixture.stream().outputs[0].type, platform::CaptureOutputType::audio);
    QCOMPARE(fixture.stream().outputs[0].queueLabel, "com.quorvel.audio.samples"_ba);
    QCOMPARE(fixture.stream().outputs[1].type, platform::CaptureOutputType::screen);
    QCOMPARE(fixture.stream().outputs[1].queueLabel, "com.quorvel.screen.samples"_ba);
    QCOMPARE(fixture.stream().delegate.lock(), std::shared_ptr<platform::CaptureStreamDelegate>(fixture.service));
}

void ScreenCaptureServiceTest::stopsTheFormerStreamBeforeItLooksAtTheSource()
{
    Fixture fixture;
    QVERIFY(fixture.start().has_value());
    const Result<> started = fixture.start(CaptureSource());
    QCOMPARE(started.error(), captureFailure(CaptureError::invalidSource));
    QCOMPARE(fixture.provider->steps->stop.calls(), 1);
    QCOMPARE(fixture.provider->streams.size(), 1U);
}

void ScreenCaptureServiceTest::aFailedStepLeavesNothingRunning_data()
{
    QTest::addColumn<QString>("step");
    QTest::newRow("adding the audio output") << u"audio"_s;
    QTest::newRow("adding the picture output") << u"screen"_s;
    QTest::newRow("starting") << u"start"_s;
}

void ScreenCaptureServiceTest::aFailedStepLeavesNothingRunning()
{
    QFETCH(QString, step);
    Fixture fixture;
    const Failure failure = test::failure(u"It broke."_s);
    if (step == u"audio") {
        fixture.provider->steps->addAudio = std::unexpected(failure);
    } else if (step == u"screen") {
        fixture.provider->steps->addScreen = std::unexpected(failure);
    } else {
        fixture.provider->steps->start.failWith(failure.description);
    }
    QCOMPARE(fixture.start().error(), failure);
    QCOMPARE(fixture.provider->streams.back().use_count(), 1); // the service has let go of it
    fixture.stream().deliver(floats(0.5F));
    QVERIFY(fixture.chunks.isEmpty());
    QVERIFY(QCoro::waitFor(fixture.service->stopCapture()).has_value());
    QCOMPARE(fixture.provider->steps->stop.calls(), 0);
}

void ScreenCaptureServiceTest::aFailedStopKeepsTheStream()
{
    Fixture fixture;
    QVERIFY(fixture.start().has_value());
    fixture.provider->steps->stop.failWith(u"It will not stop."_s);
    QCOMPARE(QCoro::waitFor(fixture.service->stopCapture()).error(), test::failure(u"It will not stop."_s));
    QCOMPARE(fixture.start().error(), test::failure(u"It will not stop."_s));
    QCOMPARE(fixture.provider->streams.size(), 1U);
    fixture.stream().deliver(floats(0.5F));
    QCOMPARE(fixture.chunks.size(), 1);

    fixture.provider->steps->stop.setResult({});
    QVERIFY(QCoro::waitFor(fixture.service->stopCapture()).has_value());
    QCOMPARE(fixture.provider->streams.back().use_count(), 1);
}

void ScreenCaptureServiceTest::stopWithoutAStreamSucceeds()
{
    Fixture fixture;
    QVERIFY(QCoro::waitFor(fixture.service->stopCapture()).has_value());
}

void ScreenCaptureServiceTest::handsChunksOverInOrder()
{
    Fixture fixture;
    fixture.provider->steps->start.hold();
    bool isStarted = false;
    fixture.service->startCapture(windowSource()).then([&isStarted](const Result<>& started) {
        isStarted = started.has_value();
    });
    test::settle();
    fixture.stream().deliver(floats(0.25F, 1)); // already flowing, not yet told
    fixture.provider->steps->start.release();
    test::settle();
    QVERIFY(isStarted);
    fixture.stream().deliver(floats(0.5F, 1), platform::CaptureOutputType::screen);
    fixture.stream().deliver(QByteArray());
    fixture.stream().deliver(QByteArray(3, '\0'));
    fixture.stream().deliver("ab"_ba, platform::CaptureOutputType::audio, {.bitsPerChannel = 16, .formatFlags = 4});
    fixture.stream().deliver(floats(1.0F, 2));
    fixture.stream().outputs[0].output->didOutputSampleBuffer(
        {.isValid = false, .description = platform::AudioStreamDescription(), .data = std::as_bytes(std::span("xy"))},
        platform::CaptureOutputType::audio);
    QCOMPARE(fixture.chunks, QList({"\xFF\x1F"_ba, "ab"_ba, "\xFF\x7F\xFF\x7F"_ba}));
}

void ScreenCaptureServiceTest::requestsACommitAfterSilence_data()
{
    QTest::addColumn<QList<int>>("gaps");      // milliseconds before each chunk
    QTest::addColumn<QList<float>>("levels");  // of each chunk
    QTest::addColumn<QList<int>>("commitsAt"); // numbers of the chunks, from 1
    const float silent = 0.0F;
    const float loud = 0.5F;
    QTest::newRow("the eighth, then every seventh")
        << QList<int>(22, 100) << QList<float>(22, silent) << QList{8, 15, 22};
    QTest::newRow("the first adds nothing") << QList{100'000, 699, 1} << QList<float>(3, silent) << QList{3};
    QTest::newRow("a loud chunk resets") << QList<int>(12, 100) << QList{silent, silent, silent, silent, silent, silent,
                                                                         silent, loud,   silent, silent, silent, silent}
                                         << QList<int>{};
    QTest::newRow("the gap after a loud chunk counts") << QList{0, 700} << QList{loud, silent} << QList{2};
    QTest::newRow("below the limit is silent") << QList{0, 700} << QList<float>(2, 0.01199F) << QList{2};
    QTest::newRow("above the limit is loud") << QList{0, 700} << QList<float>(2, 0.01205F) << QList<int>{};
    QTest::newRow("one long gap commits once") << QList{0, 10'000, 100} << QList<float>(3, silent) << QList{2};
}

void ScreenCaptureServiceTest::requestsACommitAfterSilence()
{
    QFETCH(QList<int>, gaps);
    QFETCH(QList<float>, levels);
    QFETCH(QList<int>, commitsAt);
    Fixture fixture;
    QVERIFY(fixture.start().has_value());
    QList<int> committedAt;
    fixture.service->onCommitRequested = nullptr; // the stream works with what was set before its start
    for (int number = 1; number <= gaps.size(); ++number) {
        fixture.clock->advance(std::chrono::milliseconds(gaps[number - 1]));
        fixture.stream().deliver(floats(levels[number - 1]));
        QCOMPARE(fixture.chunks.size(), number);
        if (std::exchange(fixture.commits, 0) == 1) {
            committedAt.append(number);
        }
    }
    QCOMPARE(committedAt, commitsAt);
}

void ScreenCaptureServiceTest::aNewStartForgetsTheSilence()
{
    Fixture fixture;
    for (int start = 0; start < 2; ++start) {
        QVERIFY(fixture.start().has_value());
        fixture.clock->advance(650ms);
        fixture.stream().deliver(floats(0.0F));
        fixture.clock->advance(650ms);
        fixture.stream().deliver(floats(0.0F));
    }
    QCOMPARE(fixture.commits, 0);
    fixture.clock->advance(50ms);
    fixture.stream().deliver(floats(0.0F));
    QCOMPARE(fixture.commits, 1);
}

void ScreenCaptureServiceTest::reportsAStreamThatStoppedByItself()
{
    Fixture fixture;
    QVERIFY(fixture.start().has_value());
    fixture.stream().delegate.lock()->didStopWithError(test::failure(u"The sound has gone."_s));
    QCOMPARE(fixture.errors, QStringList{u"The sound has gone."_s});
    QCOMPARE(fixture.provider->steps->stop.calls(), 0); // what to do about it is for the owner
    QVERIFY(fixture.start().has_value());
    QCOMPARE(fixture.provider->steps->stop.calls(), 1);
}

void ScreenCaptureServiceTest::lateBuffersAreDropped()
{
    Fixture fixture;
    QVERIFY(fixture.start().has_value());
    QVERIFY(QCoro::waitFor(fixture.service->stopCapture()).has_value());
    fixture.stream().deliver(floats(0.5F));
    QVERIFY(fixture.start().has_value());
    fixture.provider->streams.front()->deliver(floats(0.5F)); // of the stream that was stopped
    fixture.service.reset();
    fixture.stream().deliver(floats(0.5F));
    QVERIFY(fixture.stream().delegate.expired());
    QVERIFY(fixture.chunks.isEmpty());
}

} // namespace quorvel

QTEST_GUILESS_MAIN(quorvel::ScreenCaptureServiceTest)
#include "ScreenCaptureServiceTest.moc"
