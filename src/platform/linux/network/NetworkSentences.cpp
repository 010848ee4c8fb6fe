#include "platform/linux/network/NetworkSentences.h"

#include <QUrlQuery>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace quorvel::platform {

namespace {

/// Whether the application would take this text for a missing capture permission.
bool soundsLikeCapturePermission(const QString& text)
{
    constexpr std::array words{"tcc"_L1,      "screen recording"_L1, "screen & system audio"_L1,
                               "declined"_L1, "permission"_L1,       "not authorized"_L1};
    return std::ranges::any_of(words,
                               [&text](QLatin1StringView word) { return text.contains(word, Qt::CaseInsensitive); });
}

bool repeatsQuery(const QString& text, const QUrl& url)
{
    const auto items = QUrlQuery(url).queryItems(QUrl::FullyDecoded);
    return std::ranges::any_of(
        items, [&text](const auto& item) { return !item.second.isEmpty() && text.contains(item.second); });
}

/// The server's reason as one printable line, or nothing.
QString presentableReason(const QByteArray& bytes, const QUrl& url)
{
    QString reason = QString::fromUtf8(bytes);
    reason.removeIf([](QChar character) { return !character.isPrint() && !character.isSpace(); });
    reason = reason.simplified();
    if (soundsLikeCapturePermission(reason) || repeatsQuery(reason, url)) {
        return {};
    }
    return reason;
}

QString closeCodeSentence(std::uint16_t code)
{
    switch (code) {
    case 1000:
    case 1001:
    case 1005:
        return u"The server closed the connection."_s;
    case 1008:
        return u"The server closed the connection because its rules were not met."_s;
    case 1009:
        return u"The server closed the connection because a message was too large."_s;
    case 1011:
        return u"The server had an internal error and closed the connection."_s;
    case 1012:
        return u"The server is restarting. Try again in a moment."_s;
    case 1013:
        return u"The server is overloaded. Try again later."_s;
    default:
        return u"The server closed the connection (code %1)."_s.arg(code);
    }
}

} // namespace

Failure networkFailure(const QString& sentence)
{
    return {.code = errorCode(PlatformError::failed), .description = sentence};
}

QString timeoutSentence()
{
    return u"The server did not answer in time."_s;
}

QString connectionLostSentence()
{
    return u"The connection to the server was lost."_s;
}

QString socketSentence(QAbstractSocket::SocketError error)
{
    switch (error) {
    case QAbstractSocket::ConnectionRefusedError:
        return u"The server refused the connection."_s;
    case QAbstractSocket::HostNotFoundError:
        return u"The server could not be found."_s;
    case QAbstractSocket::SocketTimeoutError:
        return timeoutSentence();
    case QAbstractSocket::SslHandshakeFailedError:
    case QAbstractSocket::SslInternalError:
    case QAbstractSocket::SslInvalidUserDataError:
        return u"A secure connection to the server could not be made."_s;
    case QAbstractSocket::ProxyAuthenticationRequiredError:
        return u"The proxy asks for a sign-in."_s;
    case QAbstractSocket::ProxyConnectionRefusedError:
    case QAbstractSocket::ProxyConnectionClosedError:
    case QAbstractSocket::ProxyConnectionTimeoutError:
    case QAbstractSocket::ProxyNotFoundError:
    case QAbstractSocket::ProxyProtocolError:
        return u"The proxy could not make the connection."_s;
    case QAbstractSocket::NetworkError:
        return u"The network cannot be reached."_s;
    default:
        return connectionLostSentence();
    }
}

QString replySentence(QNetworkReply::NetworkError error)
{
    switch (error) {
    case QNetworkReply::ConnectionRefusedError:
        return socketSentence(QAbstractSocket::ConnectionRefusedError);
    case QNetworkReply::HostNotFoundError:
        return socketSentence(QAbstractSocket::HostNotFoundError);
    case QNetworkReply::TimeoutError:
        return timeoutSentence();
    case QNetworkReply::SslHandshakeFailedError:
        return socketSentence(QAbstractSocket::SslHandshakeFailedError);
    case QNetworkReply::InsecureRedirectError:
    case QNetworkReply::TooManyRedirectsError:
        return u"The server sent the request on to an address that cannot be followed."_s;
    case QNetworkReply::ProxyAuthenticationRequiredError:
        return socketSentence(QAbstractSocket::ProxyAuthenticationRequiredError);
    case QNetworkReply::ProxyConnectionRefusedError:
    case QNetworkReply::ProxyConnectionClosedError:
    case QNetworkReply::ProxyNotFoundError:
    case QNetworkReply::ProxyTimeoutError:
    case QNetworkReply::UnknownProxyError:
        return socketSentence(QAbstractSocket::ProxyConnectionRefusedError);
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::NetworkSessionFailedError:
        return socketSentence(QAbstractSocket::NetworkError);
    default:
        return connectionLostSentence();
    }
}

QString certificateSentence(const QList<QSslError>& faults)
{
    if (faults.isEmpty()) {
        return socketSentence(QAbstractSocket::SslHandshakeFailedError);
    }
    const auto holds = [&faults](QSslError::SslError kind) {
        return std::ranges::any_of(faults, [kind](const QSslError& fault) { return fault.error() == kind; });
    };
    if (holds(QSslError::CertificateExpired)) {
        return u"The server's certificate has expired."_s;
    }
    if (holds(QSslError::HostNameMismatch)) {
        return u"The server's certificate belongs to another server."_s;
    }
    return u"The server's certificate is not trusted."_s;
}

QString handshakeSentence(int httpStatus)
{
    switch (httpStatus) {
    case 401:
        return u"The server does not accept the sign-in. Sign in again."_s;
    case 403:
        return u"The server does not give this account access."_s;
    case 404:
        return u"The server offers no live connection at this address."_s;
    case 429:
        return u"The server has had too many connections. Try again later."_s;
    case 503:
        return u"The server is not available now. Try again later."_s;
    default:
        break;
    }
    if (httpStatus >= 500) {
        return u"The server had a problem (status %1). Try again later."_s.arg(httpStatus);
    }
    return u"The server did not open the connection (status %1)."_s.arg(httpStatus);
}

QString closeSentence(std::uint16_t code, const QByteArray& reason, const QUrl& url)
{
    const QString sentence = closeCodeSentence(code);
    const QString said = presentableReason(reason, url);
    return said.isEmpty() ? sentence : u"%1 It said: “%2”."_s.arg(sentence, said);
}

} // namespace quorvel::platform
