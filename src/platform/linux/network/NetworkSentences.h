#pragma once

#include "platform/Result.h"

#include <QAbstractSocket>
#include <QByteArray>
#include <QNetworkReply>
#include <QSslError>
#include <QString>
#include <QUrl>

#include <cstdint>

// What a user reads when the network fails. No sentence names a toolkit, an address or a token, and none holds a word
// that the application takes for a missing capture permission.

namespace quorvel::platform {

/// PlatformError::failed with this sentence.
[[nodiscard]] Failure networkFailure(const QString& sentence);

[[nodiscard]] QString timeoutSentence();
[[nodiscard]] QString connectionLostSentence();
[[nodiscard]] QString socketSentence(QAbstractSocket::SocketError error);
[[nodiscard]] QString replySentence(QNetworkReply::NetworkError error);
/// For the faults that made the TLS handshake fail; none if it failed for another reason.
[[nodiscard]] QString certificateSentence(const QList<QSslError>& faults);
/// For an answer to the opening handshake that is not a connection.
[[nodiscard]] QString handshakeSentence(int httpStatus);
/// For a close frame. The server's reason is passed on, unless it repeats a part of the address's query, which holds
/// the token, or would be taken for a missing capture permission.
[[nodiscard]] QString closeSentence(std::uint16_t code, const QByteArray& reason, const QUrl& url);

} // namespace quorvel::platform
