// The processes between which bench/programs/delivery.py measures: a player of impulses, a server that notes when each
// arrives, and three ways to bring sound from the one to the other.

#include "backend/BackendRealtimeClient.h"
#include "capture/ImpulsePlayer.h"
#include "capture/ScreenCaptureService.h"
#include "platform/linux/capture/PipeWireCaptureProvider.h"
#include "platform/linux/desktop/SystemClock.h"
#include "platform/linux/network/QtUrlSession.h"
#include "programs/BareCapture.h"

#include <QCoreApplication>

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <span>

using namespace quorvel;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using tcp = boost::asio::ip::tcp;
namespace websocket = boost::beast::websocket;

namespace {

/// 20 ms of 16-bit mono at 24 kHz, as the application sends it.
constexpr std::size_t chunkBytes = 960;

/// Prints the server's port, then the moment (nanoseconds of the steady clock) of each impulse that one connection
/// after the other brings.
int serve()
{
    boost::asio::io_context context;
    tcp::acceptor acceptor(context, {boost::asio::ip::address_v4::loopback(), 0});
    std::printf("%u\n", acceptor.local_endpoint().port());
    std::fflush(stdout);
    while (true) {
        websocket::stream<tcp::socket> stream(acceptor.accept());
        boost::system::error_code error;
        stream.accept(error);
        boost::beast::flat_buffer buffer;
        std::chrono::steady_clock::time_point last;
        while (!error) {
            stream.read(buffer, error);
            const auto now = std::chrono::steady_clock::now();
            const auto isLoud = [](std::int16_t sample) { return std::abs(sample) > 3000; };
            const std::span samples(static_cast<const std::int16_t*>(buffer.cdata().data()), buffer.size() / 2);
            if (stream.got_binary() && now - last > std::chrono::milliseconds(100) &&
                std::ranges::any_of(samples, isLoud)) {
                last = now;
                std::printf("%lld\n", static_cast<long long>(std::chrono::nanoseconds(now.time_since_epoch()).count()));
                std::fflush(stdout);
            }
            buffer.clear();
        }
    }
}

/// The application's way: the window of a process is captured, chunks cross to the main thread and leave there.
class Application : public std::enable_shared_from_this<Application>
{
public:
    explicit Application(quint16 port)
        : m_client(BackendRealtimeClient::create(std::make_shared<platform::QtUrlSession>(),
                                                 QUrl(u"http://127.0.0.1:%1"_s.arg(port))))
    {
    }

    Task<> run(qint64 processId)
    {
        const auto self = shared_from_this();
        m_service->onAudioChunk =
            platform::weakCallback(m_mainThread, weak_from_this(), [](Application& application, QByteArray chunk) {
                launch(application.m_client->sendAudio(std::move(chunk)));
            });
        auto window = std::make_shared<platform::ShareableWindow>();
        window->owningApplication = platform::RunningApplication{.processId = processId, .applicationName = {}};
        CaptureSource source;
        source.window = std::move(window);
        const Result<> connected = co_await m_client->connect();
        const Result<> started = co_await m_service->startCapture(std::move(source));
        if (!connected || !started) {
            std::fprintf(stderr, "the capture did not start\n");
            QCoreApplication::exit(1);
        }
    }

private:
    std::shared_ptr<platform::MainThread> m_mainThread = std::make_shared<platform::MainThread>();
    std::shared_ptr<BackendRealtimeClient> m_client;
    std::shared_ptr<ScreenCaptureService> m_service = ScreenCaptureService::create(
        platform::makePipeWireCaptureProvider(m_mainThread), std::make_shared<platform::SystemClock>());
};

/// A WebSocket without anything around it.
class BareSender
{
public:
    explicit BareSender(quint16 port)
    {
        m_stream.next_layer().connect({boost::asio::ip::address_v4::loopback(), port});
        m_stream.next_layer().set_option(tcp::no_delay(true));
        m_stream.handshake("127.0.0.1", "/ws/realtime");
        m_stream.binary(true);
    }

    bool send(std::span<const std::byte> bytes)
    {
        boost::system::error_code error;
        m_stream.write(boost::asio::buffer(bytes.data(), bytes.size()), error);
        return !error;
    }

private:
    boost::asio::io_context m_context;
    websocket::stream<tcp::socket> m_stream{m_context};
};

/// What another program captures and writes to standard output.
int sendInput(quint16 port)
{
    BareSender sender(port);
    std::array<std::byte, chunkBytes> chunk{};
    std::size_t filled = 0;
    while (true) {
        const ssize_t count = ::read(STDIN_FILENO, chunk.data() + filled, chunk.size() - filled);
        if (count <= 0) {
            return 0;
        }
        filled += static_cast<std::size_t>(count);
        if (filled == chunk.size()) {
            if (!sender.send(chunk)) {
                return 1;
            }
            filled = 0;
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QString mode = arguments.value(1);
    const int number = arguments.value(2).toInt();
    const auto port = static_cast<quint16>(number);
    if (mode == "play"_L1) {
        bench::playImpulses(static_cast<std::size_t>(number), 250ms);
        return 0;
    }
    if (mode == "serve"_L1) {
        return serve();
    }
    if (mode == "quorvel"_L1) {
        const auto peer = std::make_shared<Application>(port);
        launch(peer->run(arguments.value(3).toLongLong()));
        return QCoreApplication::exec();
    }
    if (mode == "bare"_L1) {
        BareSender sender(port);
        bench::captureMonitor([&sender](std::span<const std::byte> bytes) { return sender.send(bytes); });
        return 0;
    }
    if (mode == "send-input"_L1) {
        return sendInput(port);
    }
    std::fputs("started by delivery.py, which see\n", stderr);
    return 2;
}
