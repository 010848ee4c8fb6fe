#pragma once

#include "platform/Appearance.h"
#include "platform/KeyMonitor.h"
#include "platform/Panel.h"
#include "platform/Workspace.h"

#include <QStringList>

#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace quorvel::test {

class FakeScreens final : public platform::ScreenProvider
{
public:
    [[nodiscard]] std::optional<QRectF> mainScreenVisibleFrame() const override { return visibleFrame; }
    void setChangeHandler(std::function<void()> handler) override { changeHandler = std::move(handler); }

    std::optional<QRectF> visibleFrame = QRectF(0, 0, 1440, 875);
    std::function<void()> changeHandler;
};

class FakeAppearance final : public platform::AppearanceProvider
{
public:
    [[nodiscard]] platform::AppearanceSettings settings() const override { return current; }
    void setChangeHandler(std::function<void()> handler) override { changeHandler = std::move(handler); }

    platform::AppearanceSettings current;
    std::function<void()> changeHandler;
};

/// What became of one panel; it outlives the panel.
struct PanelRecord
{
    platform::PanelConfiguration configuration;
    platform::PanelContent content;
    QRectF frame;
    double alpha = 1.0;
    bool ignoresMouseEvents = false;
    bool isVisible = false;
    /// The names of the calls, in order.
    QStringList calls;
};

class FakePanel final : public platform::Panel
{
public:
    explicit FakePanel(std::shared_ptr<PanelRecord> record)
        : m_record(std::move(record))
    {
    }

    void setFrame(const QRectF& frame) override
    {
        m_record->frame = frame;
        m_record->calls << QStringLiteral("setFrame");
    }
    void setAlpha(double alpha) override
    {
        m_record->alpha = alpha;
        m_record->calls << QStringLiteral("setAlpha");
    }
    void setIgnoresMouseEvents(bool ignores) override
    {
        m_record->ignoresMouseEvents = ignores;
        m_record->calls << QStringLiteral("setIgnoresMouseEvents");
    }
    void orderFrontRegardless() override
    {
        m_record->isVisible = true;
        m_record->calls << QStringLiteral("orderFrontRegardless");
    }
    void orderOut() override
    {
        m_record->isVisible = false;
        m_record->calls << QStringLiteral("orderOut");
    }

private:
    std::shared_ptr<PanelRecord> m_record;
};

class FakePanels final : public platform::PanelProvider
{
public:
    [[nodiscard]] std::unique_ptr<platform::Panel> makePanel(const platform::PanelConfiguration& configuration,
                                                             const platform::PanelContent& content) override
    {
        if (refuses) {
            return nullptr;
        }
        panels.push_back(std::make_shared<PanelRecord>());
        panels.back()->configuration = configuration;
        panels.back()->content = content;
        return std::make_unique<FakePanel>(panels.back());
    }

    bool refuses = false;
    std::vector<std::shared_ptr<PanelRecord>> panels;
};

class FakeKeyMonitors final : public platform::KeyMonitorProvider
{
public:
    [[nodiscard]] std::unique_ptr<platform::KeyMonitor> addLocalKeyDownMonitor(Handler handler) override
    {
        return add(localHandlers, refusesLocal, std::move(handler));
    }
    [[nodiscard]] std::unique_ptr<platform::KeyMonitor> addGlobalKeyDownMonitor(Handler handler) override
    {
        return add(globalHandlers, refusesGlobal, std::move(handler));
    }

    bool refusesLocal = false;
    bool refusesGlobal = false;
    std::vector<Handler> localHandlers;
    std::vector<Handler> globalHandlers;

private:
    static std::unique_ptr<platform::KeyMonitor> add(std::vector<Handler>& handlers, bool refuses, Handler handler)
    {
        if (refuses) {
            return nullptr;
        }
        handlers.push_back(std::move(handler));
        return std::make_unique<platform::KeyMonitor>();
    }
};

class FakeWorkspace final : public platform::Workspace
{
public:
    bool open(const QUrl& url) override
    {
        opened.push_back(url);
        return opens;
    }

    bool opens = true;
    std::vector<QUrl> opened;
};

} // namespace quorvel::test
