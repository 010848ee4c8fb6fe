#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace quorvel::platform {

/// How the user has asked programs to look.
struct AppearanceSettings
{
    bool isDark = false;
    bool reducesMotion = false;
    /// Red, green and blue as 0xRRGGBB, where the desktop has an accent colour.
    std::optional<std::uint32_t> accent = std::nullopt;

    friend bool operator==(const AppearanceSettings&, const AppearanceSettings&) = default;
};

/// Main thread.
class AppearanceProvider
{
public:
    virtual ~AppearanceProvider() = default;

    /// What is known now; it may become known, or change, at any later time.
    [[nodiscard]] virtual AppearanceSettings settings() const = 0;
    /// Called after each change. The handler replaces the one before.
    virtual void setChangeHandler(std::function<void()> handler) = 0;
};

} // namespace quorvel::platform
