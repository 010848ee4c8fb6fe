#include "server/Program.h"

#include "accounts/AccountStore.h"
#include "answers/OfflineAnswerer.h"
#include "profile/FileProfileExtractor.h"
#include "server/Server.h"
#include "speech/PooledRecognizer.h"
#include "speech/SphinxDecoder.h"
#include "support/Secrets.h"

#include <boost/asio/ip/address.hpp>
#include <boost/asio/signal_set.hpp>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <thread>

namespace quorvel::localbackend {

namespace asio = boost::asio;
using tcp = asio::ip::tcp;

namespace {

std::string shown(const tcp::endpoint& endpoint)
{
    const auto address = endpoint.address().to_string();
    return (endpoint.address().is_v6() ? "[" + address + "]" : address) + ":" + std::to_string(endpoint.port());
}

Result<tcp::acceptor> adopt(asio::io_context& context, int descriptor)
{
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    if (::getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0 ||
        (address.ss_family != AF_INET && address.ss_family != AF_INET6))
        return failed(Fault::Unavailable, "The socket that the service manager handed over is not a TCP socket.");
    tcp::acceptor acceptor(context);
    boost::system::error_code error;
    if (acceptor.assign(address.ss_family == AF_INET ? tcp::v4() : tcp::v6(), descriptor, error))
        return failed(Fault::Unavailable, "The handed-over socket cannot be used: " + error.message() + ".");
    return acceptor;
}

Result<tcp::acceptor> listen(asio::io_context& context, const Options& options)
{
    boost::system::error_code error;
    const auto address = asio::ip::make_address(options.address, error);
    if (error)
        return failed(Fault::Invalid, "--listen takes a numeric address, not " + options.address + ".");
    const tcp::endpoint endpoint(address, options.port);
    tcp::acceptor acceptor(context);
    const tcp::acceptor::reuse_address reuse(true);
    if (acceptor.open(endpoint.protocol(), error) || acceptor.set_option(reuse, error) ||
        acceptor.bind(endpoint, error) || acceptor.listen(asio::socket_base::max_listen_connections, error))
        return failed(Fault::Unavailable, "Cannot listen on " + shown(endpoint) + ": " + error.message() + ".");
    return acceptor;
}

} // namespace

Result<void> serve(const Options& options, const Environment& environment, const Log& log)
{
    // The network thread is the only one that handles what arrives, the pool does what takes long.
    constexpr std::size_t workerThreads = 2;
    const std::size_t recognitionThreads = std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, 4);
    const Clock clock;

    asio::io_context context(1);
    const auto handedOver = handedOverSocket(environment, ::getpid());
    if (!handedOver)
        return std::unexpected(handedOver.error());
    auto acceptor = *handedOver >= 0 ? adopt(context, *handedOver) : listen(context, options);
    if (!acceptor)
        return std::unexpected(acceptor.error());
    auto accounts = AccountStore::open(options.stateDirectory, clock);
    if (!accounts)
        return std::unexpected(accounts.error());
    const SphinxModel model;
    if (const auto present = checkModel(model); !present)
        return std::unexpected(present.error());
    auto recognizer =
        PooledRecognizer::make([model] { return makeSphinxSource(model); }, {.threads = recognitionThreads});
    if (!recognizer)
        return std::unexpected(recognizer.error());

    const auto endpoint = acceptor->local_endpoint();
    if (!endpoint.address().is_loopback())
        log.warning("Anybody who reaches this address can sign in: codes are answered, not mailed.");
    OneTimeCodes codes(clock, randomSixDigits);
    const FileProfileExtractor extractor;
    const OfflineAnswerer answerer;
    asio::thread_pool workers(workerThreads);
    RestApi api(*accounts, codes, extractor, workers, clock, options.flags, log);
    Server server(
        context, std::move(*acceptor),
        {.api = api,
         .realtime = {
             .recognizer = **recognizer, .answerer = answerer, .workers = workers, .clock = clock, .log = log}});
    asio::signal_set signals(context, SIGTERM, SIGINT);
    signals.async_wait([&](const boost::system::error_code& error, int) {
        if (error)
            return;
        log.info("Stopping.");
        server.stop();
    });
    server.start();
    log.info("Listening on " + shown(endpoint) + ".");
    context.run();
    workers.join();
    return {};
}

} // namespace quorvel::localbackend
