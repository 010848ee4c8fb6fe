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
        if (isLoud && (impulses.empty() || now - impulses.back() > 100ms)) {
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

/// The delay from the moment when a player hands an impulse to the audio server to the owner's callback.
int measureDelay(std::size_t impulseCount)
{
    const QTemporaryDir directory;
    const QString log = directory.filePath(u"impulses"_s);
    QProcess player; // detached, because our own children are not captured
    player.setProgram(QCoreApplication::applicationFilePath());
    player.setArguments({u"player"_s, QString::number(impulseCount)});
    player.setStandardOutputFile(log);
    qint64 processId = 0;
    player.startDetached(&processId);

    Session session;
    if (!session.start(windowOf(processId))) {
        return 1;
    }
    while (QFile::exists(u"/proc/%1"_s.arg(processId))) {
        spin(100ms);
    }
    QFile file(log);
    if (!file.open(QIODevice::ReadOnly)) {
        return 1;
    }
    std::vector<Clock::time_point> played;
    while (!file.atEnd()) {
        played.emplace_back(std::chrono::nanoseconds(file.readLine().trimmed().toLongLong()));
    }
    // The capture may have begun after the first ones: each arrival belongs to the last impulse before it.
    std::vector<double> delays;
    for (const Clock::time_point heard : session.impulses) {
        const auto next = std::ranges::upper_bound(played, heard);
        if (next != played.begin()) {
            delays.push_back(std::chrono::duration<double, std::milli>(heard - *std::prev(next)).count());
        }
    }
    std::ranges::sort(delays);
    std::printf("impulses: %zu played, %zu heard; delay p50 %.1f, p95 %.1f, longest %.1f ms; longest gap %.1f ms\n",
                played.size(), delays.size(), percentile(delays, 0.5), percentile(delays, 0.95), percentile(delays, 1),
                std::chrono::duration<double, std::milli>(session.longestGap).count());
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
        playImpulses(static_cast<std::size_t>(number));
        return 0;
    }
    if (what == u"delay" && number > 0) {
        return measureDelay(static_cast<std::size_t>(number));
    }
    if (what == u"soak" && number > 0) {
        return soak(std::chrono::seconds(number));
    }
    std::fprintf(stderr, "usage: LiveCaptureBenchmark delay IMPULSES | soak SECONDS\n"
                         "Run it on tests/support/headless-desktop, or on a desktop with PipeWire.\n");
    return 2;
}

} // namespace quorvel::bench

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    return quorvel::bench::run(QCoreApplication::arguments());
}
