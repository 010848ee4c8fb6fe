#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace quorvel::platform {

/// One press of a key. The codes do not depend on the keyboard layout.
struct KeyDownEvent
{
    static constexpr std::uint64_t shiftFlag = 1U << 17U;
    static constexpr std::uint64_t controlFlag = 1U << 18U;
    static constexpr std::uint64_t optionFlag = 1U << 19U;
    static constexpr std::uint64_t commandFlag = 1U << 20U; ///< the Super (logo) key

    static constexpr std::uint16_t keyC = 8;
    static constexpr std::uint16_t keySpace = 49;
    static constexpr std::uint16_t keyDownArrow = 125;
    static constexpr std::uint16_t keyUpArrow = 126;

    std::uint64_t modifierFlags = 0;
    std::uint16_t keyCode = 0;
};

/// An installed monitor; destroying it removes it.
class KeyMonitor
{
public:
    virtual ~KeyMonitor() = default;
};

/// Watches key presses without consuming them. Main thread; handlers run on any thread. A press counts once: it reaches
/// the local handler while a window of this program has the focus, else the global one.
class KeyMonitorProvider
{
public:
    using Handler = std::function<void(KeyDownEvent)>;

    virtual ~KeyMonitorProvider() = default;

    /// Null when the desktop refuses it.
    [[nodiscard]] virtual std::unique_ptr<KeyMonitor> addLocalKeyDownMonitor(Handler handler) = 0;
    [[nodiscard]] virtual std::unique_ptr<KeyMonitor> addGlobalKeyDownMonitor(Handler handler) = 0;
};

} // namespace quorvel::platform
