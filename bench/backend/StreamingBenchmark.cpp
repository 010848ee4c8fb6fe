#include "backend/BackendRealtimeClient.h"
#include "platform/linux/network/QtUrlSession.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTimer>

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <iostream>
#include <thread>

// CPU time and resident memory of streaming sound: 47 frames of 1,024 bytes a second for 30 s, by this program's client
// and by a bare Boost.Beast sender, at the same time, each in a process of its own, to one server in a third.

using namespace quorvel;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using tcp = boost::asio::ip::tcp;
namespace websocket = boost::beast::websocket;

namespace {

constexpr int framesPerSecond = 47;
constexpr int frameBytes = 1024;
constexpr std::chrono::nanoseconds framePeriod = std::chrono::nanoseconds(1s) / framesPerSecond;

std::chrono::microseconds cpuTime()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto sum = [](const timeval& time) {
        return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
    };
    return sum(usage.ru_utime) + sum(usage.ru_stime);
}

/// Resident memory: all of it, and what is not shared with files.
QByteArray residentMemory()
{
    QFile file(u"/proc/self/status"_s);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    QByteArray result;
    for (const QByteArray& line : file.readAll().split('\n')) {
        if (line.startsWith("VmRSS:") || line.startsWith("RssAnon:")) {
            result += line.simplified() + "  ";
        }
    }
    return result;
}

/// What a sender reports when its last frame has left.
void report(const char* name, std::chrono::microseconds cpu, std::chrono::duration<double> wall)
{
    const double percent = 100.0 * std::chrono::duration<double>(cpu).count() / wall.count();
    std::printf("%-22s %7.1f ms CPU in %.1f s = %.3f %% of a core   %s\n", name,
                static_cast<double>(cpu.count()) / 1000.0, wall.count(), percent, residentMemory().constData());
}

/// Sends on the event loop, as the application does.
class QuorvelSender
{
public:
    QuorvelSender(quint16 port, int frames)
        : m_client(BackendRealtimeClient::create(std::make_shared<platform::QtUrlSession>(),
                                                 QUrl(u"http://127.0.0.1:%1"_s.arg(port))))
        , m_left(frames)
    {
        m_timer.setSingleShot(true);
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, [this] { sendDue(); });
        launch(begin());
    }

private:
    Task<> begin()
    {
        [[maybe_unused]] const Result<> connected = co_await m_client->connect();
        // Done when the handshake is.
        [[maybe_unused]] const Result<> first = co_await m_client->sendAudio(m_frame);
        m_begin = m_due = std::chrono::steady_clock::now();
        m_cpuBefore = cpuTime();
        sendDue();
    }

    void sendDue()
    {
        const auto now = std::chrono::steady_clock::now();
        while (m_due <= now && m_left > 0) {
            launch(m_client->sendAudio(m_frame));
            m_due += framePeriod;
            --m_left;
        }
        if (m_left == 0) {
            report("quorvel", cpuTime() - m_cpuBefore, std::chrono::steady_clock::now() - m_begin);
            m_client->disconnect();
            QCoreApplication::quit();
            return;
        }
        m_timer.start(std::chrono::ceil<std::chrono::milliseconds>(m_due - now));
    }

    std::shared_ptr<BackendRealtimeClient> m_client;
    QByteArray m_frame = QByteArray(frameBytes, 's');
    QTimer m_timer;
    int m_left;
    std::chrono::steady_clock::time_point m_begin;
    std::chrono::steady_clock::time_point m_due;
    std::chrono::microseconds m_cpuBefore{0};
};

int sendBare(quint16 port, int frames)
{
    boost::asio::io_context context;
    websocket::stream<tcp::socket> stream(context);
    stream.next_layer().connect({boost::asio::ip::address_v4::loopback(), port});
    stream.next_layer().set_option(tcp::no_delay(true));
    stream.handshake("127.0.0.1", "/ws/realtime");
    stream.binary(true);
    const std::string frame(frameBytes, 's');
    const auto begin = std::chrono::steady_clock::now();
    const std::chrono::microseconds cpuBefore = cpuTime();
    auto due = begin;
    for (int number = 0; number < frames; ++number) {
        std::this_thread::sleep_until(due);
        stream.write(boost::asio::buffer(frame));
        due += framePeriod;
    }
    report("bare Beast sender", cpuTime() - cpuBefore, std::chrono::steady_clock::now() - begin);
    stream.close(websocket::close_code::going_away);
    return 0;
}

/// Takes two connections and counts what comes.
int serve()
{
    boost::asio::io_context context;
    tcp::acceptor acceptor(context, {boost::asio::ip::address_v4::loopback(), 0});
    std::cout << acceptor.local_endpoint().port() << std::endl;
    const auto converse = [](tcp::socket socket) {
        websocket::stream<tcp::socket> stream(std::move(socket));
        boost::system::error_code error;
        stream.accept(error);
        boost::beast::flat_buffer buffer;
        int frames = 0;
        while (!error && stream.read(buffer, error) == frameBytes) {
            ++frames;
            buffer.clear();
        }
        std::printf("server: a connection brought %d frames\n", frames);
    };
    std::jthread first(converse, acceptor.accept());
    std::jthread second(converse, acceptor.accept());
    return 0;
}

int runAll(const QString& program, int seconds)
{
    QProcess server;
    server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    server.start(program, {u"serve"_s});
    if (!server.waitForReadyRead()) {
        return 1;
    }
    const QString port = QString::fromLatin1(server.readLine().trimmed());
    const QString frames = QString::number(seconds * framesPerSecond);
    QProcess quorvelSender;
    QProcess bareSender;
    for (QProcess* sender : {&quorvelSender, &bareSender}) {
        sender->setProcessChannelMode(QProcess::ForwardedChannels);
        sender->start(program, {sender == &bareSender ? u"bare"_s : u"quorvel"_s, port, frames});
    }
    const bool haveEnded =
        quorvelSender.waitForFinished(-1) && bareSender.waitForFinished(-1) && server.waitForFinished();
    std::fputs(server.readAll().constData(), stdout);
    return haveEnded && quorvelSender.exitCode() == 0 && bareSender.exitCode() == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QString mode = arguments.value(1);
    const auto port = static_cast<quint16>(arguments.value(2).toUInt());
    const int frames = arguments.value(3).toInt();
    if (mode == "serve"_L1) {
        return serve();
    }
    if (mode == "bare"_L1) {
        return sendBare(port, frames);
    }
    if (mode == "quorvel"_L1) {
        const QuorvelSender sender(port, frames);
        return QCoreApplication::exec();
    }
    return runAll(arguments.front(), mode.isEmpty() ? 30 : mode.toInt());
}
