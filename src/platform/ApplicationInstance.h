#pragma once

#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>

class QWindow;

namespace quorvel::platform {

/// Makes this program one for each desktop session: a second process hands over what it was started with and leaves.
/// Main thread.
class ApplicationInstance
{
public:
    enum class Role : std::uint8_t {
        first,  ///< this process is the session's; addresses of later ones arrive here
        second, ///< another process has taken the addresses; this one has nothing left to do
        alone,  ///< nobody can be reached; this process goes on by itself
    };

    virtual ~ApplicationInstance() = default;

    /// Finds out the role, once, before the first window is made. A second process hands `addresses` over, or asks the
    /// first to come to the front when there are none; it waits for the answer, for five seconds at most. From then on
    /// the callbacks of a first process are called, with the event loop.
    [[nodiscard]] virtual Role claim(const QStringList& addresses) = 0;

    /// The program was started again without an address.
    std::function<void()> onActivate;
    /// An address was opened with this program; letter for letter as it was given. Follows onActivate.
    std::function<void(QString)> onOpen;

    /// Shows the window, restored, above the others and with the focus, even where another application is in use.
    virtual void bringToFront(QWindow& window) = 0;
};

} // namespace quorvel::platform
