#include "fixtures/TestServer.h"
#include "support/Json.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace quorvel::localbackend;

namespace {

/// Starts the program and waits until it listens; gives the port, 0 when it ended before.
unsigned short startProgram(QProcess& program, const QStringList& arguments)
{
    program.start(QStringLiteral(QUORVEL_BACKEND_PROGRAM), arguments);
    while (program.state() != QProcess::NotRunning) {
        if (!program.canReadLine() && !program.waitForReadyRead(20'000))
            break;
        const QByteArray line = program.readLine();
        if (line.startsWith("info: Listening on "))
            return line.trimmed().chopped(1).split(':').last().toUShort();
    }
    return 0;
}

QString readingAt(const char* name)
{
    return QStringLiteral("/usr/share/pocketsphinx/test/data/") + QString::fromLatin1(name);
}

/// A packaged 16 kHz recording as 24 kHz sound, by repeating every second sample, with a second of silence behind it.
std::vector<std::int16_t> recording(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray bytes = file.readAll();
    std::vector<std::int16_t> samples(static_cast<std::size_t>(bytes.size()) / 2);
    std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
    std::vector<std::int16_t> result;
    for (std::size_t i = 0; i + 1 < samples.size(); i += 2) {
        const int middle = (samples[i] + samples[i + 1]) / 2;
        result.push_back(samples[i]);
        result.push_back(static_cast<std::int16_t>(middle));
        result.push_back(samples[i + 1]);
    }
    result.resize(result.size() + 24'000);
    return result;
}

} // namespace

class ProgramTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void spokenSessionRunsAndStopsCleanly()
    {
        const QTemporaryDir state;
        QProcess program;
        program.setReadChannel(QProcess::StandardError);
        const auto port =
            startProgram(program, {QStringLiteral("--listen=127.0.0.1:0"), QStringLiteral("--disable-auth"),
                                   QStringLiteral("--state-dir"), state.filePath(QStringLiteral("s"))});
        QVERIFY2(port != 0, program.readAllStandardError().constData());
        QCOMPARE(request(port, "GET /api/health").status, 200);

        TestSocket socket(port);
        QCOMPARE(socket.open("/ws/realtime"), 101);
        socket.sendText(sessionStart());
        const auto samples = recording(readingAt("goforward.raw"));
        QVERIFY(!samples.empty());
        for (std::size_t at = 0; at < samples.size(); at += 480) {
            const auto count = std::min<std::size_t>(480, samples.size() - at);
            std::string bytes(count * 2, '\0');
            std::memcpy(bytes.data(), samples.data() + at, bytes.size());
            socket.sendBytes(bytes);
        }
        QVERIFY(!textAt(socket.next({"transcript.delta"}), "partial").empty());
        QCOMPARE(textAt(socket.next({"transcript.final"}), "text"), std::string("Go forward ten meters"));

        program.terminate();
        QCOMPARE(socket.closeCode(), 1001);
        QVERIFY(program.waitForFinished(10'000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
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
