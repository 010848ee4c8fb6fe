#pragma once

#include <QRectF>
#include <QUrl>
#include <QVariantMap>

#include <functional>
#include <memory>
#include <optional>

namespace quorvel::platform {

/// Screen coordinates here have their origin at the bottom left of the main screen and grow upwards, in points
/// (device-independent pixels): a rectangle's x and y are its left and bottom edges.
class ScreenProvider
{
public:
    virtual ~ScreenProvider() = default;

    /// The main screen's area without task bars and docks; nothing when there is no screen.
    [[nodiscard]] virtual std::optional<QRectF> mainScreenVisibleFrame() const = 0;

    /// Called on the main thread when the answer above may have changed. One handler; a later one replaces it.
    virtual void setChangeHandler(std::function<void()> handler) = 0;
};

/// What a panel shows: a QML component and the values of its required properties. Beside these the component requires a
/// property `bool isTranslucent`, which the panel provides: false while the desktop does not blend windows. It may have
/// a `real cornerRadius`, in points, which a desktop that blurs what shines through keeps to.
struct PanelContent
{
    QUrl component;
    QVariantMap initialProperties;
};

struct PanelConfiguration
{
    static constexpr int nonActivating = 128;       ///< style mask: no frame, never takes the focus
    static constexpr int buffered = 2;              ///< backing
    static constexpr int statusLevel = 25;          ///< above normal and floating windows
    static constexpr int canJoinAllSpaces = 1;      ///< collection behaviour
    static constexpr int stationary = 16;           ///< collection behaviour
    static constexpr int fullScreenAuxiliary = 256; ///< collection behaviour: beside full-screen windows

    QRectF contentRect;
    int styleMask = 0;
    int backing = 0;
    bool defer = false;
    int level = 0;
    int collectionBehavior = 0;
    bool isOpaque = true;
    bool hasClearBackground = false;
    bool hasShadow = false;
    bool hidesOnDeactivate = true;
    bool ignoresMouseEvents = false;

    friend bool operator==(const PanelConfiguration&, const PanelConfiguration&) = default;
};

/// A floating window. Main thread. It never takes the keyboard focus.
class Panel
{
public:
    virtual ~Panel() = default;

    /// At once, without animation.
    virtual void setFrame(const QRectF& frame) = 0;
    /// 0 is invisible, 1 opaque.
    virtual void setAlpha(double alpha) = 0;
    virtual void setIgnoresMouseEvents(bool ignores) = 0;
    /// Shows it above the others, whichever application is active.
    virtual void orderFrontRegardless() = 0;
    virtual void orderOut() = 0;
};

class PanelProvider
{
public:
    virtual ~PanelProvider() = default;

    /// A hidden panel; null when the desktop cannot show one.
    [[nodiscard]] virtual std::unique_ptr<Panel> makePanel(const PanelConfiguration& configuration,
                                                           const PanelContent& content) = 0;
};

} // namespace quorvel::platform
