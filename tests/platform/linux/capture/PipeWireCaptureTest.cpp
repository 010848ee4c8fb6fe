#include "platform/linux/capture/PipeWireCaptureProvider.h"
#include "platform/linux/capture/Sound.h"
#include "support/EventLoop.h"

#include <QFile>
#include <QHash>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <optional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quorvel {

namespace {

using test::amplitudeOf;

constexpr double low = 440;
constexpr double high = 1000;
constexpr double loudness = 0.4;

class Delegate final : public platform::CaptureStreamDelegate
{
public:
    void didStopWithError(const Failure& failure) override { failures.append(failure.description); }
    QStringList failures;
};

/// A stream of the real provider, and what it delivers.
struct Capture
{
    explicit Capture(platform::ContentFilter filter)
        : stream(provider->makeStream(std::move(filter),
                                      {.capturesAudio = true,
                                       .excludesCurrentProcessAudio = true,
                                       .sampleRate = test::captureRate,
                                       .channelCount = 1,
                                       .width = 2,
                                       .height = 2,
                                       .minimumFrameInterval = 200ms},
                                      delegate))
    {
    }
    explicit Capture(qint64 processId)
        : Capture(platform::WindowFilter{.window = windowOf(processId)})
    {
    }

    static std::shared_ptr<platform::ShareableWindow> windowOf(qint64 processId)
    {
        auto window = std::make_shared<platform::ShareableWindow>();
        window->owningApplication = platform::RunningApplication{.processId = processId, .applicationName = {}};
        return window;
    }

    [[nodiscard]] Result<> start()
    {
        const Result<> added = stream->addStreamOutput(recorder, platform::CaptureOutputType::audio, "test");
        return added ? QCoro::waitFor(stream->startCapture()) : added;
    }

    /// Amplitude in the newest half second.
    [[nodiscard]] double amplitude(double frequency) const
    {
        return amplitudeOf(frequency, recorder->newest(test::captureRate / 2));
    }
    [[nodiscard]] bool hears(double frequency, double expected = loudness) const
    {
        return recorder->size() >= test::captureRate / 2 && std::abs(amplitude(frequency) - expected) < 0.01 * expected;
    }

    /// Waits for half a second of this tone from now on, and writes down for how long nothing at all came.
    [[nodiscard]] bool hearsAgain(double frequency, const char* after) const;

    std::shared_ptr<platform::MainThread> mainThread = std::make_shared<platform::MainThread>();
    std::shared_ptr<platform::CaptureProvider> provider = platform::makePipeWireCaptureProvider(mainThread);
    std::shared_ptr<Delegate> delegate = std::make_shared<Delegate>();
    std::shared_ptr<test::Recorder> recorder = std::make_shared<test::Recorder>();
    std::shared_ptr<platform::CaptureStream> stream;
};

/// The condition is looked at every 10 ms, because what it asks about happens on another thread.
template <typename Condition>
bool eventually(Condition condition)
{
    QTimer pulse;
    pulse.start(10ms);
    return test::waitUntil(condition, 20s);
}

bool Capture::hearsAgain(double frequency, const char* after) const
{
    const std::size_t before = recorder->size();
    const bool isHeard =
        eventually([&] { return recorder->size() > before + test::captureRate / 2 && hears(frequency); });
    qInfo("%s: no buffer for %lld ms", after, static_cast<long long>(recorder->longestGap().count()));
    recorder->clear();
    return isHeard;
}

/// A command that is no child of this process, as an application that the user started.
class Application
{
public:
    explicit Application(const QString& command)
    {
        QProcess process;
        process.setProgram(u"setsid"_s);
        process.setArguments({u"sh"_s, u"-c"_s, command});
        process.startDetached(&m_processId);
    }
    ~Application() { end(); }
    Application(const Application&) = delete;
    Application(Application&&) = delete;
    Application& operator=(const Application&) = delete;
    Application& operator=(Application&&) = delete;

    void end() const { QProcess::execute(u"pkill"_s, {u"--session"_s, QString::number(m_processId)}); }
    [[nodiscard]] qint64 processId() const { return m_processId; }

private:
    qint64 m_processId = 0;
};

bool pactl(const QStringList& arguments)
{
    return QProcess::execute(u"pactl"_s, arguments) == 0;
}

/// Another sink, which is the default one as long as it exists.
class TestSink
{
public:
    explicit TestSink(const QString& channelMap)
    {
        static const QHash<QString, QString> counts{{u"stereo"_s, u"2"_s}, {u"surround-51"_s, u"6"_s}};
        m_isReady = pactl({u"load-module"_s, u"module-null-sink"_s, u"sink_name=other"_s,
                           u"channels="_s + counts[channelMap], u"channel_map="_s + channelMap, u"rate=44100"_s}) &&
                    pactl({u"set-default-sink"_s, u"other"_s});
    }
    ~TestSink() { m_isReady = pactl({u"unload-module"_s, u"module-null-sink"_s}); }
    TestSink(const TestSink&) = delete;
    TestSink(TestSink&&) = delete;
    TestSink& operator=(const TestSink&) = delete;
    TestSink& operator=(TestSink&&) = delete;

    [[nodiscard]] bool isReady() const { return m_isReady; }

private:
    bool m_isReady = false;
};

bool service(const QStringList& arguments)
{
    return QProcess::execute(qEnvironmentVariable("HEADLESS_SERVICE"), arguments) == 0;
}

} // namespace

/// The real capture of real players on the headless desktop's PipeWire.
class PipeWireCaptureTest : public QObject
{
    Q_OBJECT

    QString player(const QString& program, const QString& file) const
    {
        return u"%1 '%2'"_s.arg(program, m_directory.filePath(file));
    }

    QTemporaryDir m_directory;

private Q_SLOTS:
    void initTestCase();
    void capturesOneApplicationAlone_data();
    void capturesOneApplicationAlone();
    void mixesChannelsWithoutClipping_data();
    void mixesChannelsWithoutClipping();
    void displayCapturesAllButOurselves();
    void deliversSilenceInWholeBuffers();
    void followsPlayersThatComeAndGo();
    void endedTargetIsSilence();
    void sinkChangesDoNotMatter();
    void survivesARestartOfTheSessionManager();
    void survivesARestartOfTheServer();
    void tellsWhenTheServerStaysAway();
    void failsToStartWithoutAServer();
    void failsToStartWithoutAProgram();
    void stopsAtOnce();
    void refusalIsAMatterOfPermission();
};

void PipeWireCaptureTest::initTestCase()
{
    const std::vector<std::pair<QString, std::vector<double>>> files{
        {u"low.wav"_s, {low, low}},
        {u"high.wav"_s, {high, high}},
        {u"mono.wav"_s, {low}},
        {u"apart.wav"_s, {low, high}},
        {u"surround.wav"_s, {low, low, low, low, low, low}},
        {u"fronts.wav"_s, {low, low, 0, 0, 0, 0}},
    };
    for (const auto& [name, frequencies] : files) {
        QFile file(m_directory.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.write(test::toneFile(frequencies, loudness, 60)) > 0);
    }
}

void PipeWireCaptureTest::capturesOneApplicationAlone_data()
{
    // %1 plays what is to be heard; it is the application itself when it is executed, else a child process of it.
    QTest::addColumn<QString>("command");
    const QString pulse = player(u"paplay"_s, u"low.wav"_s);
    const QString native = player(u"pw-play"_s, u"low.wav"_s);
    const QString sandbox = u"exec bwrap --dev-bind / / --unshare-pid --proc /proc sh -c \"%1; true\""_s;
    QTest::newRow("native") << u"exec %1"_s.arg(native);
    QTest::newRow("PulseAudio") << u"exec %1"_s.arg(pulse);
    QTest::newRow("native child process") << u"%1; true"_s.arg(native);
    QTest::newRow("PulseAudio grandchild process") << u"sh -c \"%1; true\"; true"_s.arg(pulse);
    QTest::newRow("native in a sandbox") << sandbox.arg(native);
    QTest::newRow("PulseAudio in a sandbox") << sandbox.arg(pulse);
}

void PipeWireCaptureTest::capturesOneApplicationAlone()
{
    QFETCH(QString, command);
    const Application other(player(u"pw-play"_s, u"high.wav"_s));
    const Application otherPulse(player(u"paplay"_s, u"high.wav"_s));
    const Application target(command);
    Capture capture(target.processId());
    QVERIFY(capture.start().has_value());
    QVERIFY(eventually([&] { return capture.hears(low); }));
    const double wanted = capture.amplitude(low);
    const double unwanted = capture.amplitude(high);
    qInfo("wanted %.5f, other applications %.7f", wanted, unwanted);
    QVERIFY2(unwanted < wanted / 1000, "the other applications are not 60 dB below");
    QVERIFY(capture.recorder->isAsPromised());
}

void PipeWireCaptureTest::mixesChannelsWithoutClipping_data()
{
    QTest::addColumn<QString>("channelsOfTheSink");
    QTest::addColumn<QString>("file");
    QTest::addColumn<double>("lowAmplitude");
    QTest::addColumn<double>("highAmplitude");
    // What plays is fitted to the sink's channels before it gets to us.
    for (const char* sink : {"stereo", "surround-51"}) {
        const QString channels = QString::fromLatin1(sink);
        QTest::addRow("mono to %s", sink) << channels << u"mono.wav"_s << loudness << 0.0;
        QTest::addRow("stereo to %s", sink) << channels << u"low.wav"_s << loudness << 0.0;
        QTest::addRow("left and right apart to %s", sink) << channels << u"apart.wav"_s << loudness / 2 << loudness / 2;
    }
    QTest::newRow("5.1 to surround-51") << u"surround-51"_s << u"surround.wav"_s << loudness << 0.0;
    QTest::newRow("fronts of 5.1 to stereo") << u"stereo"_s << u"fronts.wav"_s << loudness << 0.0;
}

void PipeWireCaptureTest::mixesChannelsWithoutClipping()
{
    QFETCH(QString, channelsOfTheSink);
    QFETCH(QString, file);
    QFETCH(double, lowAmplitude);
    QFETCH(double, highAmplitude);
    const TestSink sink(channelsOfTheSink);
    QVERIFY(sink.isReady());
    const Application target(u"exec "_s + player(u"pw-play"_s, file));
    Capture capture(target.processId());
    QVERIFY(capture.start().has_value());
    QVERIFY(eventually([&] { return capture.hears(low, lowAmplitude); }));
    QVERIFY(std::abs(capture.amplitude(high) - highAmplitude) < 0.004);
    const std::vector<float> sound = capture.recorder->newest(test::captureRate / 2);
    QVERIFY(std::ranges::max(sound) < static_cast<float>(lowAmplitude + highAmplitude) + 0.01F);
}

void PipeWireCaptureTest::displayCapturesAllButOurselves()
{
    const Application native(player(u"pw-play"_s, u"low.wav"_s));
    const Application pulse(player(u"paplay"_s, u"apart.wav"_s));
    QProcess ours;
    ours.start(u"pw-play"_s, {m_directory.filePath(u"high.wav"_s)});
    Capture capture(
        platform::DisplayFilter{.display = std::make_shared<platform::ShareableDisplay>(), .excludedWindows = {}});
    QVERIFY(capture.start().has_value());
    // The two low tones have any phase to each other; the high tone is heard from the right channel of one alone.
    QVERIFY(eventually([&] { return capture.hears(high, loudness / 2); }));
    QVERIFY(capture.amplitude(low) > 0.1);

    // A window's application can be left out too.
    platform::DisplayFilter lessPulse{.display = std::make_shared<platform::ShareableDisplay>(), .excludedWindows = {}};
    lessPulse.excludedWindows.push_back(Capture::windowOf(pulse.processId()));
    Capture withoutPulse(lessPulse);
    QVERIFY(withoutPulse.start().has_value());
    QVERIFY(eventually([&] { return withoutPulse.hears(low); }));
    QVERIFY(withoutPulse.amplitude(high) < loudness / 1000);
    QCOMPARE(ours.state(), QProcess::Running);
    ours.kill();
    ours.waitForFinished();
}

void PipeWireCaptureTest::deliversSilenceInWholeBuffers()
{
    const Application target(u"sleep 60"_s);
    Capture capture(target.processId());
    QVERIFY(capture.start().has_value());
    QVERIFY(eventually([&] { return capture.recorder->size() >= test::captureRate; }));
    QVERIFY(capture.recorder->isAsPromised());
    const std::vector<float> sound = capture.recorder->newest(test::captureRate);
    QVERIFY(std::ranges::all_of(sound, [](float sample) { return sample == 0.0F; }));
}

void PipeWireCaptureTest::followsPlayersThatComeAndGo()
{
    const QString command = player(u"pw-play"_s, u"low.wav"_s);
    const Application target(u"while true; do %1; sleep 0.3; done"_s.arg(command));
    Capture capture(target.processId());
    QVERIFY(capture.start().has_value());
    for (int turn = 0; turn < 3; ++turn) {
        QVERIFY(eventually([&] { return capture.hears(low); }));
        QProcess::execute(u"pkill"_s, {u"--session"_s, QString::number(target.processId()), u"pw-play"_s});
        QVERIFY(eventually([&] { return capture.amplitude(low) < loudness * 0.9; }));
    }
    QCOMPARE(capture.delegate->failures, QStringList());
}

void PipeWireCaptureTest::endedTargetIsSilence()
{
    const Application target(u"exec "_s + player(u"paplay"_s, u"low.wav"_s));
    Capture capture(target.processId());
    QVERIFY(capture.start().has_value());
    QVERIFY(eventually([&] { return capture.hears(low); }));
    QElapsedTimer sinceEnd;
    sinceEnd.start();
    target.end();
    QVERIFY(eventually([&] { return capture.amplitude(low) < 0.0001; }));
    qInfo("half a second of silence %lld ms after the end", static_cast<long long>(sinceEnd.elapsed()));
    const std::size_t before = capture.recorder->size();
    QVERIFY(eventually([&] { return capture.recorder->size() > before + test::captureRate / 2; }));
    QCOMPARE(capture.delegate->failures, QStringList());
}

void PipeWireCaptureTest::sinkChangesDoNotMatter()
{
    const Application target(u"exec "_s + player(u"paplay"_s, u"low.wav"_s));
    Capture capture(target.processId());
    QVERIFY(capture.start().has_value());
    QVERIFY(eventually([&] { return capture.hears(low); }));

    QVERIFY(pactl({u"set-sink-mute"_s, u"test-null-sink"_s, u"1"_s}));
    QVERIFY(pactl({u"set-sink-volume"_s, u"test-null-sink"_s, u"10%"_s}));
    QVERIFY(capture.hearsAgain(low, "sink muted and turned down"));

    std::optional<TestSink> other;
    other.emplace(u"stereo"_s);
    QVERIFY(other->isReady());
    QVERIFY(capture.hearsAgain(low, "another default sink"));
    other.reset();
    QVERIFY(capture.hearsAgain(low, "default sink taken away"));
    QCOMPARE(capture.delegate->failures, QStringList());
}

void PipeWireCaptureTest::survivesARestartOfTheSessionManager()
{
    const Application target(u"exec "_s + player(u"pw-play"_s, u"low.wav"_s));
    Capture capture(target.processId());
    QVERIFY(capture.start().has_value());
    QVERIFY(eventually([&] { return capture.hears(low); }));
    QVERIFY(service({u"restart"_s, u"wireplumber"_s}));
    QVERIFY(capture.hearsAgain(low, "session manager restarted"));
    QCOMPARE(capture.delegate->failures, QStringList());
    QVERIFY(service({u"restart"_s, u"audio"_s}));
}

void PipeWireCaptureTest::survivesARestartOfTheServer()
{
    const Application target(u"while true; do %1; sleep 0.1; done"_s.arg(player(u"pw-play"_s, u"low.wav"_s)));
    Capture capture(target.processId());
    QVERIFY(capture.start().has_value());
    QVERIFY(eventually([&] { return capture.hears(low); }));
    QCOMPARE(QProcess::execute(u"sh"_s, {u"-c"_s, u"kill -KILL $(cat $HEADLESS_DESKTOP/pids/pipewire)"_s}), 0);
    QVERIFY(service({u"restart"_s, u"audio"_s}));
    QVERIFY(capture.hearsAgain(low, "server killed and restarted"));
    QCOMPARE(capture.delegate->failures, QStringList());
}

void PipeWireCaptureTest::tellsWhenTheServerStaysAway()
{
    Capture capture(
        platform::DisplayFilter{.display = std::make_shared<platform::ShareableDisplay>(), .excludedWindows = {}});
    QVERIFY(capture.start().has_value());
    QVERIFY(service({u"stop"_s, u"audio"_s}));
    QElapsedTimer sinceStop;
    sinceStop.start();
    QVERIFY(eventually([&] { return !capture.delegate->failures.isEmpty(); }));
    qInfo("told %lld ms after the server had stopped", static_cast<long long>(sinceStop.elapsed()));
    QCOMPARE(capture.delegate->failures,
             QStringList{u"The audio server stopped and did not come back within five seconds."_s});
    QVERIFY(QCoro::waitFor(capture.stream->stopCapture()).has_value());
}

void PipeWireCaptureTest::failsToStartWithoutAServer()
{
    Capture capture(
        platform::DisplayFilter{.display = std::make_shared<platform::ShareableDisplay>(), .excludedWindows = {}});
    QVERIFY(capture.provider->preflightAccess());
    const Result<> started = capture.start();
    QVERIFY(!started.has_value());
    QCOMPARE(started.error().code, errorCode(platform::PlatformError::unavailable));
    const QRegularExpression wordsOfPermission(u"tcc|screen recording|declined|permission|not authorized"_s,
                                               QRegularExpression::CaseInsensitiveOption);
    QVERIFY2(!started.error().description.contains(wordsOfPermission), qPrintable(started.error().description));
    QVERIFY(service({u"start"_s, u"audio"_s}));
    QCOMPARE(capture.delegate->failures, QStringList());
}

void PipeWireCaptureTest::failsToStartWithoutAProgram()
{
    Capture unknown(0);
    QCOMPARE(unknown.start().error().description,
             u"It is not known which program this window belongs to. Choose the whole screen instead."_s);
    Capture ended(0x3FFFFFFF);
    QCOMPARE(ended.start().error().description,
             u"The program of this window has ended. Refresh the sources and choose again."_s);
}

void PipeWireCaptureTest::stopsAtOnce()
{
    const Application target(u"exec "_s + player(u"pw-play"_s, u"low.wav"_s));
    for (int turn = 0; turn < 10; ++turn) {
        Capture capture(target.processId());
        QVERIFY(capture.start().has_value());
        QVERIFY(QCoro::waitFor(capture.stream->stopCapture()).has_value());
        QCOMPARE(capture.recorder.use_count(), 2); // the stream's and ours: nothing that runs can reach it
        std::weak_ptr<test::Recorder> recorder = capture.recorder;
        capture.stream.reset();
        capture.recorder.reset();
        QVERIFY(recorder.expired());
    }
    // Destroyed while it starts: the start ends as cancelled.
    Capture capture(target.processId());
    std::optional<Result<>> end;
    capture.stream->startCapture().then([&end](const Result<>& result) { end = result; });
    capture.stream.reset();
    QVERIFY(eventually([&] { return end.has_value(); }));
}

void PipeWireCaptureTest::refusalIsAMatterOfPermission()
{
    const auto provider = platform::makePipeWireCaptureProvider(std::make_shared<platform::MainThread>());
    QVERIFY(provider->preflightAccess());
    qputenv("PIPEWIRE_REMOTE", "nothing-listens-here");
    QVERIFY(provider->preflightAccess());

    // A socket that listens and lets nobody in, as in a sandbox. Its file's mode does not stop the superuser.
    const QByteArray path = QFile::encodeName(m_directory.filePath(u"refusing"_s));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    QVERIFY(static_cast<std::size_t>(path.size()) < sizeof(address.sun_path));
    std::ranges::copy(path, std::begin(address.sun_path));
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    if (listener < 0) {
        QFAIL("no socket can be made");
    }
    QCOMPARE(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    QCOMPARE(listen(listener, 1), 0);
    qputenv("PIPEWIRE_REMOTE", path);
    QVERIFY(provider->preflightAccess());
    QCOMPARE(chmod(path.constData(), 0), 0);
    constexpr uid_t nobody = 65534;
    const bool isSuperuser = geteuid() == 0;
    QVERIFY(!isSuperuser || seteuid(nobody) == 0);
    const bool isAllowed = provider->preflightAccess();
    QVERIFY(!isSuperuser || seteuid(0) == 0);
    QVERIFY(!isAllowed);
    close(listener);
    qunsetenv("PIPEWIRE_REMOTE");
}

} // namespace quorvel

QTEST_GUILESS_MAIN(quorvel::PipeWireCaptureTest)
#include "PipeWireCaptureTest.moc"
