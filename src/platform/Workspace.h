#pragma once

#include <QUrl>

namespace quorvel::platform {

/// Addresses of the desktop's own settings; only Workspace::open understands them.
inline constexpr auto privacySettingsAddress = "desktop-settings:privacy";
inline constexpr auto soundSettingsAddress = "desktop-settings:sound";

/// The desktop around the program. Main thread.
class Workspace
{
public:
    virtual ~Workspace() = default;

    /// Opens an address with the program that the user chose for it. False when nothing could be started.
    virtual bool open(const QUrl& url) = 0;
};

} // namespace quorvel::platform
