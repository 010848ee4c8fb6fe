#include "backend/BackendRealtimeClient.h"
#include "platform/Json.h"

#include <QFileInfo>
#include <QHash>
#include <QJsonDocument>
#include <QStringDecoder>
#include <QUuid>

#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

/// The body as text, or what is said where it is none.
QString bodyText(const QByteArray& body, const QString& otherwise)
{
    QStringDecoder decoder(QStringDecoder::Utf8,
                           QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    const QString text = decoder(body);
    return decoder.hasError() ? otherwise : text;
}

/// The record in a successful response, or the failure that any other response means.
template <typename Record>
Result<Record> decodeResponse(const Result<platform::UrlResponse>& response, const QString& unreadable)
{
    if (!response) {
        return std::unexpected(response.error());
    }
    const std::optional<int>& status = response->httpStatus;
    if (!status) {
        return std::unexpected(backendInvalidResponseFailure());
    }
    if (*status < 200 || *status > 299) {
        return std::unexpected(backendServerFailure(bodyText(response->body, unreadable)));
    }
    const Result<QJsonObject> object = parseJsonObject(response->body);
    return object ? Record::fromJson(*object) : std::unexpected(object.error());
}

} // namespace

template <typename Record>
Task<Result<Record>> BackendRealtimeClient::sendREST(QString path, QByteArray method, bool authenticated,
                                                     std::optional<QJsonObject> body)
{
    const auto self = shared_from_this();
    QString fullPath = m_baseURL.path();
    for (const QString& piece : path.split(u'/', Qt::SkipEmptyParts)) {
        fullPath += u'/' + piece;
    }
    platform::UrlRequest request{.method = std::move(method), .url = m_baseURL};
    request.url.setPath(fullPath, QUrl::DecodedMode);
    if (authenticated && accessToken) {
        request.headers.emplace_back("Authorization", "Bearer " + accessToken->toUtf8());
    }
    if (body) {
        request.headers.emplace_back("Content-Type", "application/json");
        request.body = QJsonDocument(*body).toJson(QJsonDocument::Compact);
    }
    const Result<platform::UrlResponse> response = co_await m_session->send(std::move(request));
    co_return decodeResponse<Record>(response, u"Backend request failed."_s);
}

Task<Result<HealthResponse>> BackendRealtimeClient::health()
{
    return sendREST<HealthResponse>(u"/health"_s, "GET", false, std::nullopt);
}

Task<Result<MeResponse>> BackendRealtimeClient::me()
{
    return sendREST<MeResponse>(u"/auth/me"_s, "GET", true, std::nullopt);
}

Task<Result<std::optional<QString>>> BackendRealtimeClient::requestOtp(QString email)
{
    QJsonObject body{{u"email"_s, email}};
    Task<Result<OtpRequestResponse>> request =
        sendREST<OtpRequestResponse>(u"/auth/otp/request"_s, "POST", false, std::move(body));
    const Result<OtpRequestResponse> response = co_await request;
    if (!response) {
        co_return std::unexpected(response.error());
    }
    co_return response->devCode;
}

Task<Result<BackendAuthSession>> BackendRealtimeClient::verifyOtp(QString email, QString code)
{
    return sendREST<BackendAuthSession>(u"/auth/otp/verify"_s, "POST", false,
                                        QJsonObject{{u"email"_s, email}, {u"code"_s, code}});
}

Task<Result<QUrl>> BackendRealtimeClient::googleStartURL()
{
    Task<Result<GoogleStartResponse>> request =
        sendREST<GoogleStartResponse>(u"/auth/google/start"_s, "POST", false, std::nullopt);
    const Result<GoogleStartResponse> response = co_await request;
    if (!response) {
        co_return std::unexpected(response.error());
    }
    const QUrl url(response->url, QUrl::StrictMode);
    // It is opened with whatever the desktop has for its scheme, which is to be a browser.
    const bool isWebPage = (url.scheme() == u"https" || url.scheme() == u"http") && !url.host().isEmpty();
    if (!url.isValid() || !isWebPage) {
        co_return std::unexpected(backendInvalidResponseFailure());
    }
    co_return url;
}

Task<Result<ExtractedProfile>> BackendRealtimeClient::extractProfile(QUrl fileURL)
{
    const auto self = shared_from_this();
    const QString filePath = fileURL.toLocalFile();
    const QString fileName = QFileInfo(filePath).fileName();
    const QByteArray boundary = "Quorvel-" + QUuid::createUuid().toByteArray(QUuid::WithoutBraces).toUpper();
    platform::UrlRequest request{.method = "POST", .url = m_profileURL};
    request.headers.emplace_back("Content-Type", "multipart/form-data; boundary=" + boundary);
    request.body = platform::FileBody{
        .before = "--" + boundary + "\r\nContent-Disposition: form-data; name=\"resume\"; filename=\"" +
                  fileName.toUtf8() + "\"\r\nContent-Type: " + mimeType(fileName) + "\r\n\r\n",
        .filePath = filePath,
        .after = "\r\n--" + boundary + "--\r\n",
    };
    const Result<platform::UrlResponse> response = co_await m_session->send(std::move(request));
    co_return decodeResponse<ExtractedProfile>(response, u"Profile extraction failed."_s);
}

QByteArray BackendRealtimeClient::mimeType(const QString& fileName)
{
    static const QHash<QString, QByteArray> types{
        {u"pdf"_s, "application/pdf"},
        {u"docx"_s, "application/vnd.openxmlformats-officedocument.wordprocessingml.document"},
        {u"txt"_s, "text/plain"},
    };
    return types.value(QFileInfo(fileName).suffix().toLower(), "application/octet-stream");
}

} // namespace quorvel
