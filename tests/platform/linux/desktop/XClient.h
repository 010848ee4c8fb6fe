#pragma once

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QRect>

#include <xcb/xcb.h>

#include <cstdint>
#include <initializer_list>
#include <vector>

namespace quorvel::test {

/// Another X client than the toolkit: what it reads comes from the server, its windows belong to another application as
/// far as the toolkit knows, and its input events are the server's own.
class XClient final
{
public:
    /// Whether the window asks its window manager for the whole screen.
    enum class WindowKind : std::uint8_t { normal, fullScreen };

    XClient();
    ~XClient();
    XClient(const XClient&) = delete;
    XClient(XClient&&) = delete;
    XClient& operator=(const XClient&) = delete;
    XClient& operator=(XClient&&) = delete;

    /// In pixels of the root window.
    [[nodiscard]] QRect geometry(xcb_window_t window) const;
    [[nodiscard]] bool isViewable(xcb_window_t window) const;
    [[nodiscard]] bool isOverrideRedirect(xcb_window_t window) const;
    /// The numbers in a property of 32-bit values.
    [[nodiscard]] std::vector<std::uint32_t> property(xcb_window_t window, const QByteArray& name) const;
    /// The names in a property of atoms.
    [[nodiscard]] QList<QByteArray> atoms(xcb_window_t window, const QByteArray& name) const;
    [[nodiscard]] QList<QRect> inputRegion(xcb_window_t window) const;
    /// Whether `upper` is stacked above `lower`, whichever windows their managers put around them.
    [[nodiscard]] bool isAbove(xcb_window_t upper, xcb_window_t lower) const;
    [[nodiscard]] xcb_window_t focus() const;
    [[nodiscard]] xcb_window_t rootWindow() const { return m_screen->root; }
    /// What the screen shows, in pixels of the root window.
    [[nodiscard]] QImage image(QRect area) const;
    /// The colour at one place, 0xRRGGBB.
    [[nodiscard]] std::uint32_t pixel(QPoint position) const;

    /// A mapped window that counts the presses of buttons and keys that it gets.
    [[nodiscard]] xcb_window_t makeWindow(QRect geometry, WindowKind kind = WindowKind::normal,
                                          std::uint32_t colour = 0xFFFFFFU) const;
    /// Covers the whole screen with a pattern, past the window manager.
    void makeWallpaper(const QImage& tile) const;
    /// Asks the window manager to activate it, as a pager does.
    void activate(xcb_window_t window) const;
    void showDesktop(std::uint32_t number) const;
    /// How many presses arrived at this client's windows since the last call.
    [[nodiscard]] int takePresses() const;

    void click(QPoint position) const;
    /// Presses the keys in order and releases them in reverse.
    void chord(std::initializer_list<std::uint8_t> keyCodes) const;
    void key(std::uint8_t keyCode, bool isPress) const;

private:
    [[nodiscard]] xcb_atom_t atom(const QByteArray& name) const;
    [[nodiscard]] xcb_window_t topLevel(xcb_window_t window) const;
    void fake(std::uint8_t type, std::uint8_t detail, QPoint position = {}) const;

    xcb_connection_t* m_connection;
    xcb_screen_t* m_screen;
};

} // namespace quorvel::test
