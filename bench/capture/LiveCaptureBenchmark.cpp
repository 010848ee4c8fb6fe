#include "capture/ImpulsePlayer.h"
#include "capture/ScreenCaptureService.h"
#include "platform/linux/capture/PipeWireCaptureProvider.h"
#include "platform/linux/desktop/SystemClock.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quorvel::bench {

namespace {

using Clock = std::chrono::steady_clock;

void spin(std::chrono::milliseconds duration)
{
    QEventLoop loop;
    QTimer::singleShot(duration, &loop, &QEventLoop::quit);
    loop.exec();
}

/// The service as the application builds it, and what it handed over.
struct Session
{
    Session()
    {
        service->onAudioChunk = [this](const QByteArray& chunk) { take(chunk); };
        service->onError = [](const QString& text) { std::printf("error: %s\n", qPrintable(text)); };
    }

    bool start(const CaptureSource& source)
    {
        const Clock::time_point asked = Clock::now();
        const Result<> started = QCoro::waitFor(service->startCapture(source));
        const std::chrono::duration<double, std::milli> took = Clock::now() - asked;
        std::printf("start: %s, %.1f ms\n", started ? "running" : qPrintable(started.error().description),
                    took.count());
        return started.has_value();
    }

    /// On the audio queue.
    void take(const QByteArray& chunk)
    {
        const Clock::time_point now = Clock::now();
        bytes += static_cast<std::uint64_t>(chunk.size());
        const std::lock_guard lock(mutex);
        longestGap = chunks++ > 0 ? std::max(longestGap, now - last) : longestGap;
        last = now;
        const auto count = static_cast<std::size_t>(chunk.size()) / 2;
        const bool isLoud =
            std::ranges::any_of(std::span(reinterpret_cast<const std::int16_t*>(chunk.constData()), count),
                                [](std::int16_t sample) { return std::abs(sample) > 3000; });
        if (isLoud && (impulses.empty() || now - impulses.back() > std::chrono::milliseconds(100))) {
            impulses.push_back(now);
        }
    }

    std::shared_ptr<platform::MainThread> mainThread = std::make_shared<platform::MainThread>();
    std::shared_ptr<ScreenCaptureService> service = ScreenCaptureService::create(
        platform::makePipeWireCaptureProvider(mainThread), std::make_shared<platform::SystemClock>());
    std::atomic<std::uint64_t> bytes = 0;
    std::mutex mutex;
    std::uint64_t chunks = 0;
    Clock::time_point last;
    Clock::duration longestGap{};
    std::vector<Clock::time_point> impulses;
};

CaptureSource windowOf(qint64 processId)
{
    auto window = std::make_shared<platform::ShareableWindow>();
    window->owningApplication = platform::RunningApplication{.processId = processId, .applicationName = {}};
    CaptureSource source;
    source.window = std::move(window);
    return source;
}

CaptureSource wholeDisplay()
{
    CaptureSource source;
    source.kind = CaptureSourceKind::screen;
    source.display = std::make_shared<platform::ShareableDisplay>();
    return source;
}

double percentile(const std::vector<double>& sorted, double share)
{
    return sorted.empty() ? 0 : sorted[static_cast<std::size_t>(share * static_cast<double>(sorted.size() - 1))];
}

using Moments = std::vector<Clock::time_point>;

double millisecondsBetween(Clock::time_point from, Clock::time_point to)
{
    return std::chrono::duration<double, std::milli>(to - from).count();
}

/// Runs a command that plays impulses and captures it until it has ended. Returns when they were played.
std::optional<Moments> captureWhile(Session& session, const QString& command)
{
    const QTemporaryDir directory;
    const QString log = directory.filePath(u"impulses"_s);
    QProcess player; // detached, because our own children are not captured
    player.setProgram(u"sh"_s);
    player.setArguments({u"-c"_s, command, QCoreApplication::applicationFilePath()});
    player.setStandardOutputFile(log);
    qint64 processId = 0;
    if (!player.startDetached(&processId) || !session.start(windowOf(processId))) {
        return std::nullopt;
    }
    while (QFile::exists(u"/proc/%1"_s.arg(processId))) {
        spin(100ms);
    }
    QFile file(log);
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    Moments played;
    while (!file.atEnd()) {
        played.emplace_back(std::chrono::nanoseconds(file.readLine().trimmed().toLongLong()));
    }
    return played;
}

void report(const char* what, std::vector<double> milliseconds)
{
    std::ranges::sort(milliseconds);
    std::printf("%s: %zu times, p50 %.1f, p95 %.1f, longest %.1f ms\n", what, milliseconds.size(),
                percentile(milliseconds, 0.5), percentile(milliseconds, 0.95), percentile(milliseconds, 1));
}

/// The delay from the moment when a player hands an impulse to the audio server to the owner's callback.
int measureDelay(int impulseCount)
{
    Session session;
    const auto played = captureWhile(session, u"sleep 1; exec $0 player %1 250"_s.arg(impulseCount));
    if (!played) {
        return 1;
    }
    std::vector<double> delays;
    for (const Clock::time_point heard : session.impulses) {
        const auto next = std::ranges::upper_bound(*played, heard);
        if (next != played->begin()) {
            delays.push_back(millisecondsBetween(*std::prev(next), heard));
        }
    }
    std::printf("impulses played: %zu\n", played->size());
    report("delay of those that were heard", delays);
    return 0;
}

/// The time from the first sound of a player that starts while its application is captured, to its first sound at the
/// owner's. It gives an impulse every 20 ms.
int measureRestarts(int restartCount)
{
    Session session;
    const auto played =
        captureWhile(session, u"sleep 1; for i in $(seq %1); do $0 player 30 20; sleep 0.4; done"_s.arg(restartCount));
    if (!played) {
        return 1;
    }
    std::vector<double> waits;
    Clock::time_point before;
    for (const Clock::time_point moment : *played) {
        const auto heard = std::ranges::lower_bound(session.impulses, moment);
        if (moment - before > std::chrono::milliseconds(200) && heard != session.impulses.end()) {
            waits.push_back(millisecondsBetween(moment, *heard));
        }
        before = moment;
    }
    report("first sound of a started player", waits);
    return 0;
}

double cpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// Processor time of another process, from the fields 14 and 15 of the kernel's table.
double cpuSecondsOf(qint64 processId)
{
    QFile file(u"/proc/%1/stat"_s.arg(processId));
    if (!file.open(QIODevice::ReadOnly)) {
        return 0;
    }
    const QByteArray line = file.readAll();
    const QList<QByteArray> fields = line.sliced(line.lastIndexOf(')') + 2).split(' ');
    return (fields.value(11).toDouble() + fields.value(12).toDouble()) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

long residentKilobytes()
{
    QFile file(u"/proc/self/statm"_s);
    return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').value(1).toLong() * sysconf(_SC_PAGESIZE) / 1024
                                          : 0;
}

/// Captures the display for so long and reports what it took, six times in all.
int soak(std::chrono::seconds duration)
{
    const qint64 daemon = qEnvironmentVariableIntValue("HEADLESS_PIPEWIRE_PID");
    Session session;
    if (!session.start(wholeDisplay())) {
        return 1;
    }
    spin(2s);
    const Clock::time_point begin = Clock::now();
    const std::uint64_t bytesBefore = session.bytes;
    const double cpuBefore = cpuSeconds();
    const double daemonBefore = cpuSecondsOf(daemon);
    std::printf("resident at the beginning: %ld kB\n", residentKilobytes());
    for (int part = 1; part <= 6; ++part) {
        while (Clock::now() < begin + duration * part / 6) {
            spin(200ms);
        }
        const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
        std::printf(
            "after %.0f s: %.1f bytes/s (%+.4f %%), resident %ld kB, CPU %.2f %%, daemon's CPU %.2f %%, longest gap "
            "%.1f ms\n",
            seconds, static_cast<double>(session.bytes - bytesBefore) / seconds,
            (static_cast<double>(session.bytes - bytesBefore) / seconds / 48'000 - 1) * 100, residentKilobytes(),
            (cpuSeconds() - cpuBefore) / seconds * 100, (cpuSecondsOf(daemon) - daemonBefore) / seconds * 100,
            std::chrono::duration<double, std::milli>(session.longestGap).count());
        std::fflush(stdout);
    }
    return 0;
}

} // namespace

int run(const QStringList& arguments)
{
    const QString& what = arguments.value(1);
    const int number = arguments.value(2).toInt();
    if (what == u"player" && number > 0) {
        playImpulses(static_cast<std::size_t>(number), std::chrono::milliseconds(arguments.value(3).toInt()));
        return 0;
    }
    if (what == u"delay" && number > 0) {
        return measureDelay(number);
    }
    if (what == u"restarts" && number > 0) {
        return measureRestarts(number);
    }
    if (what == u"soak" && number > 0) {
        return soak(std::chrono::seconds(number));
    }
    std::fprintf(stderr, "usage: LiveCaptureBenchmark delay IMPULSES | restarts TIMES | soak SECONDS\n"
                         "Run it on tests/support/headless-desktop, or on a desktop with PipeWire.\n");
    return 2;
}

} // namespace quorvel::bench

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    return quorvel::bench::run(QCoreApplication::arguments());
}
