#include "platform/linux/network/NetworkSentences.h"

#include <QMetaEnum>
#include <QTest>

using namespace quorvel::platform;
using namespace Qt::StringLiterals;

class NetworkSentencesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// Every sentence is one for people, and none looks like a missing capture permission.
    void areForPeople()
    {
        QStringList sentences{timeoutSentence(), connectionLostSentence(), certificateSentence({}),
                              certificateSentence({QSslError(QSslError::CertificateExpired)}),
                              certificateSentence({QSslError(QSslError::SelfSignedCertificate)})};
        const auto socketErrors = QMetaEnum::fromType<QAbstractSocket::SocketError>();
        for (int index = 0; index < socketErrors.keyCount(); ++index) {
            sentences += socketSentence(static_cast<QAbstractSocket::SocketError>(socketErrors.value(index)));
        }
        const auto replyErrors = QMetaEnum::fromType<QNetworkReply::NetworkError>();
        for (int index = 0; index < replyErrors.keyCount(); ++index) {
            sentences += replySentence(static_cast<QNetworkReply::NetworkError>(replyErrors.value(index)));
        }
        for (int status = 100; status < 600; ++status) {
            sentences += handshakeSentence(status);
        }
        for (int code = 1000; code < 5000; ++code) {
            sentences += closeSentence(static_cast<std::uint16_t>(code), {}, {});
        }
        for (const QString& sentence : std::as_const(sentences)) {
            QVERIFY2(sentence.at(0).isUpper() && sentence.endsWith(u'.'), qPrintable(sentence));
            for (const auto word : {"tcc"_L1, "screen"_L1, "declined"_L1, "permission"_L1, "authorized"_L1, "qt"_L1,
                                    "socket"_L1, "http"_L1}) {
                QVERIFY2(!sentence.contains(word, Qt::CaseInsensitive), qPrintable(sentence));
            }
        }
    }

    void aClosesReason_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QByteArray>("reason");
        QTest::addColumn<QString>("sentence");
        const QString plain = u"The server closed the connection."_s;
        QTest::newRow("none") << 1000 << QByteArray() << plain;
        QTest::newRow("said") << 1001 << QByteArray("Back at noon") << plain + u" It said: “Back at noon”."_s;
        QTest::newRow("restart") << 1012 << QByteArray() << u"The server is restarting. Try again in a moment."_s;
        QTest::newRow("own code") << 4001 << QByteArray("quota")
                                  << u"The server closed the connection (code 4001). It said: “quota”."_s;
        QTest::newRow("control characters") << 1000
                                            << QByteArray("a\x1b[31m\r\nb\xe2\x80\xae"
                                                          "c\0d",
                                                          16)
                                            << plain + u" It said: “a[31m bcd”."_s;
        QTest::newRow("only blanks") << 1000 << QByteArray(" \t\n") << plain;
        QTest::newRow("capture words") << 1000 << QByteArray("Permission missing") << plain;
        QTest::newRow("the token") << 1000 << QByteArray("unknown token a b&c+d") << plain;
    }
    void aClosesReason()
    {
        QFETCH(const int, code);
        QFETCH(const QByteArray, reason);
        const QUrl url(u"wss://host/ws?token=a%20b%26c%2Bd"_s);
        QTEST(closeSentence(static_cast<std::uint16_t>(code), reason, url), "sentence");
    }

    void certificates()
    {
        QCOMPARE(certificateSentence(
                     {QSslError(QSslError::SelfSignedCertificate), QSslError(QSslError::CertificateExpired)}),
                 u"The server's certificate has expired."_s);
    }
};

QTEST_GUILESS_MAIN(NetworkSentencesTest)
#include "NetworkSentencesTest.moc"
