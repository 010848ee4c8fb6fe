#include "platform/linux/network/HttpExchange.h"

#include "platform/linux/network/NetworkSentences.h"
#include "platform/linux/network/SystemProxy.h"

#include <QCoreApplication>
#include <QNetworkProxy>
#include <QNetworkRequest>

using namespace Qt::StringLiterals;

namespace quorvel::platform {

namespace {

/// Bytes that wait in the reply; reading goes on as fast as they are taken.
constexpr qint64 readBufferBytes = qint64{256} << 10U;
constexpr int maximumRedirects = 5;

/// Whether the error only restates the response's status, so that there is a response after all.
bool isStatusError(QNetworkReply::NetworkError error)
{
    switch (error) {
    case QNetworkReply::NoError:
    case QNetworkReply::ContentAccessDenied:
    case QNetworkReply::ContentOperationNotPermittedError:
    case QNetworkReply::ContentNotFoundError:
    case QNetworkReply::AuthenticationRequiredError:
    case QNetworkReply::ContentConflictError:
    case QNetworkReply::ContentGoneError:
    case QNetworkReply::UnknownContentError:
    case QNetworkReply::InternalServerError:
    case QNetworkReply::OperationNotImplementedError:
    case QNetworkReply::ServiceUnavailableError:
    case QNetworkReply::UnknownServerError:
        return true;
    default:
        return false;
    }
}

QNetworkRequest networkRequest(const UrlRequest& request)
{
    QNetworkRequest result(request.url);
    for (const auto& [name, value] : request.headers) {
        result.setRawHeader(name, value);
    }
    const QString program = QCoreApplication::applicationName() + u'/' + QCoreApplication::applicationVersion();
    result.setHeader(QNetworkRequest::UserAgentHeader, program);
    // Another origin must not see the bearer token, which a followed redirect carries along.
    result.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::SameOriginRedirectPolicy);
    result.setMaximumRedirectsAllowed(maximumRedirects);
    return result;
}

} // namespace

Task<Result<UrlResponse>> HttpExchange::run(QPointer<QNetworkAccessManager> manager, NetworkLimits limits,
                                            UrlRequest request)
{
    std::unique_ptr<FileBodyDevice> file;
    if (FileBody* body = std::get_if<FileBody>(&request.body)) {
        Result<std::unique_ptr<FileBodyDevice>> opened = FileBodyDevice::open(std::move(*body));
        if (!opened) {
            co_return std::unexpected(std::move(opened).error());
        }
        file = std::move(*opened);
    }
    Task<Result<QNetworkProxy>> lookup = systemProxy(request.url);
    const Result<QNetworkProxy> proxy = co_await lookup;
    if (!proxy) {
        co_return std::unexpected(proxy.error());
    }
    if (!manager || request.stop.stop_requested()) {
        co_return std::unexpected(cancelledFailure());
    }
    manager->setProxy(*proxy);
    const auto exchange = std::make_unique<HttpExchange>(*manager, limits, request, std::move(file));
    Task<Result<UrlResponse>> result = exchange->m_result.result();
    co_return co_await result;
}

HttpExchange::HttpExchange(QNetworkAccessManager& manager, NetworkLimits limits, const UrlRequest& request,
                           std::unique_ptr<FileBodyDevice> file)
    : m_limits(limits)
    , m_file(std::move(file))
    , m_reply(start(manager, request))
{
    m_reply->setReadBufferSize(readBufferBytes);
    m_stall.setSingleShot(true);
    m_stall.setInterval(request.timeout);
    m_stall.start();

    const auto progressed = [this] { m_stall.start(); };
    connect(m_reply.get(), &QNetworkReply::uploadProgress, this, progressed);
    connect(m_reply.get(), &QNetworkReply::metaDataChanged, this, progressed);
    connect(m_reply.get(), &QNetworkReply::readyRead, this, [this] {
        m_stall.start();
        takeBytes();
    });
    connect(m_reply.get(), &QNetworkReply::sslErrors, this,
            [this](const QList<QSslError>& faults) { m_certificateFaults = faults; });
    connect(m_reply.get(), &QNetworkReply::finished, this, &HttpExchange::finished);
    connect(&manager, &QObject::destroyed, this, [this] {
        m_stop.reset();
        m_stall.stop();
        m_reply.reset();
        m_result.finish(std::unexpected(cancelledFailure()));
    });
    connect(&m_stall, &QTimer::timeout, this, [this] { abandon(networkFailure(timeoutSentence())); });
    if (request.stop.stop_possible()) {
        m_stop.emplace(request.stop, [this] { abandon(cancelledFailure()); });
    }
}

std::unique_ptr<QNetworkReply> HttpExchange::start(QNetworkAccessManager& manager, const UrlRequest& request)
{
    QNetworkRequest description = networkRequest(request);
    QNetworkReply* reply = nullptr;
    if (m_file) {
        description.setHeader(QNetworkRequest::ContentLengthHeader, m_file->size());
        reply = manager.sendCustomRequest(description, request.method, m_file.get());
    } else if (const QByteArray* bytes = std::get_if<QByteArray>(&request.body)) {
        reply = manager.sendCustomRequest(description, request.method, *bytes);
    } else {
        // Servers may refuse a request that could have a body and does not say that it has none (RFC 9110, 8.6).
        if (request.method != "GET" && request.method != "HEAD") {
            description.setHeader(QNetworkRequest::ContentLengthHeader, 0);
        }
        reply = manager.sendCustomRequest(description, request.method);
    }
    // It reads from the file, which is deleted after it.
    reply->setParent(nullptr);
    return std::unique_ptr<QNetworkReply>(reply);
}

void HttpExchange::takeBytes()
{
    m_body += m_reply->readAll();
    if (m_body.size() > m_limits.responseBytes) {
        abandon(networkFailure(u"The server's answer is too large."_s));
    }
}

void HttpExchange::abandon(const Failure& why)
{
    if (!m_abandoned && m_reply->isRunning()) {
        m_abandoned = why;
        m_reply->abort();
    }
}

void HttpExchange::finished()
{
    m_stall.stop();
    if (!m_abandoned) {
        takeBytes();
    }
    m_result.finish(outcome());
}

Result<UrlResponse> HttpExchange::outcome() const
{
    if (m_abandoned) {
        return std::unexpected(*m_abandoned);
    }
    if (m_file && m_file->hasFailed()) {
        return std::unexpected(networkFailure(u"The file could not be read to its end."_s));
    }
    const QNetworkReply::NetworkError error = m_reply->error();
    const QVariant status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (error == QNetworkReply::ProtocolFailure) {
        return UrlResponse{.httpStatus = std::nullopt, .body = m_body};
    }
    if (error == QNetworkReply::SslHandshakeFailedError) {
        return std::unexpected(networkFailure(certificateSentence(m_certificateFaults)));
    }
    if (!isStatusError(error)) {
        return std::unexpected(networkFailure(replySentence(error)));
    }
    return UrlResponse{.httpStatus = status.isValid() ? std::optional(status.toInt()) : std::nullopt, .body = m_body};
}

} // namespace quorvel::platform
