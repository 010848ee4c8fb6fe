#include "AppStateFixture.h"
#include "app/AppDelegate.h"
#include "app/WindowPlacement.h"

using namespace quorvel;
using namespace Qt::StringLiterals;

class QuorvelAppTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void endsTheSessionWithTheProgram_data()
    {
        QTest::addColumn<bool>("stateIsGone");
        QTest::newRow("running") << false;
        QTest::newRow("the state is gone") << true;
    }

    void endsTheSessionWithTheProgram()
    {
        QFETCH(bool, stateIsGone);
        test::AppStateFixture app;
        app.create();
        app.start();
        AppDelegate delegate(app.mainThread);
        delegate.appState = app.state;
        delegate.applicationWillTerminate();
        QVERIFY2(!app.socket().closeCode, "the notice only schedules");
        if (stateIsGone) {
            app.state.reset();
        }
        const int stopped = app.capture->steps->stop.calls();
        test::settle();
        if (!stateIsGone) {
            QCOMPARE(app.socket().closeCode, platform::WebSocketCloseCode::goingAway);
            QCOMPARE(app.capture->steps->stop.calls(), stopped + 1);
        }
    }

    void placesTheWindow_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QRect>("available");
        QTest::addColumn<double>("overlayHeight");
        QTest::addColumn<QRect>("frame");
        QTest::newRow("below the overlay")
            << QSize(1080, 700) << QRect(0, 27, 1920, 1053) << 126.0 << QRect(420, 27 + 126 + 40, 1080, 700);
        QTest::newRow("second display") << QSize(1000, 700) << QRect(1920, 0, 1920, 1080) << 60.0
                                        << QRect(1920 + 460, 90 + 40, 1000, 700);
        QTest::newRow("little room") << QSize(1080, 700) << QRect(0, 0, 1366, 768) << 126.0
                                     << QRect(143, 128, 1080, 640);
        QTest::newRow("larger than the display")
            << QSize(4000, 3000) << QRect(0, 0, 1280, 800) << 126.0 << QRect(0, 160, 1280, 640);
    }

    void placesTheWindow()
    {
        QFETCH(QSize, size);
        QFETCH(QRect, available);
        QFETCH(double, overlayHeight);
        WindowPlacement placement;
        placement.size = size;
        OverlaySettings overlay;
        overlay.height = overlayHeight;
        overlay.topOffset = 90;
        QTEST(placement.frameOn(available, overlay), "frame");
    }

    void remembersTheWindow_data()
    {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<int>("sideWidth");
        const WindowPlacement defaults;
        QTest::newRow("nothing") << QByteArray() << defaults.size << defaults.sideWidth;
        QTest::newRow("damage") << R"({"width":)"_ba << defaults.size << defaults.sideWidth;
        QTest::newRow("nonsense") << R"({"width":-5,"height":1e9,"sideWidth":"wide"})"_ba << defaults.size
                                  << defaults.sideWidth;
        QTest::newRow("stored") << R"({"width":1200,"height":800,"sideWidth":420,"screen":"DP-1"})"_ba
                                << QSize(1200, 800) << 420;
    }

    void remembersTheWindow()
    {
        QFETCH(QByteArray, stored);
        const test::AppStateFixture app;
        platform::UserDefaults& store = *app.userDefaults->suiteStore;
        store.setData(stored, u"window.placement"_s);
        const WindowPlacement placement = WindowPlacement::load(store);
        QTEST(placement.size, "size");
        QTEST(placement.sideWidth, "sideWidth");
        placement.save(store);
        QCOMPARE(WindowPlacement::load(store), placement);
    }
};

QTEST_GUILESS_MAIN(QuorvelAppTest)
#include "QuorvelAppTest.moc"
