#include "fixtures/RunningBackend.h"
#include "fixtures/TestServer.h"

#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

using namespace quorvel::localbackend;

class ProgramTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void spokenSessionRunsAndStopsCleanly()
    {
        RunningBackend backend({QStringLiteral("--disable-auth")});
        const auto port = backend.port();
        QVERIFY2(port != 0, backend.process.readAllStandardError().constData());
        QCOMPARE(request(port, "GET /api/health").status, 200);

        TestSocket socket(port);
        QCOMPARE(socket.open("/ws/realtime"), 101);
        socket.sendText(sessionStart());
        const auto samples = recording(QStringLiteral("/usr/share/pocketsphinx/test/data/goforward.raw"), 0);
        QVERIFY(!samples.empty());
        for (std::size_t at = 0; at < samples.size(); at += 480) {
            const auto count = std::min<std::size_t>(480, samples.size() - at);
            std::string bytes(count * 2, '\0');
            std::memcpy(bytes.data(), samples.data() + at, bytes.size());
            socket.sendBytes(bytes);
        }
        QVERIFY(!textAt(socket.next({"transcript.delta"}), "partial").empty());
        QCOMPARE(textAt(socket.next({"transcript.final"}), "text"), std::string("Go forward ten meters"));

        backend.process.terminate();
        QCOMPARE(socket.closeCode(), 1001);
        QVERIFY(backend.process.waitForFinished(10'000));
        QCOMPARE(backend.process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(backend.process.exitCode(), 0);
    }

    void unusableSurroundingsAreOneLine_data()
    {
        QTest::addColumn<QByteArray>("option");
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("port in use") << QByteArray("--listen=127.0.0.1:%1") << QByteArray("Address already in use");
        QTest::newRow("state directory not writable")
            << QByteArray("--state-dir=/proc/nowhere/state") << QByteArray("/proc/nowhere");
        QTest::newRow("unknown option") << QByteArray("--nonsense") << QByteArray("--help");
    }
    void unusableSurroundingsAreOneLine()
    {
        QFETCH(QByteArray, option);
        QFETCH(QByteArray, text);
        const QTemporaryDir state;
        QTcpServer taken;
        QVERIFY(taken.listen(QHostAddress::LocalHost));
        const QString given =
            QString::fromLatin1(option).replace(QStringLiteral("%1"), QString::number(taken.serverPort()));
        QProcess program;
        program.start(QStringLiteral(QUORVEL_BACKEND_PROGRAM),
                      {QStringLiteral("--state-dir"), state.path(), QStringLiteral("--listen"),
                       QStringLiteral("127.0.0.1:0"), given});
        QVERIFY(program.waitForFinished(20'000));
        QVERIFY(program.exitCode() != 0);
        const QByteArray output = program.readAllStandardError();
        QCOMPARE(output.count('\n'), 1);
        QVERIFY2(output.startsWith("quorvel-backend: ") && output.contains(text), output.constData());
        QVERIFY(program.readAllStandardOutput().isEmpty());
    }
};

QTEST_GUILESS_MAIN(ProgramTest)
#include "ProgramTest.moc"
