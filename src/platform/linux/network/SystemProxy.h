#pragma once

#include "platform/Task.h"

#include <QNetworkProxy>
#include <QUrl>

namespace quorvel::platform {

/// The proxy that the desktop's settings name for an address, able to carry any connection; none for this machine
/// itself. The settings are read off the main thread, because automatic configuration can take a download.
[[nodiscard]] Task<Result<QNetworkProxy>> systemProxy(QUrl url);

} // namespace quorvel::platform
