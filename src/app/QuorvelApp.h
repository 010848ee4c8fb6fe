#pragma once

#include "app/AppState.h"
#include "platform/Services.h"

#include <QObject>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QUrl>

#include <memory>

namespace quorvel {

/// The application: it owns the one state and shows it in the main window. Main thread.
class QuorvelApp final : public QObject
{
public:
    /// Builds the state. `engine` shows the screens and outlives the application; the modules with their types are
    /// linked into the program.
    QuorvelApp(const platform::Services& services, const QUrl& backendOrigin, QQmlEngine& engine);

    /// Opens the main window. False when its view cannot be loaded; the reason is in the log.
    [[nodiscard]] bool showMainWindow();

    [[nodiscard]] AppState& appState() { return *m_appState; }
    /// Null until it has been shown.
    [[nodiscard]] QQuickWindow* mainWindow() const { return m_mainWindow.get(); }

private:
    QQmlEngine& m_engine;
    // The state outlives the window that binds to it.
    std::shared_ptr<AppState> m_appState;
    std::unique_ptr<QQuickWindow> m_mainWindow;
};

} // namespace quorvel
