#include "platform/linux/desktop/DesktopKeyMonitors.h"

#include "XClient.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QShortcut>
#include <QTest>
#include <QWindow>

#include <memory>
#include <optional>
#include <ranges>
#include <vector>

using namespace Qt::StringLiterals;

namespace quorvel::test {

using platform::KeyDownEvent;

namespace {

// The numbers of physical keys in X.
constexpr std::uint8_t shift = 50;
constexpr std::uint8_t control = 37;
constexpr std::uint8_t alt = 64;
constexpr std::uint8_t super = 133;
constexpr std::uint8_t letterC = 54;
constexpr std::uint8_t letterA = 38;
constexpr std::uint8_t space = 65;
constexpr std::uint8_t up = 111;
constexpr std::uint8_t down = 116;

constexpr std::uint64_t commandShift = KeyDownEvent::commandFlag | KeyDownEvent::shiftFlag;

class TypingWindow final : public QWindow
{
public:
    int presses = 0;

protected:
    void keyPressEvent(QKeyEvent* /*event*/) override { ++presses; }
};

} // namespace

class DesktopKeyMonitorsTest final : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<XClient> m_client;
    std::unique_ptr<platform::DesktopKeyMonitors> m_monitors;
    std::unique_ptr<platform::KeyMonitor> m_local;
    std::unique_ptr<platform::KeyMonitor> m_global;
    std::vector<KeyDownEvent> m_localEvents;
    std::vector<KeyDownEvent> m_globalEvents;
    TypingWindow m_window;

    void focusOurs()
    {
        m_window.requestActivate();
        // The toolkit takes a window for active for a while after it has lost the focus.
        QVERIFY(QTest::qWaitFor([this] { return m_client->focus() == m_window.winId(); }));
        QVERIFY(QTest::qWaitForWindowActive(&m_window));
    }

    void focusOther()
    {
        const xcb_window_t other = m_client->makeWindow(QRect(500, 300, 300, 200));
        QVERIFY(QTest::qWaitFor([&] { return m_client->isViewable(other); }));
        m_client->activate(other);
        QVERIFY(QTest::qWaitFor([&] { return m_client->focus() == other; }));
        static_cast<void>(m_client->takePresses());
    }

    /// After this, whatever the keys so far have caused has been delivered.
    void pressMarker(bool isOurs)
    {
        const std::vector<KeyDownEvent>& events = isOurs ? m_localEvents : m_globalEvents;
        const std::size_t before = events.size();
        m_client->chord({up});
        QVERIFY(QTest::qWaitFor([&] { return events.size() > before && events.back().modifierFlags == 0; }));
    }

    void forget()
    {
        m_localEvents.clear();
        m_globalEvents.clear();
        m_window.presses = 0;
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_window.setGeometry(50, 50, 300, 200);
        m_window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&m_window));
    }

    void init()
    {
        m_client = std::make_unique<XClient>();
        m_monitors = std::make_unique<platform::DesktopKeyMonitors>();
        m_local = m_monitors->addLocalKeyDownMonitor([this](KeyDownEvent event) { m_localEvents.push_back(event); });
        m_global = m_monitors->addGlobalKeyDownMonitor([this](KeyDownEvent event) { m_globalEvents.push_back(event); });
        QVERIFY(m_local);
        QVERIFY(m_global);
        forget();
    }

    void chordsCountOnce_data()
    {
        struct Chord
        {
            const char* name;
            std::vector<std::uint8_t> keys;
            std::uint64_t flags;
            std::optional<std::uint16_t> code;
        };
        const std::vector<Chord> chords{
            {"super shift c", {super, shift, letterC}, commandShift, 8},
            {"super shift space", {super, shift, space}, commandShift, 49},
            {"super shift down", {super, shift, down}, commandShift, 125},
            {"super shift up", {super, shift, up}, commandShift, 126},
            {"shift super c", {shift, super, letterC}, commandShift, 8},
            {"everything c",
             {control, alt, super, shift, letterC},
             commandShift | KeyDownEvent::controlFlag | KeyDownEvent::optionFlag,
             8},
            {"super c", {super, letterC}, KeyDownEvent::commandFlag, 8},
            {"control shift c", {control, shift, letterC}, KeyDownEvent::controlFlag | KeyDownEvent::shiftFlag, 8},
            {"a key without a code", {super, shift, letterA}, commandShift, std::nullopt},
        };
        QTest::addColumn<bool>("isOurs");
        QTest::addColumn<std::vector<std::uint8_t>>("keys");
        QTest::addColumn<std::uint64_t>("flags");
        QTest::addColumn<std::optional<std::uint16_t>>("code");
        for (const bool isOurs : {false, true}) {
            for (const Chord& chord : chords) {
                QTest::addRow("%s, %s focus", chord.name, isOurs ? "our" : "another's")
                    << isOurs << chord.keys << chord.flags << chord.code;
            }
        }
    }
    void chordsCountOnce()
    {
        QFETCH(bool, isOurs);
        QFETCH(std::vector<std::uint8_t>, keys);
        QFETCH(std::uint64_t, flags);
        QFETCH(std::optional<std::uint16_t>, code);
        isOurs ? focusOurs() : focusOther();
        forget();

        for (const std::uint8_t key : keys) {
            m_client->key(key, true);
        }
        for (const std::uint8_t key : std::views::reverse(keys)) {
            m_client->key(key, false);
        }
        pressMarker(isOurs);

        const std::vector<KeyDownEvent>& events = isOurs ? m_localEvents : m_globalEvents;
        QCOMPARE((isOurs ? m_globalEvents : m_localEvents).size(), 0U);
        QCOMPARE(events.size(), code ? 2U : 1U);
        if (code) {
            QCOMPARE(events.front().modifierFlags, flags);
            QCOMPARE(events.front().keyCode, *code);
        }
        // Every key, the marker too, still reached the window with the focus.
        const auto expected = static_cast<int>(keys.size()) + 1;
        QTRY_COMPARE(isOurs ? m_window.presses : expected, expected);
        if (!isOurs) {
            QCOMPARE(m_client->takePresses(), expected);
        }
    }

    void heldKeyRepeats_data()
    {
        QTest::addColumn<bool>("isOurs");
        QTest::newRow("another's focus") << false;
        QTest::newRow("our focus") << true;
    }
    void heldKeyRepeats()
    {
        QFETCH(bool, isOurs);
        isOurs ? focusOurs() : focusOther();
        forget();
        const std::vector<KeyDownEvent>& events = isOurs ? m_localEvents : m_globalEvents;
        m_client->key(super, true);
        m_client->key(shift, true);
        m_client->key(down, true);
        const bool repeats = QTest::qWaitFor([&] { return events.size() >= 4; });
        m_client->key(down, false);
        m_client->key(shift, false);
        m_client->key(super, false);
        QVERIFY(repeats);
        for (const KeyDownEvent& event : events) {
            QCOMPARE(event.keyCode, KeyDownEvent::keyDownArrow);
            QCOMPARE(event.modifierFlags, commandShift);
        }
        QCOMPARE((isOurs ? m_globalEvents : m_localEvents).size(), 0U);
        pressMarker(isOurs);
    }

    void pressesAroundAFocusChangeCountOnce()
    {
        // Nothing waits between the change and the press, so that the toolkit has not heard of it yet.
        focusOurs();
        const xcb_window_t other = m_client->makeWindow(QRect(500, 300, 300, 200));
        QVERIFY(QTest::qWaitFor([&] { return m_client->isViewable(other); }));
        forget();
        for (std::size_t round = 0; round < 20; ++round) {
            m_client->activate(round % 2 == 0 ? other : static_cast<xcb_window_t>(m_window.winId()));
            m_client->chord({super, shift, letterC});
            QVERIFY(QTest::qWaitFor([&] { return m_localEvents.size() + m_globalEvents.size() > round; }));
            QTest::qWait(2); // presses of one key within one tick of the server's clock are one to it
        }
        QCOMPARE(m_localEvents.size() + m_globalEvents.size(), 20U);
    }

    void applicationShortcutIsSeenToo()
    {
        QShortcut shortcut(QKeySequence(Qt::META | Qt::SHIFT | Qt::Key_C), &m_window);
        int activations = 0;
        connect(&shortcut, &QShortcut::activated, this, [&activations] { ++activations; });
        focusOurs();
        forget();
        m_client->chord({super, shift, letterC});
        QTRY_COMPARE(activations, 1);
        QCOMPARE(m_localEvents.size(), 1U);
        QCOMPARE(m_globalEvents.size(), 0U);
    }

    void removedMonitorHearsNothing()
    {
        focusOther();
        forget();
        m_local.reset();
        m_client->chord({letterC});
        pressMarker(false);
        QCOMPARE(m_localEvents.size(), 0U);
        m_global.reset();
        m_monitors.reset();
        const std::size_t before = m_globalEvents.size();
        m_client->chord({letterC});
        QCoreApplication::processEvents();
        QCOMPARE(m_globalEvents.size(), before);
    }
};

} // namespace quorvel::test

QTEST_MAIN(quorvel::test::DesktopKeyMonitorsTest)
#include "DesktopKeyMonitorsTest.moc"
