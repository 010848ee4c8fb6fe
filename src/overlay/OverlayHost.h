#pragma once

#include "overlay/OverlaySettings.h"

namespace quorvel {

class OverlayViewState;

/// What the overlay asks of the application, which implements it. Main thread.
class OverlayHost
{
public:
    virtual ~OverlayHost() = default;

    [[nodiscard]] virtual const OverlaySettings& currentOverlaySettings() const = 0;
    virtual void setCurrentOverlaySettings(const OverlaySettings& settings) = 0;
    /// Stores and applies the current settings; outside share mode the overlay is hidden by it.
    virtual void saveOverlaySettings() = 0;
    /// Shows or hides the overlay; share mode only.
    virtual void toggleOverlay() = 0;
    virtual void clearSuggestions() = 0;
    /// What the overlay's view binds to; it lives as long as the host.
    [[nodiscard]] virtual OverlayViewState* overlayViewState() = 0;
};

} // namespace quorvel
