#pragma once

#include "platform/Workspace.h"

namespace quorvel::platform {

/// Opens addresses with the desktop's opener, and its own settings with whichever settings program is installed: that
/// of the running desktop, else any.
class DesktopWorkspace final : public Workspace
{
public:
    bool open(const QUrl& url) override;
};

} // namespace quorvel::platform
