#include "platform/linux/desktop/DesktopPanels.h"

#include "XClient.h"
#include "platform/linux/desktop/DesktopScreens.h"

#include <QColor>
#include <QGuiApplication>
#include <QProcess>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QRegion>
#include <QScreen>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <memory>

using namespace Qt::StringLiterals;

namespace quorvel::test {

using platform::DesktopScreens;
using platform::Panel;

class DesktopPanelsTest final : public QObject
{
    Q_OBJECT

private:
    QQmlEngine m_engine;
    std::unique_ptr<XClient> m_client;

    [[nodiscard]] std::unique_ptr<Panel> makePanel(const QRectF& frame, bool ignoresMouseEvents = false)
    {
        return platform::DesktopPanels(m_engine).makePanel(
            {.contentRect = frame, .ignoresMouseEvents = ignoresMouseEvents},
            {.component = QUrl::fromLocalFile(QFINDTESTDATA("Panel.qml")),
             .initialProperties = {{u"fill"_s, QColor(Qt::red)}}});
    }

    /// The one window of the toolkit, by its number on the server.
    static xcb_window_t panelWindow()
    {
        const QWindowList windows = QGuiApplication::allWindows();
        return windows.size() == 1 ? static_cast<xcb_window_t>(windows.first()->winId()) : xcb_window_t{XCB_NONE};
    }

    [[nodiscard]] bool isShown() const
    {
        return QTest::qWaitFor([this] { return m_client->isViewable(panelWindow()); });
    }

    static QSize screenPixels()
    {
        const QScreen* const screen = QGuiApplication::primaryScreen();
        return screen->size() * screen->devicePixelRatio();
    }

    [[nodiscard]] bool becomesActive(xcb_window_t window) const
    {
        m_client->activate(window);
        return QTest::qWaitFor([this, window] {
            const auto active = m_client->property(m_client->rootWindow(), "_NET_ACTIVE_WINDOW");
            return !active.empty() && active.front() == window;
        });
    }

    /// Whether the other application gets exactly this many presses of buttons and keys.
    [[nodiscard]] bool getsPresses(int expected) const
    {
        int presses = 0;
        const bool isEnough = QTest::qWaitFor([&] { return (presses += m_client->takePresses()) >= expected; });
        return isEnough && presses == expected;
    }

    static constexpr std::uint8_t keyA = 38;

private Q_SLOTS:
    void init() { m_client = std::make_unique<XClient>(); }

    void frameIsConvertedAndKeptOnTheDisplay_data()
    {
        QTest::addColumn<QRectF>("frame"); // bottom-up
        QTest::addColumn<QRect>("geometry");
        const int height = QGuiApplication::primaryScreen()->geometry().height();
        QTest::newRow("inside") << QRectF(40, height - 300, 600, 100) << QRect(40, 200, 600, 100);
        QTest::newRow("fractions") << QRectF(28.8, height - 300, 1382.4, 126) << QRect(29, 174, 1382, 126);
        QTest::newRow("over the top") << QRectF(40, height - 90, 600, 126) << QRect(40, 0, 600, 126);
        QTest::newRow("just at the top") << QRectF(40, height - 126, 600, 126) << QRect(40, 0, 600, 126);
        QTest::newRow("below the bottom") << QRectF(40, -50, 600, 100) << QRect(40, height - 50, 600, 100);
        QTest::newRow("without extent") << QRectF(40, height - 300, 0, -3) << QRect(40, 303, 1, 1);
    }
    void frameIsConvertedAndKeptOnTheDisplay()
    {
        QFETCH(QRectF, frame);
        QFETCH(QRect, geometry);
        const double scale = QGuiApplication::primaryScreen()->devicePixelRatio();
        const QRect pixels(geometry.topLeft() * scale, geometry.size() * scale);
        const std::unique_ptr<Panel> panel = makePanel(QRectF(0, 0, 50, 50));
        panel->setFrame(frame);
        panel->orderFrontRegardless();
        QVERIFY(isShown());
        QTRY_COMPARE(m_client->geometry(panelWindow()), pixels);
    }

    void visibleFrameIsTheScreenWithoutDocks()
    {
        DesktopScreens screens;
        int changes = 0;
        screens.setChangeHandler([&changes] { ++changes; });
        const auto workArea = m_client->property(m_client->rootWindow(), "_NET_WORKAREA");
        QVERIFY(workArea.size() >= 4);
        const QScreen* const screen = QGuiApplication::primaryScreen();
        const double scale = screen->devicePixelRatio();
        const QRectF topDown(workArea[0] / scale, workArea[1] / scale, workArea[2] / scale, workArea[3] / scale);
        const QRectF expected = DesktopScreens::toBottomUp(topDown, screen->geometry());
        QCOMPARE(screens.mainScreenVisibleFrame().value_or(QRectF()), expected);
        QCOMPARE(changes, 0);

        const QRectF main(100, 50, 1000, 800);
        const QRectF area(110, 80, 900, 700);
        QCOMPARE(DesktopScreens::toBottomUp(area, main), QRectF(10, 70, 900, 700));
        QCOMPARE(DesktopScreens::toTopDown(DesktopScreens::toBottomUp(area, main), main), area);
    }

    void serverSeesAnOverlay()
    {
        const std::unique_ptr<Panel> panel = makePanel(QRectF(40, 300, 600, 100));
        panel->setAlpha(0.5);
        panel->orderFrontRegardless();
        QVERIFY(isShown());
        const xcb_window_t window = panelWindow();
        QVERIFY(m_client->isOverrideRedirect(window));
        const QList<QByteArray> states = m_client->atoms(window, "_NET_WM_STATE");
        for (const char* const state : {"_NET_WM_STATE_ABOVE", "_NET_WM_STATE_STICKY", "_NET_WM_STATE_SKIP_TASKBAR",
                                        "_NET_WM_STATE_SKIP_PAGER"}) {
            QVERIFY2(states.contains(state), state);
        }
        QCOMPARE(m_client->property(window, "_NET_WM_DESKTOP"), std::vector{0xFFFFFFFFU});
        QCOMPARE(m_client->atoms(window, "_NET_WM_WINDOW_TYPE").value(0),
                 QByteArray("_NET_WM_WINDOW_TYPE_NOTIFICATION"));
        const auto opacity = m_client->property(window, "_NET_WM_WINDOW_OPACITY");
        QCOMPARE(opacity.size(), 1U);
        QVERIFY(std::abs(opacity.at(0) / 4294967295.0 - 0.5) < 0.01);
        const auto managed = m_client->property(m_client->rootWindow(), "_NET_CLIENT_LIST");
        QCOMPARE(std::ranges::count(managed, window), 0); // task bars list these

        panel->orderOut();
        QTRY_VERIFY(!m_client->isViewable(window));
    }

    void staysAboveWithoutTakingTheFocus_data()
    {
        QTest::addColumn<bool>("isFullScreen");
        QTest::newRow("normal") << false;
        QTest::newRow("full screen") << true;
    }
    void staysAboveWithoutTakingTheFocus()
    {
        QFETCH(bool, isFullScreen);
        const auto kind = isFullScreen ? XClient::WindowKind::fullScreen : XClient::WindowKind::normal;
        const xcb_window_t other = m_client->makeWindow(QRect(0, 0, 900, 700), kind);
        QVERIFY(QTest::qWaitFor([this, other] { return m_client->isViewable(other); }));
        QVERIFY(becomesActive(other));
        if (isFullScreen) {
            QTRY_COMPARE(m_client->geometry(other).size(), screenPixels());
        }
        const xcb_window_t focus = m_client->focus();
        static_cast<void>(m_client->takePresses());

        const std::unique_ptr<Panel> panel = makePanel(QRectF(40, 300, 600, 100));
        m_client->chord({keyA});
        panel->orderFrontRegardless();
        m_client->chord({keyA});
        QVERIFY(isShown());
        m_client->chord({keyA});
        QVERIFY(getsPresses(3));
        QCOMPARE(m_client->focus(), focus);
        QVERIFY(m_client->isAbove(panelWindow(), other));

        // The same when the other window is brought to the front, and when a new one appears.
        QVERIFY(becomesActive(other));
        QVERIFY(m_client->isAbove(panelWindow(), other));
        const xcb_window_t late = m_client->makeWindow(QRect(0, 0, 900, 700), kind);
        QVERIFY(QTest::qWaitFor([this, late] { return m_client->isViewable(late); }));
        QVERIFY(becomesActive(late));
        QVERIFY(m_client->isAbove(panelWindow(), late));
        QVERIFY(becomesActive(other));
        QVERIFY(m_client->isAbove(panelWindow(), other));
    }

    void clicksPassThroughWhenAskedTo()
    {
        const xcb_window_t other = m_client->makeWindow(QRect(0, 0, 900, 700), XClient::WindowKind::fullScreen);
        QVERIFY(QTest::qWaitFor([this, other] { return m_client->isViewable(other); }));
        QVERIFY(becomesActive(other));
        const std::unique_ptr<Panel> panel = makePanel(QRectF(100, 300, 600, 100), true);
        panel->orderFrontRegardless();
        QVERIFY(isShown());
        const xcb_window_t window = panelWindow();
        const QPoint centre = m_client->geometry(window).center();
        const QRect whole(QPoint(0, 0), m_client->geometry(window).size());

        for (int round = 0; round < 2; ++round) {
            QTRY_COMPARE(m_client->inputRegion(window), QList<QRect>());
            static_cast<void>(m_client->takePresses());
            m_client->click(centre);
            QVERIFY(getsPresses(1));

            panel->setIgnoresMouseEvents(false);
            QTRY_COMPARE(m_client->inputRegion(window), QList{whole});
            QVERIFY(m_client->isViewable(window));
            m_client->click(centre);
            m_client->chord({keyA}); // the click took no focus away, and did not arrive before the key either
            QVERIFY(getsPresses(1));

            panel->setIgnoresMouseEvents(true);
        }
        QVERIFY(m_client->atoms(window, "_NET_WM_STATE").contains("_NET_WM_STATE_STICKY"));
    }

    void staysOnEveryDesktop()
    {
        if (m_client->property(m_client->rootWindow(), "_NET_NUMBER_OF_DESKTOPS") < std::vector{2U}) {
            QSKIP("this window manager has one desktop");
        }
        const xcb_window_t other = m_client->makeWindow(QRect(0, 0, 300, 300));
        QVERIFY(QTest::qWaitFor([this, other] { return m_client->isViewable(other); }));
        const std::unique_ptr<Panel> panel = makePanel(QRectF(100, 300, 600, 100));
        panel->orderFrontRegardless();
        QVERIFY(isShown());

        m_client->showDesktop(1);
        QTRY_VERIFY(!m_client->isViewable(other));
        QVERIFY(m_client->isViewable(panelWindow()));
        m_client->showDesktop(0);
        QTRY_VERIFY(m_client->isViewable(other));
    }

    void contentKnowsWhetherTheDesktopBlends()
    {
        const auto compositor = [](const QString& action) {
            return QProcess::execute(qEnvironmentVariable("HEADLESS_SERVICE"), {action, u"compositor"_s});
        };
        const std::unique_ptr<Panel> panel = makePanel(QRectF(100, 300, 600, 100));
        panel->orderFrontRegardless();
        QVERIFY(isShown());
        const QPoint centre = m_client->geometry(panelWindow()).center();
        QTRY_COMPARE(m_client->pixel(centre), 0xFF0000U);
        QCOMPARE(compositor(u"stop"_s), 0);
        QTRY_COMPARE(m_client->pixel(centre), 0x00FF00U);
        QCOMPARE(compositor(u"start"_s), 0);
        QTRY_COMPARE(m_client->pixel(centre), 0xFF0000U);
    }

    void frostCoversTheRoundedCard()
    {
        const std::unique_ptr<Panel> panel = makePanel(QRectF(40, 300, 600, 100));
        panel->setFrame(QRectF(40, 300, 500, 80));
        const auto frost = [this] {
            const auto values = m_client->property(panelWindow(), "_KDE_NET_WM_BLUR_BEHIND_REGION");
            QRegion region;
            for (std::size_t at = 0; at + 3 < values.size(); at += 4) {
                region += QRect(static_cast<int>(values[at]), static_cast<int>(values[at + 1]),
                                static_cast<int>(values[at + 2]), static_cast<int>(values[at + 3]));
            }
            return region;
        };
        const QSize size = QSize(500, 80) * QGuiApplication::primaryScreen()->devicePixelRatio();
        QTRY_COMPARE(frost().boundingRect(), QRect(QPoint(0, 0), size));
        const QRegion region = frost();
        QVERIFY(region.contains(QPoint(size.width() / 2, 0)));
        QVERIFY(region.contains(QPoint(0, size.height() / 2)));
        for (const QPoint corner : {QPoint(0, 0), QPoint(size.width() - 1, 0), QPoint(0, size.height() - 1),
                                    QPoint(size.width() - 1, size.height() - 1)}) {
            QVERIFY(!region.contains(corner));
        }
    }

    void screenChangesAreTold()
    {
        DesktopScreens screens;
        int changes = 0;
        screens.setChangeHandler([&changes] { ++changes; });
        const QSize before = screenPixels();
        const auto resize = [](const QStringList& arguments) { return QProcess::execute(u"xrandr"_s, arguments); };
        QCOMPARE(resize({u"--newmode"_s, u"small"_s, u"40"_s, u"1024"_s, u"1100"_s, u"1200"_s, u"1300"_s, u"700"_s,
                         u"710"_s, u"720"_s, u"730"_s}),
                 0);
        QCOMPARE(resize({u"--addmode"_s, u"screen"_s, u"small"_s}), 0);
        QCOMPARE(resize({u"--output"_s, u"screen"_s, u"--mode"_s, u"small"_s}), 0);
        QTRY_COMPARE(screenPixels(), QSize(1024, 700));
        QTRY_VERIFY(changes > 0);
        const double scale = QGuiApplication::primaryScreen()->devicePixelRatio();
        QTRY_COMPARE(screens.mainScreenVisibleFrame().value_or(QRectF()).width() * scale, 1024);

        QCOMPARE(resize({u"--output"_s, u"screen"_s, u"--mode"_s, u"%1x%2"_s.arg(before.width()).arg(before.height())}),
                 0);
        QTRY_COMPARE(screenPixels(), before);
    }

    void brokenContentMakesNoPanel()
    {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"No such file or directory"_s));
        QVERIFY(!platform::DesktopPanels(m_engine).makePanel(
            {.contentRect = QRectF(0, 0, 10, 10)},
            {.component = QUrl(u"file:///nowhere.qml"_s), .initialProperties = {}}));
        QVERIFY(QGuiApplication::allWindows().isEmpty());
    }
};

} // namespace quorvel::test

QTEST_MAIN(quorvel::test::DesktopPanelsTest)
#include "DesktopPanelsTest.moc"
