#include "platform/linux/network/SocketStream.h"

#include <boost/asio/error.hpp>

namespace quorvel::platform {

SocketStream::SocketStream(QTcpSocket& socket, boost::asio::io_context& context, std::function<void()> wake)
    : m_socket(socket)
    , m_tls(qobject_cast<QSslSocket*>(&socket))
    , m_context(context)
    , m_wake(std::move(wake))
{
    connect(&m_socket, &QTcpSocket::readyRead, this, [this] {
        serveReading();
        m_wake();
    });
    const auto bytesLeft = [this] {
        serveWriting();
        m_wake();
    };
    connect(&m_socket, &QTcpSocket::bytesWritten, this, bytesLeft);
    if (m_tls != nullptr) {
        connect(m_tls, &QSslSocket::encryptedBytesWritten, this, bytesLeft);
    }
    connect(&m_socket, &QTcpSocket::disconnected, this, &SocketStream::socketEnded);
}

void SocketStream::startReading(Transfer transfer, Completion completion)
{
    m_reading.emplace(std::move(transfer), std::move(completion));
    serveReading();
}

void SocketStream::startWriting(qint64 size, Completion completion)
{
    m_writing.emplace(size, std::move(completion));
    m_socket.flush();
    serveWriting();
}

void SocketStream::serveReading()
{
    if (!m_reading) {
        return;
    }
    if (m_socket.bytesAvailable() > 0) {
        Reading reading = std::move(*m_reading);
        m_reading.reset();
        const qint64 size = reading.transfer(m_socket);
        m_bytesRead += size;
        reading.completion({}, static_cast<std::size_t>(size));
    } else if (m_socket.state() != QAbstractSocket::ConnectedState) {
        Reading reading = std::move(*m_reading);
        m_reading.reset();
        reading.completion(boost::asio::error::eof, 0);
    }
}

void SocketStream::serveWriting()
{
    if (!m_writing) {
        return;
    }
    const bool isConnected = m_socket.state() == QAbstractSocket::ConnectedState;
    if (isConnected && bytesToLeave() > 0) {
        return;
    }
    Writing writing = std::move(*m_writing);
    m_writing.reset();
    if (isConnected) {
        writing.completion({}, static_cast<std::size_t>(writing.size));
    } else {
        writing.completion(boost::asio::error::connection_reset, 0);
    }
}

void SocketStream::socketEnded()
{
    serveReading();
    serveWriting();
    m_wake();
}

qint64 SocketStream::bytesToLeave() const
{
    // An encrypting socket hands its bytes to an inner one at once; only the inner one knows what the network has not
    // taken.
    return m_socket.bytesToWrite() + (m_tls != nullptr ? m_tls->encryptedBytesToWrite() : 0);
}

} // namespace quorvel::platform
