#pragma once

#include <QtGlobal>

#include <chrono>

namespace quorvel::platform {

/// Times and sizes of a network session. The defaults are the product's; tests shorten the times.
struct NetworkLimits
{
    /// From the start of a WebSocket connection to the end of its opening handshake.
    std::chrono::milliseconds handshakeTimeout{20'000};
    /// From one sign of life to the ping that asks for the next. Well below the 30 s after which the strictest routers
    /// forget an idle connection.
    std::chrono::milliseconds pingInterval{10'000};
    /// From a ping to giving up on a peer of whom nothing is heard: a lost peer is known within 20 s.
    std::chrono::milliseconds pongTimeout{8'000};
    /// How long a closed connection waits for the server to close it too.
    std::chrono::milliseconds closingTime{2'000};

    qint64 incomingMessageBytes = qint64{1} << 20U;
    /// 30 s of sound: 24,000 samples of 2 bytes a second.
    qint64 sendQueueBytes = 1'440'000;
    /// No more is read while messages of this size wait to be received.
    qint64 unreadBytes = qint64{4} << 20U;
    /// Body of an HTTP response.
    qint64 responseBytes = qint64{8} << 20U;
};

} // namespace quorvel::platform
