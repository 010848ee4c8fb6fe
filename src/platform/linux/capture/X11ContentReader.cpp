#include "platform/linux/capture/X11ContentReader.h"

#include <xcb/randr.h>
#include <xcb/res.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <span>
#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel::platform {

namespace {

struct Free
{
    void operator()(void* reply) const { std::free(reply); }
};

/// What the X server answers, or nothing: it reports an error when a window has gone in the meantime.
template <typename Reply>
using ReplyPointer = std::unique_ptr<Reply, Free>;

template <auto TakeReply, typename Cookie>
auto reply(xcb_connection_t* connection, Cookie cookie)
{
    xcb_generic_error_t* error = nullptr;
    ReplyPointer<std::remove_pointer_t<decltype(TakeReply(connection, cookie, &error))>> result(
        TakeReply(connection, cookie, &error));
    const ReplyPointer<xcb_generic_error_t> ownedError(error);
    return result;
}

Failure noXServer()
{
    return {.code = errorCode(PlatformError::unavailable),
            .description = u"The windows cannot be listed, because no X server answers."_s};
}

QString decoded(const QByteArray& bytes, bool isUtf8)
{
    // The older encodings are Latin-1 and a superset of it that is hardly used any more.
    const char* text = bytes.constData();
    return isUtf8 ? QString::fromUtf8(text) : QString::fromLatin1(text);
}

} // namespace

/// What was asked about one window; every request is answered by one take.
struct X11ContentReader::PendingWindow
{
    xcb_window_t window = XCB_NONE;
    xcb_get_window_attributes_cookie_t attributes{};
    xcb_get_property_cookie_t name{};
    xcb_get_property_cookie_t oldName{};
    xcb_get_property_cookie_t state{};
    xcb_get_property_cookie_t type{};
    xcb_get_property_cookie_t windowClass{};
    xcb_get_property_cookie_t processId{};
    xcb_res_query_client_ids_cookie_t client{};
};

Result<ShareableContent> X11ContentReader::read(bool excludingDesktopWindows, bool onScreenWindowsOnly)
{
    if (!connect()) {
        return std::unexpected(noXServer());
    }
    ShareableContent content;
    content.displays = displays();
    const std::vector<xcb_window_t> windows = clientList();
    std::vector<PendingWindow> pending;
    pending.reserve(windows.size());
    for (const xcb_window_t window : windows) {
        pending.push_back(ask(window));
    }
    xcb_flush(m_connection.get());
    const ApplicationNames names;
    for (const PendingWindow& asked : pending) {
        if (auto window = take(asked, names, excludingDesktopWindows, onScreenWindowsOnly)) {
            content.windows.push_back(std::move(window));
        }
    }
    if (xcb_connection_has_error(m_connection.get()) != 0) {
        return std::unexpected(noXServer());
    }
    return content;
}

bool X11ContentReader::connect()
{
    if (m_connection && xcb_connection_has_error(m_connection.get()) == 0) {
        return true;
    }
    int screenNumber = 0;
    m_connection.reset(xcb_connect(nullptr, &screenNumber));
    if (xcb_connection_has_error(m_connection.get()) != 0) {
        m_connection.reset();
        return false;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(m_connection.get()));
    for (; screenNumber > 0 && screens.rem > 1; --screenNumber) {
        xcb_screen_next(&screens);
    }
    m_root = screens.data->root;
    internAtoms();
    return true;
}

void X11ContentReader::internAtoms()
{
    const std::array<std::pair<xcb_atom_t Atoms::*, QByteArrayView>, 8> wanted{{
        {&Atoms::clientList, "_NET_CLIENT_LIST"},
        {&Atoms::windowName, "_NET_WM_NAME"},
        {&Atoms::windowState, "_NET_WM_STATE"},
        {&Atoms::stateHidden, "_NET_WM_STATE_HIDDEN"},
        {&Atoms::windowType, "_NET_WM_WINDOW_TYPE"},
        {&Atoms::typeDesktop, "_NET_WM_WINDOW_TYPE_DESKTOP"},
        {&Atoms::processId, "_NET_WM_PID"},
        {&Atoms::utf8String, "UTF8_STRING"},
    }};
    std::array<xcb_intern_atom_cookie_t, wanted.size()> cookies{};
    for (std::size_t index = 0; index < wanted.size(); ++index) {
        const QByteArrayView name = wanted[index].second;
        cookies[index] = xcb_intern_atom(m_connection.get(), 0, static_cast<std::uint16_t>(name.size()), name.data());
    }
    for (std::size_t index = 0; index < wanted.size(); ++index) {
        if (const auto atom = reply<xcb_intern_atom_reply>(m_connection.get(), cookies[index])) {
            m_atoms.*(wanted[index].first) = atom->atom;
        }
    }
}

std::vector<xcb_window_t> X11ContentReader::clientList()
{
    return takeNumbers(ask(m_root, m_atoms.clientList));
}

std::vector<std::shared_ptr<const ShareableDisplay>> X11ContentReader::displays()
{
    std::vector<std::shared_ptr<const ShareableDisplay>> found;
    const auto add = [&found](std::uint32_t number) {
        found.push_back(std::make_shared<const ShareableDisplay>(ShareableDisplay{.displayId = number}));
    };
    const auto monitors =
        reply<xcb_randr_get_monitors_reply>(m_connection.get(), xcb_randr_get_monitors(m_connection.get(), m_root, 1));
    if (monitors) {
        for (auto monitor = xcb_randr_get_monitors_monitors_iterator(monitors.get()); monitor.rem > 0;
             xcb_randr_monitor_info_next(&monitor)) {
            // A monitor's name stands for its connector, and the server keeps the name's number for its own lifetime.
            add(monitor.data->name);
        }
    }
    if (found.empty()) {
        add(m_root);
    }
    return found;
}

xcb_get_property_cookie_t X11ContentReader::ask(xcb_window_t window, xcb_atom_t property)
{
    constexpr std::uint32_t mostWords = 16'384;
    return xcb_get_property(m_connection.get(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, mostWords);
}

std::optional<X11ContentReader::Property> X11ContentReader::take(xcb_get_property_cookie_t cookie)
{
    const auto property = reply<xcb_get_property_reply>(m_connection.get(), cookie);
    if (!property || property->type == XCB_NONE) {
        return std::nullopt;
    }
    const auto* bytes = static_cast<const char*>(xcb_get_property_value(property.get()));
    return Property{.type = property->type, .bytes = QByteArray(bytes, xcb_get_property_value_length(property.get()))};
}

std::vector<std::uint32_t> X11ContentReader::takeNumbers(xcb_get_property_cookie_t cookie)
{
    const std::optional<Property> property = take(cookie);
    if (!property) {
        return {};
    }
    std::vector<std::uint32_t> numbers(static_cast<std::size_t>(property->bytes.size()) / sizeof(std::uint32_t));
    std::ranges::copy(std::as_bytes(std::span(property->bytes)).first(numbers.size() * sizeof(std::uint32_t)),
                      std::as_writable_bytes(std::span(numbers)).begin());
    return numbers;
}

X11ContentReader::PendingWindow X11ContentReader::ask(xcb_window_t window)
{
    const xcb_res_client_id_spec_t client{.client = window, .mask = XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    return {
        .window = window,
        .attributes = xcb_get_window_attributes(m_connection.get(), window),
        .name = ask(window, m_atoms.windowName),
        .oldName = ask(window, XCB_ATOM_WM_NAME),
        .state = ask(window, m_atoms.windowState),
        .type = ask(window, m_atoms.windowType),
        .windowClass = ask(window, XCB_ATOM_WM_CLASS),
        .processId = ask(window, m_atoms.processId),
        .client = xcb_res_query_client_ids(m_connection.get(), 1, &client),
    };
}

std::shared_ptr<const ShareableWindow> X11ContentReader::take(const PendingWindow& pending,
                                                              const ApplicationNames& names,
                                                              bool excludingDesktopWindows, bool onScreenWindowsOnly)
{
    const auto attributes = reply<xcb_get_window_attributes_reply>(m_connection.get(), pending.attributes);
    const std::vector<std::uint32_t> states = takeNumbers(pending.state);
    const std::vector<std::uint32_t> types = takeNumbers(pending.type);
    const std::optional<QString> title = takeTitle(pending);
    const std::int64_t processId = takeProcess(pending);
    const QByteArray windowClass = take(pending.windowClass).value_or(Property()).bytes;

    const bool isOnScreen = attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE &&
                            std::ranges::find(states, m_atoms.stateHidden) == states.end();
    const bool isDesktop = std::ranges::find(types, m_atoms.typeDesktop) != types.end();
    if (!attributes || (onScreenWindowsOnly && !isOnScreen) || (excludingDesktopWindows && isDesktop)) {
        return nullptr;
    }

    // WM_CLASS is the instance's name and the class's name, each followed by a zero byte.
    const QList<QByteArray> classParts = windowClass.split('\0');
    const QString instanceName = QString::fromLatin1(classParts.value(0));
    const QString className = QString::fromLatin1(classParts.value(1));
    QString applicationName = names.find(instanceName, className);
    if (applicationName.isEmpty()) {
        applicationName = className.isEmpty() ? QString::fromStdString(m_processes.programName(processId)) : className;
    }
    ShareableWindow window{
        .windowId = pending.window, .title = title, .owningApplication = {}, .isOnScreen = isOnScreen};
    if (processId > 0 || !applicationName.isEmpty()) {
        window.owningApplication = {.processId = processId, .applicationName = applicationName};
    }
    return std::make_shared<const ShareableWindow>(std::move(window));
}

std::optional<QString> X11ContentReader::takeTitle(const PendingWindow& pending)
{
    const std::optional<Property> name = take(pending.name);
    const std::optional<Property> oldName = take(pending.oldName);
    if (name) {
        return decoded(name->bytes, true);
    }
    if (oldName) {
        return decoded(oldName->bytes, oldName->type == m_atoms.utf8String);
    }
    return std::nullopt;
}

std::int64_t X11ContentReader::takeProcess(const PendingWindow& pending)
{
    // The server's own knowledge comes first: in a sandbox a client does not know the number by which others know it.
    const auto client = reply<xcb_res_query_client_ids_reply>(m_connection.get(), pending.client);
    const std::vector<std::uint32_t> claimed = takeNumbers(pending.processId);
    if (client) {
        for (auto id = xcb_res_query_client_ids_ids_iterator(client.get()); id.rem > 0;
             xcb_res_client_id_value_next(&id)) {
            const bool isProcessId = (id.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) != 0;
            if (isProcessId && xcb_res_client_id_value_value_length(id.data) > 0) {
                return *xcb_res_client_id_value_value(id.data);
            }
        }
    }
    return claimed.empty() ? 0 : claimed.front();
}

} // namespace quorvel::platform
