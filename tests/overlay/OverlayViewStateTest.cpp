#include "overlay/OverlayViewState.h"

#include <QSignalSpy>
#include <QTest>

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quorvel::test {

class OverlayViewStateTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void textAndIcon_data()
    {
        QTest::addColumn<bool>("shouldRespond");
        QTest::addColumn<QString>("suggestion");
        QTest::addColumn<bool>("isRunning");
        QTest::addColumn<int>("audioAge"); // milliseconds; negative: never
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("icon");
        const QString none;
        const QString answer = u"Say this."_s;
        const QString ready = u"Quorvel ready"_s;
        const QString listening = u"Listening..."_s;
        const QString waiting = u"Waiting for audio..."_s;
        const QString bubble = u"text.bubble.fill"_s;
        const QString wave = u"waveform"_s;
        const QString pause = u"pause.circle"_s;

        QTest::newRow("idle") << false << none << false << -1 << ready << pause;
        QTest::newRow("idle, sound just now") << false << none << false << 1000 << ready << wave;
        QTest::newRow("running, no sound yet") << false << none << true << -1 << waiting << pause;
        QTest::newRow("running, sound 1 s ago") << false << none << true << 1000 << listening << wave;
        QTest::newRow("running, sound 2.499 s ago") << false << none << true << 2499 << listening << wave;
        QTest::newRow("running, sound 2.5 s ago") << false << none << true << 2500 << waiting << pause;
        QTest::newRow("running, sound 3 s ago") << false << none << true << 3000 << waiting << pause;
        QTest::newRow("suggestion, idle") << true << answer << false << -1 << answer << bubble;
        QTest::newRow("suggestion, running") << true << answer << true << 1000 << answer << bubble;
        QTest::newRow("suggestion without text") << true << none << false << 1000 << ready << bubble;
        QTest::newRow("text not to be shown") << false << answer << true << 1000 << listening << wave;
    }
    void textAndIcon()
    {
        QFETCH(bool, shouldRespond);
        QFETCH(QString, suggestion);
        QFETCH(bool, isRunning);
        QFETCH(int, audioAge);
        QFETCH(QString, text);
        QFETCH(QString, icon);
        const Timestamp now{100h};
        OverlayInput input{.shouldRespond = shouldRespond, .suggestion = suggestion, .isRunning = isRunning};
        if (audioAge >= 0) {
            input.lastAudioAt = now - std::chrono::milliseconds(audioAge);
        }
        OverlayViewState state;

        state.update(input, now);

        QCOMPARE(state.overlayText(), text);
        QCOMPARE(state.overlayIcon(), icon);
        QCOMPARE(state.shouldRespond(), shouldRespond);
    }

    void startsReadyAndNotifiesOncePerDifference()
    {
        OverlayViewState state;
        const QSignalSpy changes(&state, &OverlayViewState::changed);
        QCOMPARE(state.overlayText(), u"Quorvel ready"_s);
        QCOMPARE(state.overlayIcon(), u"pause.circle"_s);

        state.update({}, Timestamp{100h});
        QCOMPARE(changes.count(), 0);
        state.update({.isWorking = true}, Timestamp{100h});
        QVERIFY(state.isWorking());
        QCOMPARE(changes.count(), 1);
        state.update({.shouldRespond = true, .suggestion = u"Yes."_s, .isRunning = true}, Timestamp{100h});
        QCOMPARE(changes.count(), 2);
        state.update({.shouldRespond = true, .suggestion = u"Yes."_s, .isRunning = false}, Timestamp{101h});
        QCOMPARE(changes.count(), 2);
    }
};

} // namespace quorvel::test

QTEST_GUILESS_MAIN(quorvel::test::OverlayViewStateTest)
#include "OverlayViewStateTest.moc"
