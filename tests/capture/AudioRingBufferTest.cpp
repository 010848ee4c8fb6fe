#include "capture/AudioRingBuffer.h"

#include <QTest>

namespace quorvel {

namespace {

/// Bytes that tell their position: no two stretches of a length look the same unless they start 251 apart.
QByteArray numbered(qsizetype count, qsizetype first = 0)
{
    QByteArray bytes(count, Qt::Uninitialized);
    for (qsizetype index = 0; index < count; ++index) {
        bytes[index] = static_cast<char>((first + index) % 251);
    }
    return bytes;
}

} // namespace

class AudioRingBufferTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepsTheNewestBytes_data();
    void keepsTheNewestBytes();
    void drainAndClearLeaveItEmpty();
};

void AudioRingBufferTest::keepsTheNewestBytes_data()
{
    QTest::addColumn<QList<int>>("appended");
    QTest::newRow("nothing") << QList<int>{};
    QTest::newRow("a little") << QList<int>{960, 0, 7};
    QTest::newRow("exactly full") << QList<int>{287'999, 1};
    QTest::newRow("one byte too many") << QList<int>{288'000, 1};
    QTest::newRow("more than it holds, at once") << QList<int>{300'000};
    QTest::newRow("more than it holds, on top") << QList<int>{1000, 300'000};
    QTest::newRow("past the end and around") << QList<int>{200'000, 200'000, 200'000, 13};
    QTest::newRow("chunk by chunk") << QList<int>(700, 960);
}

void AudioRingBufferTest::keepsTheNewestBytes()
{
    QFETCH(QList<int>, appended);
    AudioRingBuffer buffer;
    QByteArray everything;
    for (const int count : appended) {
        const QByteArray bytes = numbered(count, everything.size());
        everything += bytes;
        buffer.append(bytes);
    }
    QCOMPARE(buffer.drain(), everything.right(AudioRingBuffer::maxBytes));
}

void AudioRingBufferTest::drainAndClearLeaveItEmpty()
{
    AudioRingBuffer buffer;
    buffer.append(numbered(100'000));
    QCOMPARE(buffer.drain().size(), 100'000);
    QCOMPARE(buffer.drain(), QByteArray());

    buffer.append(numbered(300'000));
    buffer.clear();
    QCOMPARE(buffer.drain(), QByteArray());

    buffer.append(numbered(288'000, 5));
    QCOMPARE(buffer.drain(), numbered(288'000, 5));
}

} // namespace quorvel

QTEST_APPLESS_MAIN(quorvel::AudioRingBufferTest)
#include "AudioRingBufferTest.moc"
