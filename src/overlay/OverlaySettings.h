#pragma once

#include "platform/Result.h"
#include "platform/UserDefaults.h"

#include <QJsonObject>
#include <QObject>

namespace quorvel {

/// Size, place and look of the overlay. Nothing is clamped here: the limits belong to where the values are edited.
struct OverlaySettings
{
    Q_GADGET
    Q_PROPERTY(double widthRatio MEMBER widthRatio)
    Q_PROPERTY(double height MEMBER height)
    Q_PROPERTY(double opacity MEMBER opacity)
    Q_PROPERTY(double topOffset MEMBER topOffset)
    Q_PROPERTY(bool clickThrough MEMBER clickThrough)
    Q_PROPERTY(bool isVisible MEMBER isVisible)

public:
    double widthRatio = 0.96; ///< of the main screen's visible width
    double height = 126.0;    ///< points
    double opacity = 0.86;    ///< 0 to 1
    double topOffset = 90.0;  ///< points from the top of the visible area down to the panel's bottom edge
    bool clickThrough = false;
    bool isVisible = false;

    /// The stored settings, or the defaults when nothing usable is stored. Leaves the store as it is.
    [[nodiscard]] static OverlaySettings load(const platform::UserDefaults& store);
    void save(platform::UserDefaults& store) const;

    [[nodiscard]] QJsonObject toJson() const;
    /// All six keys are required; unknown keys are ignored.
    [[nodiscard]] static Result<OverlaySettings> fromJson(const QJsonObject& object);

    friend bool operator==(const OverlaySettings&, const OverlaySettings&) = default;
};

} // namespace quorvel
