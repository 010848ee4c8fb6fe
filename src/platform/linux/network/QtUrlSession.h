#pragma once

#include "platform/UrlSession.h"
#include "platform/linux/network/NetworkLimits.h"

#include <QNetworkAccessManager>

#include <chrono>
#include <memory>

namespace quorvel::platform {

class RunningConnections;

/// HTTP by Qt Network; WebSocket by Boost.Beast on Qt's sockets (docs/network.md says why). TLS trusts what the system
/// trusts, and there is no way to switch that off.
class QtUrlSession final : public UrlSession
{
public:
    explicit QtUrlSession(NetworkLimits limits = {});
    ~QtUrlSession() override;
    QtUrlSession(const QtUrlSession&) = delete;
    QtUrlSession(QtUrlSession&&) = delete;
    QtUrlSession& operator=(const QtUrlSession&) = delete;
    QtUrlSession& operator=(QtUrlSession&&) = delete;

    [[nodiscard]] Task<Result<UrlResponse>> send(UrlRequest request) override;
    [[nodiscard]] std::shared_ptr<WebSocketTask> webSocketTask(QUrl url,
                                                               std::weak_ptr<WebSocketDelegate> delegate) override;

    /// Runs the event loop until the WebSocket connections that were cancelled are closed on both sides, at most for
    /// `patience`. For the end of the program: a server that has not read the close frame takes the end for a fault.
    void awaitClosed(std::chrono::milliseconds patience);

private:
    NetworkLimits m_limits;
    std::unique_ptr<QNetworkAccessManager> m_manager;
    std::shared_ptr<RunningConnections> m_running;
};

} // namespace quorvel::platform
