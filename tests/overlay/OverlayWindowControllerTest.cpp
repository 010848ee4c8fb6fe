#include "overlay/OverlayWindowController.h"

#include "overlay/OverlayViewState.h"
#include "support/EventLoop.h"
#include "support/FakeDesktop.h"

#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace quorvel::test {

using platform::KeyDownEvent;

namespace {

/// An application that applies what it saves, as the real one does.
class Host final : public OverlayHost
{
public:
    [[nodiscard]] const OverlaySettings& currentOverlaySettings() const override { return settings; }
    void setCurrentOverlaySettings(const OverlaySettings& newSettings) override { settings = newSettings; }
    void saveOverlaySettings() override
    {
        ++saves;
        if (const auto applying = controller.lock()) {
            applying->applySettings(settings);
        }
    }
    void toggleOverlay() override { ++toggles; }
    void clearSuggestions() override { ++clears; }
    [[nodiscard]] OverlayViewState* overlayViewState() override { return &viewState; }

    OverlaySettings settings{.isVisible = true};
    OverlayViewState viewState;
    std::weak_ptr<OverlayWindowController> controller;
    int saves = 0;
    int toggles = 0;
    int clears = 0;
};

struct Fixture
{
    std::shared_ptr<Host> host = std::make_shared<Host>();
    std::shared_ptr<FakeScreens> screens = std::make_shared<FakeScreens>();
    std::shared_ptr<FakePanels> panels = std::make_shared<FakePanels>();
    std::shared_ptr<FakeKeyMonitors> monitors = std::make_shared<FakeKeyMonitors>();
    std::shared_ptr<OverlayWindowController> controller = std::make_shared<OverlayWindowController>(
        host, screens, panels, monitors, std::make_shared<platform::MainThread>());

    Fixture() { host->controller = controller; }

    [[nodiscard]] PanelRecord& panel() const { return *panels->panels.at(0); }
};

constexpr std::uint64_t commandShift = KeyDownEvent::commandFlag | KeyDownEvent::shiftFlag;

} // namespace

class OverlayWindowControllerTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void panelFrame_data()
    {
        QTest::addColumn<QRectF>("area");
        QTest::addColumn<OverlaySettings>("settings");
        QTest::addColumn<QRectF>("frame");
        QTest::newRow("defaults") << QRectF(0, 0, 1440, 875) << OverlaySettings{} << QRectF(28.8, 785, 1382.4, 126);
        QTest::newRow("area beside a dock")
            << QRectF(100, 50, 1000, 700) << OverlaySettings{.widthRatio = 0.5, .topOffset = 60}
            << QRectF(350, 690, 500, 126);
        QTest::newRow("out of range") << QRectF(0, 0, 1000, 1000)
                                      << OverlaySettings{.widthRatio = 2, .height = 10, .topOffset = -5}
                                      << QRectF(-500, 1005, 2000, 10);
    }
    void panelFrame()
    {
        QFETCH(QRectF, area);
        QFETCH(OverlaySettings, settings);
        QFETCH(QRectF, frame);
        QCOMPARE(OverlayWindowController::panelFrame(area, settings), frame);
    }

    void showMakesOnePanelAndOnePairOfMonitors()
    {
        const Fixture fixture;
        fixture.host->settings.clickThrough = true;

        fixture.controller->applySettings(fixture.host->settings);
        fixture.controller->setPanelVisible(true);
        QVERIFY(fixture.panels->panels.empty());
        fixture.controller->show();
        fixture.controller->show();

        QCOMPARE(fixture.panels->panels.size(), 1U);
        QCOMPARE(fixture.monitors->localHandlers.size(), 1U);
        QCOMPARE(fixture.monitors->globalHandlers.size(), 1U);
        const platform::PanelConfiguration expected{
            .contentRect = OverlayWindowController::panelFrame(QRectF(0, 0, 1440, 875), {}),
            .styleMask = 128,
            .backing = 2,
            .defer = false,
            .level = 25,
            .collectionBehavior = 273,
            .isOpaque = false,
            .hasClearBackground = true,
            .hasShadow = true,
            .hidesOnDeactivate = false,
            .ignoresMouseEvents = true,
        };
        QVERIFY(fixture.panel().configuration == expected);
        QCOMPARE(fixture.panel().content.initialProperties.value(u"viewState"_s).value<OverlayViewState*>(),
                 &fixture.host->viewState);
        QVERIFY(fixture.panel().isVisible);
    }

    void settingsAreApplied()
    {
        const Fixture fixture;
        fixture.controller->show();
        fixture.screens->visibleFrame.reset();

        fixture.controller->applySettings({.widthRatio = 1.0, .opacity = 0.4, .clickThrough = true});

        QCOMPARE(fixture.panel().frame, QRectF(0, 810, 1440, 126));
        QCOMPARE(fixture.panel().alpha, 0.4);
        QVERIFY(fixture.panel().ignoresMouseEvents);
        QVERIFY(!fixture.panel().isVisible);
        fixture.controller->setPanelVisible(true);
        QVERIFY(fixture.panel().isVisible);
    }

    void followsTheScreensWithTheAppliedSettings()
    {
        const Fixture fixture;
        fixture.controller->show();
        fixture.host->settings.height = 200; // being edited, not applied
        fixture.screens->visibleFrame = QRectF(0, 0, 1000, 600);

        fixture.screens->changeHandler();
        settle();

        QCOMPARE(fixture.panel().frame, QRectF(20, 510, 960, 126));
    }

    void missingMonitorsAndPanelsAreSkipped()
    {
        const Fixture fixture;
        fixture.monitors->refusesGlobal = true;
        fixture.panels->refuses = true;
        fixture.controller->show();
        QCOMPARE(fixture.monitors->localHandlers.size(), 1U);

        fixture.monitors->localHandlers.at(0)({.modifierFlags = commandShift, .keyCode = KeyDownEvent::keyC});
        settle();
        QCOMPARE(fixture.host->clears, 1);
    }

    void hotkeys_data()
    {
        QTest::addColumn<std::uint64_t>("flags");
        QTest::addColumn<int>("key");
        QTest::addColumn<double>("opacity");
        QTest::addColumn<QString>("effect");
        const std::uint64_t none = 0;
        QTest::newRow("clear") << commandShift << 8 << 0.5 << u"clear 0.5"_s;
        QTest::newRow("clear, option held") << (commandShift | KeyDownEvent::optionFlag) << 8 << 0.5 << u"clear 0.5"_s;
        QTest::newRow("toggle") << commandShift << 49 << 0.5 << u"toggle 0.5"_s;
        QTest::newRow("fainter") << commandShift << 125 << 0.5 << u"save 0.45"_s;
        QTest::newRow("fainter to the bound") << commandShift << 125 << 0.27 << u"save 0.25"_s;
        QTest::newRow("fainter at the bound") << commandShift << 125 << 0.25 << u"save 0.25"_s;
        QTest::newRow("stronger") << commandShift << 126 << 0.5 << u"save 0.55"_s;
        QTest::newRow("stronger to the bound") << commandShift << 126 << 0.98 << u"save 1"_s;
        QTest::newRow("stronger from below the range") << commandShift << 126 << 0.1 << u"save 0.15"_s;
        QTest::newRow("another key") << commandShift << 9 << 0.5 << u" 0.5"_s;
        QTest::newRow("command alone") << KeyDownEvent::commandFlag << 8 << 0.5 << u" 0.5"_s;
        QTest::newRow("shift alone") << KeyDownEvent::shiftFlag << 8 << 0.5 << u" 0.5"_s;
        QTest::newRow("no modifier") << none << 49 << 0.5 << u" 0.5"_s;
    }
    void hotkeys()
    {
        QFETCH(std::uint64_t, flags);
        QFETCH(int, key);
        QFETCH(double, opacity);
        QFETCH(QString, effect);
        const Fixture fixture;
        fixture.host->settings.opacity = opacity;
        fixture.controller->show();
        const KeyDownEvent event{.modifierFlags = flags, .keyCode = static_cast<std::uint16_t>(key)};

        fixture.monitors->globalHandlers.at(0)(event);

        const auto effectSoFar = [&host = *fixture.host] {
            QString name;
            name += host.clears > 0 ? u"clear"_s : QString();
            name += host.toggles > 0 ? u"toggle"_s : QString();
            name += host.saves > 0 ? u"save"_s : QString();
            return name + u' ' + QString::number(host.settings.opacity);
        };
        QCOMPARE(effectSoFar(), u" %1"_s.arg(opacity)); // the handler only queues
        settle();
        QCOMPARE(effectSoFar(), effect);
        QCOMPARE(fixture.panel().alpha, fixture.host->settings.opacity);
    }

    void withoutItsHostNothingHappens()
    {
        Fixture fixture;
        fixture.controller->show();
        const auto calls = static_cast<std::size_t>(fixture.panel().calls.size());
        fixture.host.reset();

        fixture.controller->show();
        fixture.controller->handleHotkey({.modifierFlags = commandShift, .keyCode = KeyDownEvent::keyUpArrow});
        QCOMPARE(static_cast<std::size_t>(fixture.panel().calls.size()), calls);

        // A key press that arrives after the controller is gone is dropped.
        fixture.controller.reset();
        fixture.monitors->localHandlers.at(0)({.modifierFlags = commandShift, .keyCode = KeyDownEvent::keyC});
        fixture.screens->changeHandler();
        settle();
    }
};

} // namespace quorvel::test

QTEST_GUILESS_MAIN(quorvel::test::OverlayWindowControllerTest)
#include "OverlayWindowControllerTest.moc"
