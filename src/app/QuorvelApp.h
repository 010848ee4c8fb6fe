#pragma once

#include "app/AppState.h"
#include "platform/Services.h"

#include <QObject>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QUrl>

#include <memory>

namespace quorvel {

/// The application: it owns the one state and shows it in the main window. Main thread.
class QuorvelApp final : public QObject
{
public:
    /// Builds the state. `engine` shows the screens; the modules with their types are linked into the program.
    QuorvelApp(const platform::Services& services, const QUrl& backendOrigin,
               std::unique_ptr<QQmlApplicationEngine> engine);

    /// Opens the main window. False when its view cannot be loaded; the reason is in the log.
    [[nodiscard]] bool showMainWindow();

    [[nodiscard]] AppState& appState() { return *m_appState; }
    /// Null until it has been shown.
    [[nodiscard]] QQuickWindow* mainWindow() const;

private:
    // The state outlives the views that bind to it.
    std::shared_ptr<AppState> m_appState;
    std::unique_ptr<QQmlApplicationEngine> m_engine;
};

} // namespace quorvel
