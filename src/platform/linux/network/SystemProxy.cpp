#include "platform/linux/network/SystemProxy.h"

#include "platform/linux/network/NetworkSentences.h"

#include <QHostAddress>
#include <QTimer>

#include <chrono>
#include <memory>
#include <thread>

using namespace Qt::StringLiterals;

namespace quorvel::platform {

namespace {

bool isLoopback(const QString& host)
{
    return host == "localhost"_L1 || QHostAddress(host).isLoopback();
}

QNetworkProxy firstUsable(const QList<QNetworkProxy>& proxies)
{
    for (const QNetworkProxy& proxy : proxies) {
        if (proxy.type() == QNetworkProxy::NoProxy ||
            proxy.capabilities().testFlag(QNetworkProxy::TunnelingCapability)) {
            return proxy;
        }
    }
    return {QNetworkProxy::NoProxy};
}

/// The settings know web addresses; a WebSocket connection goes where a web request to its server goes.
QUrl webAddress(QUrl url)
{
    if (url.scheme() == "wss"_L1) {
        url.setScheme(u"https"_s);
    } else if (url.scheme() == "ws"_L1) {
        url.setScheme(u"http"_s);
    }
    // An automatic configuration is a program of somebody else's.
    url.setQuery(QString());
    url.setUserInfo(QString());
    return url;
}

} // namespace

Task<Result<QNetworkProxy>> systemProxy(QUrl url)
{
    if (isLoopback(url.host())) {
        const QNetworkProxy none(QNetworkProxy::NoProxy);
        co_return none;
    }
    const auto answer = std::make_shared<Promise<QNetworkProxy>>();
    std::thread lookup([answer, address = webAddress(std::move(url))] {
        answer->finish(firstUsable(QNetworkProxyFactory::systemProxyForQuery(QNetworkProxyQuery(address))));
    });
    // A look-up that hangs must not hang whoever waits for the thread.
    lookup.detach();
    QTimer expiry;
    expiry.setSingleShot(true);
    QObject::connect(&expiry, &QTimer::timeout, [answer] {
        answer->finish(std::unexpected(networkFailure(u"The proxy settings could not be read in time."_s)));
    });
    expiry.start(std::chrono::seconds(10));
    Task<Result<QNetworkProxy>> proxy = answer->result();
    co_return co_await proxy;
}

} // namespace quorvel::platform
