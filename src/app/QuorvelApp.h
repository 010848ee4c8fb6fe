#pragma once

#include "app/AppDelegate.h"
#include "app/AppState.h"
#include "app/Appearance.h"
#include "platform/Services.h"

#include <QObject>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QUrl>

#include <memory>

namespace quorvel {

/// The application: it owns the one state, shows it in the main window and ends it with the program. Main thread.
class QuorvelApp final : public QObject
{
public:
    /// Builds the state. `engine` shows the screens and outlives the application; the modules with their types are
    /// linked into the program.
    QuorvelApp(const platform::Services& services, const QUrl& backendOrigin, QQmlEngine& engine);

    /// Opens the main window where it was last closed; it binds to `viewModel`, whose "sideWidth" is remembered. False
    /// when its view cannot be loaded; the reason is in the log.
    [[nodiscard]] bool showMainWindow(std::unique_ptr<QObject> viewModel);
    /// Takes an address that the system opened with this program.
    void openUrl(const QString& address);

    [[nodiscard]] AppState& appState() { return *m_appState; }
    /// Null until it has been shown.
    [[nodiscard]] QQuickWindow* mainWindow() const { return m_mainWindow.get(); }

private:
    void rememberWindow();

    QQmlEngine& m_engine;
    // What the window binds to outlives it.
    std::shared_ptr<AppState> m_appState;
    Appearance m_appearance;
    AppDelegate m_appDelegate;
    std::unique_ptr<QObject> m_viewModel;
    std::unique_ptr<QQuickWindow> m_mainWindow;
};

} // namespace quorvel
