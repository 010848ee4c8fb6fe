#pragma once

#include "platform/UrlSession.h"
#include "platform/linux/network/FileBodyDevice.h"
#include "platform/linux/network/NetworkLimits.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace quorvel::platform {

/// One HTTP request, from its start to its response. It is cancelled when its manager goes.
class HttpExchange final : public QObject
{
public:
    [[nodiscard]] static Task<Result<UrlResponse>> run(QPointer<QNetworkAccessManager> manager, NetworkLimits limits,
                                                       UrlRequest request);

    HttpExchange(QNetworkAccessManager& manager, NetworkLimits limits, const UrlRequest& request,
                 std::unique_ptr<FileBodyDevice> file);

private:
    [[nodiscard]] std::unique_ptr<QNetworkReply> start(QNetworkAccessManager& manager, const UrlRequest& request);
    void takeBytes();
    void finished();
    [[nodiscard]] Result<UrlResponse> outcome() const;
    /// Gives up for a reason of our own.
    void abandon(const Failure& why);

    NetworkLimits m_limits;
    Promise<UrlResponse> m_result;
    QByteArray m_body;
    QList<QSslError> m_certificateFaults;
    std::optional<Failure> m_abandoned;
    QTimer m_stall;
    // The reply reads from the file, so it goes first.
    std::unique_ptr<FileBodyDevice> m_file;
    std::unique_ptr<QNetworkReply> m_reply;
    std::optional<std::stop_callback<std::function<void()>>> m_stop;
};

} // namespace quorvel::platform
