#pragma once

#include "support/EventLoop.h"

#include <QCryptographicHash>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUrl>

#include <sys/socket.h>

#include <memory>
#include <optional>
#include <vector>

namespace quorvel::test {

/// One frame of a WebSocket client, unmasked.
struct ClientFrame
{
    int opcode = 0;
    QByteArray payload;

    friend bool operator==(const ClientFrame&, const ClientFrame&) = default;
};

/// One accepted connection, whose side of the conversation the test writes byte by byte.
class Peer final : public QObject
{
public:
    explicit Peer(QTcpSocket* socket)
        : m_socket(socket)
    {
        m_socket->setParent(this);
        connect(m_socket, &QTcpSocket::readyRead, this, [this] {
            if (!isDeaf) {
                received += m_socket->readAll();
            }
        });
        connect(m_socket, &QTcpSocket::disconnected, this, [this] { isGone = true; });
    }

    void write(const QByteArray& bytes)
    {
        m_socket->write(bytes);
        m_socket->flush();
    }
    [[nodiscard]] qint64 bytesToWrite() const { return m_socket->bytesToWrite(); }
    /// Sends everything, then closes.
    void finish() { m_socket->disconnectFromHost(); }
    /// Tears the connection down as a crashed machine does, without sending what waits.
    void reset()
    {
        const linger hard{.l_onoff = 1, .l_linger = 0};
        ::setsockopt(static_cast<int>(m_socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
        m_socket->abort();
    }
    /// Stops taking anything from the network, so that the sender's buffers fill up.
    void stopReading()
    {
        isDeaf = true;
        m_socket->setReadBufferSize(1);
    }

    /// Removes and returns the request's head, with its empty line; empty if it does not come.
    [[nodiscard]] QByteArray takeHead()
    {
        if (!waitUntil([this] { return received.contains("\r\n\r\n"); })) {
            return {};
        }
        const qsizetype end = received.indexOf("\r\n\r\n") + 4;
        const QByteArray head = received.first(end);
        received.remove(0, end);
        return head;
    }

    /// Waits for so many bytes, removes and returns them.
    [[nodiscard]] QByteArray take(qsizetype size)
    {
        if (!waitUntil([this, size] { return received.size() >= size; })) {
            return {};
        }
        const QByteArray bytes = received.first(size);
        received.remove(0, size);
        return bytes;
    }

    /// The answer that opens a WebSocket connection, for this handshake request.
    [[nodiscard]] static QByteArray upgradeResponse(const QByteArray& head)
    {
        const QByteArray name = "\r\nSec-WebSocket-Key: ";
        const qsizetype begin = head.indexOf(name) + name.size();
        const QByteArray key = head.mid(begin, head.indexOf("\r\n", begin) - begin);
        return "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: "
               "Upgrade\r\nSec-WebSocket-Accept: " +
               QCryptographicHash::hash(key + "258EAFA5-E914-47DA-95CA-C5AB0DC85B11", QCryptographicHash::Sha1)
                   .toBase64() +
               "\r\n\r\n";
    }

    /// Answers the opening handshake; its request, or nothing if none came.
    QByteArray acceptWebSocket()
    {
        const QByteArray head = takeHead();
        if (!head.isEmpty()) {
            write(upgradeResponse(head));
        }
        return head;
    }

    /// Waits for the client's next frame. Nothing if it does not come or is not as a client must send it: in one piece,
    /// without reserved bits, masked, and in the shortest form of its length.
    [[nodiscard]] std::optional<ClientFrame> takeFrame()
    {
        const QByteArray start = take(2);
        const auto byte = [](const QByteArray& bytes, qsizetype at) { return static_cast<quint8>(bytes.at(at)); };
        if (start.isEmpty() || (byte(start, 0) & 0xF0U) != 0x80 || (byte(start, 1) & 0x80U) == 0) {
            return std::nullopt;
        }
        quint64 size = byte(start, 1) & 0x7FU;
        if (size >= 126) {
            const QByteArray longer = take(size == 126 ? 2 : 8);
            const quint64 least = size == 126 ? 126 : 65536;
            size = 0;
            for (const char digit : longer) {
                size = size << 8U | static_cast<quint8>(digit);
            }
            if (size < least) {
                return std::nullopt;
            }
        }
        const QByteArray mask = take(4);
        QByteArray payload = size > 0 ? take(static_cast<qsizetype>(size)) : QByteArray();
        if (mask.isEmpty() || payload.size() != static_cast<qsizetype>(size)) {
            return std::nullopt;
        }
        for (qsizetype index = 0; index < payload.size(); ++index) {
            payload[index] = static_cast<char>(payload.at(index) ^ mask.at(index % 4));
        }
        return ClientFrame{.opcode = byte(start, 0) & 0x0F, .payload = std::move(payload)};
    }

    QByteArray received;
    bool isDeaf = false;
    bool isGone = false;

private:
    QTcpSocket* m_socket;
};

/// A frame as a server sends it: the first byte with its flags and opcode, the shortest length, no mask.
[[nodiscard]] inline QByteArray serverFrame(quint8 first, const QByteArray& payload)
{
    QByteArray frame(1, static_cast<char>(first));
    const auto size = static_cast<quint64>(payload.size());
    const int digits = size < 126 ? 0 : size < 65536 ? 2 : 8;
    frame += static_cast<char>(digits == 0 ? size : digits == 2 ? 126 : 127);
    for (int digit = digits - 1; digit >= 0; --digit) {
        frame += static_cast<char>(size >> (8U * static_cast<unsigned>(digit)));
    }
    return frame + payload;
}

[[nodiscard]] inline QByteArray textFrame(const QByteArray& text)
{
    return serverFrame(0x81, text);
}

[[nodiscard]] inline QByteArray closePayload(int code, const QByteArray& reason = {})
{
    return QByteArray(1, static_cast<char>(code >> 8)) + static_cast<char>(code & 0xFF) + reason;
}

/// A server on this machine without any protocol of its own, plain or with TLS.
class LoopbackServer final : public QTcpServer
{
public:
    explicit LoopbackServer(std::optional<QSslConfiguration> tls = std::nullopt)
        : m_tls(std::move(tls))
    {
        [[maybe_unused]] const bool isListening = listen(QHostAddress::LocalHost);
        Q_ASSERT(isListening);
    }

    [[nodiscard]] bool isEncrypted() const { return m_tls.has_value(); }

    [[nodiscard]] QUrl url(const QString& scheme, const QString& pathAndQuery) const
    {
        QUrl address(QStringLiteral("%1://127.0.0.1:%2%3").arg(scheme).arg(serverPort()).arg(pathAndQuery));
        return address;
    }

    /// Waits for the next connection that was not returned yet; null if none comes.
    [[nodiscard]] Peer* nextPeer()
    {
        const std::size_t wanted = m_returned + 1;
        if (!waitUntil([this, wanted] { return m_peers.size() >= wanted; })) {
            return nullptr;
        }
        return m_peers[m_returned++].get();
    }
    [[nodiscard]] const std::vector<std::unique_ptr<Peer>>& peers() const { return m_peers; }
    [[nodiscard]] std::size_t connectionCount() const { return m_peers.size(); }

protected:
    void incomingConnection(qintptr handle) override
    {
        if (m_tls) {
            auto* socket = new QSslSocket;
            socket->setSslConfiguration(*m_tls);
            socket->setSocketDescriptor(handle);
            socket->startServerEncryption();
            m_peers.push_back(std::make_unique<Peer>(socket));
        } else {
            auto* socket = new QTcpSocket;
            socket->setSocketDescriptor(handle);
            m_peers.push_back(std::make_unique<Peer>(socket));
        }
    }

private:
    std::optional<QSslConfiguration> m_tls;
    std::vector<std::unique_ptr<Peer>> m_peers;
    std::size_t m_returned = 0;
};

} // namespace quorvel::test
