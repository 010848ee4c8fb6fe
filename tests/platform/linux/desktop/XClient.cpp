#include "XClient.h"

#include "platform/linux/desktop/X11.h"

#include <xcb/shape.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <ranges>
#include <span>

namespace quorvel::test {

using platform::x11::Reply;

XClient::XClient()
    : m_connection(xcb_connect(nullptr, nullptr))
    , m_screen(xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data)
{
}

XClient::~XClient()
{
    xcb_disconnect(m_connection);
}

QRect XClient::geometry(xcb_window_t window) const
{
    const Reply<xcb_get_geometry_reply_t> size(
        xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, window), nullptr));
    const Reply<xcb_translate_coordinates_reply_t> position(xcb_translate_coordinates_reply(
        m_connection, xcb_translate_coordinates(m_connection, window, m_screen->root, 0, 0), nullptr));
    return size && position ? QRect(position->dst_x, position->dst_y, size->width, size->height) : QRect();
}

bool XClient::isViewable(xcb_window_t window) const
{
    const Reply<xcb_get_window_attributes_reply_t> reply(
        xcb_get_window_attributes_reply(m_connection, xcb_get_window_attributes(m_connection, window), nullptr));
    return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
}

bool XClient::isOverrideRedirect(xcb_window_t window) const
{
    const Reply<xcb_get_window_attributes_reply_t> reply(
        xcb_get_window_attributes_reply(m_connection, xcb_get_window_attributes(m_connection, window), nullptr));
    return reply && reply->override_redirect != 0;
}

std::vector<std::uint32_t> XClient::property(xcb_window_t window, const QByteArray& name) const
{
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        m_connection, xcb_get_property(m_connection, 0, window, atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, 1024),
        nullptr));
    if (!reply || reply->format != 32) {
        return {};
    }
    const auto* const values = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    return {values, values + reply->value_len};
}

QList<QByteArray> XClient::atoms(xcb_window_t window, const QByteArray& name) const
{
    QList<QByteArray> names;
    for (const std::uint32_t value : property(window, name)) {
        const Reply<xcb_get_atom_name_reply_t> reply(
            xcb_get_atom_name_reply(m_connection, xcb_get_atom_name(m_connection, value), nullptr));
        if (reply) {
            names << QByteArray(xcb_get_atom_name_name(reply.get()), xcb_get_atom_name_name_length(reply.get()));
        }
    }
    return names;
}

QList<QRect> XClient::inputRegion(xcb_window_t window) const
{
    const Reply<xcb_shape_get_rectangles_reply_t> reply(xcb_shape_get_rectangles_reply(
        m_connection, xcb_shape_get_rectangles(m_connection, window, XCB_SHAPE_SK_INPUT), nullptr));
    QList<QRect> rectangles;
    if (reply) {
        const std::span all(xcb_shape_get_rectangles_rectangles(reply.get()), reply->rectangles_len);
        std::ranges::transform(all, std::back_inserter(rectangles),
                               [](const xcb_rectangle_t& it) { return QRect(it.x, it.y, it.width, it.height); });
    }
    return rectangles;
}

bool XClient::isAbove(xcb_window_t upper, xcb_window_t lower) const
{
    const Reply<xcb_query_tree_reply_t> reply(
        xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, m_screen->root), nullptr));
    if (!reply) {
        return false;
    }
    const std::span stack(xcb_query_tree_children(reply.get()), reply->children_len); // bottom first
    return std::ranges::find(stack, topLevel(upper)) > std::ranges::find(stack, topLevel(lower));
}

xcb_window_t XClient::focus() const
{
    const Reply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    return reply ? reply->focus : xcb_window_t{XCB_WINDOW_NONE};
}

QImage XClient::image(QRect area) const
{
    const Reply<xcb_get_image_reply_t> reply(xcb_get_image_reply(
        m_connection,
        xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_screen->root, static_cast<std::int16_t>(area.x()),
                      static_cast<std::int16_t>(area.y()), static_cast<std::uint16_t>(area.width()),
                      static_cast<std::uint16_t>(area.height()), ~0U),
        nullptr));
    if (!reply) {
        return {};
    }
    return QImage(xcb_get_image_data(reply.get()), area.width(), area.height(), QImage::Format_RGB32).copy();
}

std::uint32_t XClient::pixel(QPoint position) const
{
    return image(QRect(position, QSize(1, 1))).pixel(0, 0) & 0xFFFFFFU;
}

xcb_window_t XClient::makeWindow(QRect geometry, WindowKind kind, std::uint32_t colour) const
{
    const xcb_window_t window = xcb_generate_id(m_connection);
    const std::array<std::uint32_t, 2> values{colour, XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_KEY_PRESS};
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window, m_screen->root,
                      static_cast<std::int16_t>(geometry.x()), static_cast<std::int16_t>(geometry.y()),
                      static_cast<std::uint16_t>(geometry.width()), static_cast<std::uint16_t>(geometry.height()), 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK,
                      values.data());
    // A size hint with a position that the user chose: managers honour it.
    constexpr std::array<std::uint32_t, 18> hints{1};
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS,
                        32, hints.size(), hints.data());
    // It wants the keyboard.
    constexpr std::array<std::uint32_t, 9> managerHints{1, 1};
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_HINTS, XCB_ATOM_WM_HINTS, 32,
                        managerHints.size(), managerHints.data());
    if (kind == WindowKind::fullScreen) {
        const xcb_atom_t state = atom("_NET_WM_STATE_FULLSCREEN");
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, atom("_NET_WM_STATE"), XCB_ATOM_ATOM, 32, 1,
                            &state);
    }
    xcb_map_window(m_connection, window);
    xcb_flush(m_connection);
    return window;
}

void XClient::makeWallpaper(const QImage& tile) const
{
    const QImage pixels = tile.convertToFormat(QImage::Format_RGB32);
    const auto width = static_cast<std::uint16_t>(pixels.width());
    const auto height = static_cast<std::uint16_t>(pixels.height());
    const xcb_pixmap_t pixmap = xcb_generate_id(m_connection);
    xcb_create_pixmap(m_connection, m_screen->root_depth, pixmap, m_screen->root, width, height);
    const xcb_gcontext_t context = xcb_generate_id(m_connection);
    xcb_create_gc(m_connection, context, pixmap, 0, nullptr);
    xcb_put_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context, width, height, 0, 0, 0,
                  m_screen->root_depth, static_cast<std::uint32_t>(pixels.sizeInBytes()), pixels.constBits());
    const std::array<std::uint32_t, 2> values{pixmap, 1};
    const xcb_window_t window = xcb_generate_id(m_connection);
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window, m_screen->root, 0, 0, m_screen->width_in_pixels,
                      m_screen->height_in_pixels, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXMAP | XCB_CW_OVERRIDE_REDIRECT, values.data());
    xcb_map_window(m_connection, window);
    static_cast<void>(focus()); // What others map from now on lies above it.
}

void XClient::activate(xcb_window_t window) const
{
    platform::x11::sendToWindowManager(m_connection, window, "_NET_ACTIVE_WINDOW", 2);
}

void XClient::showDesktop(std::uint32_t number) const
{
    platform::x11::sendToWindowManager(m_connection, m_screen->root, "_NET_CURRENT_DESKTOP", number);
}

int XClient::takePresses() const
{
    // The answer to a request comes after the events before it.
    static_cast<void>(focus());
    int presses = 0;
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(m_connection)}) {
        const std::uint8_t type = platform::x11::eventType(*event);
        presses += type == XCB_BUTTON_PRESS || type == XCB_KEY_PRESS ? 1 : 0;
    }
    return presses;
}

void XClient::click(QPoint position) const
{
    fake(XCB_MOTION_NOTIFY, 0, position);
    fake(XCB_BUTTON_PRESS, 1);
    fake(XCB_BUTTON_RELEASE, 1);
    static_cast<void>(focus());
}

void XClient::chord(std::initializer_list<std::uint8_t> keyCodes) const
{
    for (const std::uint8_t keyCode : keyCodes) {
        fake(XCB_KEY_PRESS, keyCode);
    }
    for (const std::uint8_t keyCode : std::views::reverse(keyCodes)) {
        fake(XCB_KEY_RELEASE, keyCode);
    }
    static_cast<void>(focus());
}

void XClient::key(std::uint8_t keyCode, bool isPress) const
{
    fake(isPress ? XCB_KEY_PRESS : XCB_KEY_RELEASE, keyCode);
    static_cast<void>(focus());
}

xcb_atom_t XClient::atom(const QByteArray& name) const
{
    return platform::x11::atom(m_connection, name);
}

xcb_window_t XClient::topLevel(xcb_window_t window) const
{
    while (true) {
        const Reply<xcb_query_tree_reply_t> reply(
            xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, window), nullptr));
        if (!reply || reply->parent == m_screen->root || reply->parent == XCB_WINDOW_NONE) {
            return window;
        }
        window = reply->parent;
    }
}

void XClient::fake(std::uint8_t type, std::uint8_t detail, QPoint position) const
{
    xcb_test_fake_input(m_connection, type, detail, XCB_CURRENT_TIME, m_screen->root,
                        static_cast<std::int16_t>(position.x()), static_cast<std::int16_t>(position.y()), 0);
    xcb_flush(m_connection);
}

} // namespace quorvel::test
