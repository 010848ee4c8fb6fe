#include "platform/linux/desktop/DesktopKeyMonitors.h"

#include "platform/linux/desktop/X11.h"

#include <QAbstractNativeEventFilter>
#include <QEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QObject>
#include <QTimer>

#include <xcb/xinput.h>

// A C header with a field of this name.
#define explicit explicitly
#include <xcb/xkb.h>
#undef explicit

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>

namespace quorvel::platform {

namespace {

/// The seam's code of a physical key, by the number that Linux gives it in X.
std::optional<std::uint16_t> keyCodeOf(std::uint32_t number)
{
    switch (number) {
    case 54:
        return KeyDownEvent::keyC;
    case 65:
        return KeyDownEvent::keySpace;
    case 111:
        return KeyDownEvent::keyUpArrow;
    case 116:
        return KeyDownEvent::keyDownArrow;
    default:
        return std::nullopt;
    }
}

std::uint64_t flagsOf(Qt::KeyboardModifiers modifiers)
{
    return (modifiers.testFlag(Qt::ShiftModifier) ? KeyDownEvent::shiftFlag : 0) |
           (modifiers.testFlag(Qt::ControlModifier) ? KeyDownEvent::controlFlag : 0) |
           (modifiers.testFlag(Qt::AltModifier) ? KeyDownEvent::optionFlag : 0) |
           (modifiers.testFlag(Qt::MetaModifier) ? KeyDownEvent::commandFlag : 0);
}

/// The server's modifiers; Alt and Super are the first and the fourth of the unnamed ones on every layout of today.
std::uint64_t flagsOf(std::uint8_t modifiers)
{
    return ((modifiers & XCB_MOD_MASK_SHIFT) != 0 ? KeyDownEvent::shiftFlag : 0) |
           ((modifiers & XCB_MOD_MASK_CONTROL) != 0 ? KeyDownEvent::controlFlag : 0) |
           ((modifiers & XCB_MOD_MASK_1) != 0 ? KeyDownEvent::optionFlag : 0) |
           ((modifiers & XCB_MOD_MASK_4) != 0 ? KeyDownEvent::commandFlag : 0);
}

} // namespace

/// Hears every press and decides whose it is.
class KeyListener final : public QObject, public QAbstractNativeEventFilter
{
public:
    using Handlers = std::map<const KeyMonitor*, KeyMonitorProvider::Handler>;

    KeyListener()
        : m_connection(x11::connection())
        , m_hasFocus(QGuiApplication::focusWindow() != nullptr)
    {
        m_repeatTimer.setSingleShot(true);
        m_repeatTimer.callOnTimeout([this] { repeat(); });
        qGuiApp->installEventFilter(this);
        if (m_connection != nullptr) {
            qGuiApp->installNativeEventFilter(this);
        }
    }

    /// False when the server has no raw events, or does not tell the modifiers.
    [[nodiscard]] bool listensEverywhere()
    {
        if (m_inputOpcode == 0 && m_connection != nullptr) {
            listenEverywhere();
        }
        return m_inputOpcode != 0;
    }

    Handlers localHandlers;
    Handlers globalHandlers;

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        // Every press starts with this event, also one that a shortcut of the application takes.
        if (event->type() == QEvent::ShortcutOverride && watched->isWindowType()) {
            const auto* const press = static_cast<QKeyEvent*>(event);
            deliver({.number = press->nativeScanCode(), .time = static_cast<xcb_timestamp_t>(press->timestamp())},
                    flagsOf(press->modifiers()), Source::local);
        }
        return false;
    }

    bool nativeEventFilter(const QByteArray& /*eventType*/, void* message, qintptr* /*result*/) override
    {
        const std::uint8_t type = x11::eventType(*static_cast<xcb_generic_event_t*>(message));
        if (type == XCB_FOCUS_IN || type == XCB_FOCUS_OUT) {
            followFocus(*static_cast<xcb_focus_in_event_t*>(message), type == XCB_FOCUS_IN);
        } else if (m_inputOpcode != 0 && type == XCB_GE_GENERIC) {
            handleRawEvent(*static_cast<xcb_input_raw_key_press_event_t*>(message));
        } else if (m_firstKeyboardEvent != 0 && type == m_firstKeyboardEvent) {
            const auto* const state = static_cast<xcb_xkb_state_notify_event_t*>(message);
            if (state->xkbType == XCB_XKB_STATE_NOTIFY) {
                m_modifiers = state->mods;
            }
        }
        return false;
    }

private:
    enum class Source : std::uint8_t { local, global };

    /// One press, whichever way it is reported.
    struct Press
    {
        std::uint32_t number = 0;
        xcb_timestamp_t time = 0;

        friend bool operator==(const Press&, const Press&) = default;
    };

    void listenEverywhere()
    {
        const auto* const input = xcb_get_extension_data(m_connection, &xcb_input_id);
        const auto* const keyboard = xcb_get_extension_data(m_connection, &xcb_xkb_id);
        if (input == nullptr || input->present == 0 || keyboard == nullptr || keyboard->present == 0) {
            return;
        }
        // The toolkit may have agreed on a version before; then this is refused, and that one holds.
        const auto version = xcb_input_xi_query_version(m_connection, 2, 2);
        xcb_generic_error_t* refusal = nullptr;
        const x11::Reply<xcb_input_xi_query_version_reply_t> agreed(
            xcb_input_xi_query_version_reply(m_connection, version, &refusal));
        const x11::Reply<xcb_generic_error_t> owned(refusal);

        struct
        {
            xcb_input_event_mask_t head;
            std::uint32_t mask;
        } const wanted{.head = {.deviceid = XCB_INPUT_DEVICE_ALL_MASTER, .mask_len = 1},
                       .mask = XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE};
        const x11::Reply<xcb_generic_error_t> error(xcb_request_check(
            m_connection,
            xcb_input_xi_select_events_checked(m_connection, x11::rootWindow(m_connection), 1, &wanted.head)));

        constexpr std::uint16_t states = XCB_XKB_EVENT_TYPE_STATE_NOTIFY;
        xcb_xkb_select_events(m_connection, XCB_XKB_ID_USE_CORE_KBD, states, 0, states, 0, 0, nullptr);
        const x11::Reply<xcb_xkb_get_state_reply_t> state(
            xcb_xkb_get_state_reply(m_connection, xcb_xkb_get_state(m_connection, XCB_XKB_ID_USE_CORE_KBD), nullptr));
        const x11::Reply<xcb_xkb_get_controls_reply_t> controls(xcb_xkb_get_controls_reply(
            m_connection, xcb_xkb_get_controls(m_connection, XCB_XKB_ID_USE_CORE_KBD), nullptr));
        if (!error && state && controls) {
            m_repeatDelay = std::chrono::milliseconds(controls->repeatDelay);
            m_repeatInterval = std::chrono::milliseconds(controls->repeatInterval);
            m_modifiers = state->mods;
            m_firstKeyboardEvent = keyboard->first_event;
            m_inputOpcode = input->major_opcode;
        }
    }

    /// The server's own order of focus changes and presses; the toolkit learns of a loss of focus only after a while.
    void followFocus(const xcb_focus_in_event_t& event, bool isIn)
    {
        if (event.detail != XCB_NOTIFY_DETAIL_POINTER && event.detail != XCB_NOTIFY_DETAIL_INFERIOR) {
            m_hasFocus = isIn;
        }
    }

    void handleRawEvent(const xcb_input_raw_key_press_event_t& event)
    {
        if (event.extension != m_inputOpcode) {
            return;
        }
        if (event.event_type == XCB_INPUT_RAW_KEY_PRESS) {
            m_repeatTimer.stop();
            if (!isOurs()) {
                deliver({.number = event.detail, .time = event.time}, flagsOf(m_modifiers), Source::global);
                startRepeating(event.detail);
            }
        } else if (event.event_type == XCB_INPUT_RAW_KEY_RELEASE && event.detail == m_repeatedKey) {
            m_repeatTimer.stop();
        }
    }

    [[nodiscard]] bool isOurs() const { return m_hasFocus && QGuiApplication::focusWindow() != nullptr; }

    /// Raw events tell nothing of a key that is held down: other windows get its repetitions from the server.
    void startRepeating(std::uint32_t number)
    {
        if (keyCodeOf(number) && m_repeatInterval > std::chrono::milliseconds::zero()) {
            m_repeatedKey = number;
            m_repeatTimer.start(m_repeatDelay);
        }
    }

    void repeat()
    {
        const std::optional<std::uint16_t> keyCode = keyCodeOf(m_repeatedKey);
        if (keyCode && !isOurs()) {
            m_repeatTimer.start(m_repeatInterval);
            tell({.modifierFlags = flagsOf(m_modifiers), .keyCode = *keyCode}, Source::global);
        }
    }

    void deliver(Press press, std::uint64_t flags, Source source)
    {
        const std::optional<std::uint16_t> keyCode = keyCodeOf(press.number);
        if (!keyCode) {
            return;
        }
        // A grab can have hidden our focus when the raw event came, and the press reaches our window all the same.
        const bool isCounted = press == m_lastPress && source != m_lastSource;
        m_lastPress = press;
        m_lastSource = source;
        if (!isCounted) {
            tell({.modifierFlags = flags, .keyCode = *keyCode}, source);
        }
    }

    void tell(KeyDownEvent event, Source source) const
    {
        const Handlers current = source == Source::local ? localHandlers : globalHandlers;
        for (const auto& [monitor, handler] : current) { // a copy: a handler may remove its monitor
            handler(event);
        }
    }

    xcb_connection_t* m_connection;
    bool m_hasFocus;
    std::uint8_t m_modifiers = 0;
    std::uint8_t m_inputOpcode = 0;
    std::uint8_t m_firstKeyboardEvent = 0;
    Press m_lastPress;
    Source m_lastSource = Source::local;
    std::uint32_t m_repeatedKey = 0;
    std::chrono::milliseconds m_repeatDelay{0};
    std::chrono::milliseconds m_repeatInterval{0};
    QTimer m_repeatTimer;
};

namespace {

class Registration final : public KeyMonitor
{
public:
    Registration(std::shared_ptr<KeyListener> listener, KeyListener::Handlers KeyListener::* handlers,
                 KeyMonitorProvider::Handler handler)
        : m_listener(std::move(listener))
        , m_handlers(handlers)
    {
        ((*m_listener).*m_handlers).emplace(this, std::move(handler));
    }
    ~Registration() override { ((*m_listener).*m_handlers).erase(this); }
    Registration(const Registration&) = delete;
    Registration(Registration&&) = delete;
    Registration& operator=(const Registration&) = delete;
    Registration& operator=(Registration&&) = delete;

private:
    std::shared_ptr<KeyListener> m_listener;
    KeyListener::Handlers KeyListener::* m_handlers;
};

} // namespace

DesktopKeyMonitors::DesktopKeyMonitors()
    : m_listener(std::make_shared<KeyListener>())
{
}

std::unique_ptr<KeyMonitor> DesktopKeyMonitors::addLocalKeyDownMonitor(Handler handler)
{
    return std::make_unique<Registration>(m_listener, &KeyListener::localHandlers, std::move(handler));
}

std::unique_ptr<KeyMonitor> DesktopKeyMonitors::addGlobalKeyDownMonitor(Handler handler)
{
    if (!m_listener->listensEverywhere()) {
        return nullptr;
    }
    return std::make_unique<Registration>(m_listener, &KeyListener::globalHandlers, std::move(handler));
}

} // namespace quorvel::platform
