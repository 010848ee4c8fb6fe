#pragma once

#include <QObject>
#include <QSslSocket>
#include <QTcpSocket>

#include <boost/asio/async_result.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/core/bind_handler.hpp>
#include <boost/beast/core/buffers_range.hpp>
#include <boost/beast/core/role.hpp>
#include <boost/system/error_code.hpp>

#include <cstddef>
#include <functional>
#include <optional>
#include <utility>

namespace quorvel::platform {

/// A connected Qt socket as the asynchronous stream that Boost.Beast works on. Completions are posted to the context,
/// and `wake` is called when the socket's signals have posted one, so that the owner polls the context. A write
/// completes when its bytes, encrypted where the socket encrypts, have left for the kernel.
class SocketStream : public QObject
{
public:
    using executor_type = boost::asio::io_context::executor_type;

    SocketStream(QTcpSocket& socket, boost::asio::io_context& context, std::function<void()> wake);

    [[nodiscard]] executor_type get_executor() { return m_context.get_executor(); }

    template <typename Buffers, typename Token>
    auto async_read_some(Buffers buffers, Token token)
    {
        return boost::asio::async_initiate<Token, Signature>(
            [](auto handler, SocketStream* stream, const Buffers& target) {
                const auto read = [target](QTcpSocket& socket) {
                    qint64 total = 0;
                    for (const auto buffer : boost::beast::buffers_range_ref(target)) {
                        total += qMax(socket.read(static_cast<char*>(buffer.data()), toSize(buffer.size())), qint64{0});
                    }
                    return total;
                };
                stream->startReading(read, stream->completion(std::move(handler)));
            },
            token, this, std::move(buffers));
    }

    template <typename Buffers, typename Token>
    auto async_write_some(Buffers buffers, Token token)
    {
        return boost::asio::async_initiate<Token, Signature>(
            [](auto handler, SocketStream* stream, const Buffers& source) {
                qint64 total = 0;
                for (const auto buffer : boost::beast::buffers_range_ref(source)) {
                    total +=
                        qMax(stream->m_socket.write(static_cast<const char*>(buffer.data()), toSize(buffer.size())),
                             qint64{0});
                }
                stream->startWriting(total, stream->completion(std::move(handler)));
            },
            token, this, std::move(buffers));
    }

    /// Bytes received so far; a growing number is a sign of life.
    [[nodiscard]] qint64 bytesRead() const { return m_bytesRead; }

private:
    using Signature = void(boost::system::error_code, std::size_t);
    using Completion = std::move_only_function<Signature>;
    using Transfer = std::move_only_function<qint64(QTcpSocket&)>;

    struct Reading
    {
        Transfer transfer;
        Completion completion;
    };
    struct Writing
    {
        qint64 size;
        Completion completion;
    };

    static qint64 toSize(std::size_t size) { return static_cast<qint64>(size); }

    template <typename Handler>
    [[nodiscard]] Completion completion(Handler handler)
    {
        return [executor = get_executor(), handler = std::move(handler)](boost::system::error_code error,
                                                                         std::size_t size) mutable {
            boost::asio::post(executor, boost::beast::bind_front_handler(std::move(handler), error, size));
        };
    }

    void startReading(Transfer transfer, Completion completion);
    void startWriting(qint64 size, Completion completion);
    void serveReading();
    void serveWriting();
    void socketEnded();
    [[nodiscard]] qint64 bytesToLeave() const;

    QTcpSocket& m_socket;
    QSslSocket* m_tls;
    boost::asio::io_context& m_context;
    std::function<void()> m_wake;
    std::optional<Reading> m_reading;
    std::optional<Writing> m_writing;
    qint64 m_bytesRead = 0;
};

// What Boost.Beast asks of a stream of its user's. Ending the transport is the connection's affair: the client waits
// for the server to do it first (RFC 6455, 7.1.1).

template <typename Handler>
void async_teardown(boost::beast::role_type /*role*/, SocketStream& stream, Handler&& handler)
{
    boost::asio::post(stream.get_executor(),
                      boost::beast::bind_front_handler(std::forward<Handler>(handler), boost::system::error_code()));
}

inline void teardown(boost::beast::role_type /*role*/, SocketStream& /*stream*/, boost::system::error_code& error)
{
    error = {};
}

inline void beast_close_socket(SocketStream& /*stream*/) {}

} // namespace quorvel::platform
