#pragma once

#include "platform/Panel.h"

class QQmlEngine;

namespace quorvel::platform {

/// Panels that no window manager manages: only such windows stay above a full-screen window with the focus everywhere,
/// and they are on every desktop and in no task bar by nature.
class DesktopPanels final : public PanelProvider
{
public:
    /// `engine` loads the contents and outlives the panels.
    explicit DesktopPanels(QQmlEngine& engine);

    [[nodiscard]] std::unique_ptr<Panel> makePanel(const PanelConfiguration& configuration,
                                                   const PanelContent& content) override;

private:
    QQmlEngine& m_engine;
};

} // namespace quorvel::platform
