#pragma once

#include <QFile>
#include <QProcess>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QTemporaryDir>

#include <optional>

namespace quorvel::test {

/// A fresh certificate that nobody but its test trusts, for this name (for example "IP:127.0.0.1"); a server's
/// configuration, or nothing if it could not be made.
[[nodiscard]] inline std::optional<QSslConfiguration> makeTestCertificate(const QString& name)
{
    const QTemporaryDir folder;
    const QString keyPath = folder.filePath(QStringLiteral("key.pem"));
    const QString certificatePath = folder.filePath(QStringLiteral("certificate.pem"));
    QProcess openssl;
    openssl.start(QStringLiteral("openssl"),
                  {QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"), QStringLiteral("ec"),
                   QStringLiteral("-pkeyopt"), QStringLiteral("ec_paramgen_curve:prime256v1"), QStringLiteral("-nodes"),
                   QStringLiteral("-keyout"), keyPath, QStringLiteral("-out"), certificatePath, QStringLiteral("-subj"),
                   QStringLiteral("/CN=test"), QStringLiteral("-addext"), QStringLiteral("subjectAltName=") + name});
    QFile key(keyPath);
    QFile certificate(certificatePath);
    if (!openssl.waitForFinished() || !key.open(QIODevice::ReadOnly) || !certificate.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setPrivateKey(QSslKey(&key, QSsl::Ec));
    configuration.setLocalCertificate(QSslCertificate(&certificate));
    return configuration;
}

} // namespace quorvel::test
