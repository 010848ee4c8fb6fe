#include "platform/linux/network/QtUrlSession.h"

#include "platform/linux/network/HttpExchange.h"
#include "platform/linux/network/WebSocketConnection.h"

#include <QCoreApplication>
#include <QTimer>

namespace quorvel::platform {

QtUrlSession::QtUrlSession(NetworkLimits limits)
    : m_limits(limits)
    , m_manager(std::make_unique<QNetworkAccessManager>())
    , m_running(std::make_shared<RunningConnections>())
{
}

QtUrlSession::~QtUrlSession()
{
    m_running->cancelAll();
}

Task<Result<UrlResponse>> QtUrlSession::send(UrlRequest request)
{
    return HttpExchange::run(m_manager.get(), m_limits, std::move(request));
}

std::shared_ptr<WebSocketTask> QtUrlSession::webSocketTask(QUrl url, std::weak_ptr<WebSocketDelegate> delegate)
{
    return WebSocketConnection::create(std::move(url), std::move(delegate), m_limits, m_running);
}

void QtUrlSession::awaitClosed(std::chrono::milliseconds patience)
{
    QTimer deadline;
    deadline.setSingleShot(true);
    deadline.start(patience);
    while (m_running->isAnyClosing() && deadline.isActive()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

} // namespace quorvel::platform
