#include "app/QuorvelApp.h"

#include "app/WindowPlacement.h"

#include <QGuiApplication>
#include <QQmlComponent>
#include <QScreen>
#include <QVariantMap>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

QScreen* screenNamed(const QString& name)
{
    const QList<QScreen*> screens = QGuiApplication::screens();
    const auto found = std::ranges::find_if(screens, [&name](const QScreen* screen) { return screen->name() == name; });
    return found != screens.end() ? *found : QGuiApplication::primaryScreen();
}

} // namespace

QuorvelApp::QuorvelApp(const platform::Services& services, const QUrl& backendOrigin, QQmlEngine& engine)
    : m_engine(engine)
    , m_appState(AppState::create(services, backendOrigin))
    , m_appearance(services.appearance)
    , m_appDelegate(services.mainThread)
{
    QQmlEngine::setObjectOwnership(m_appState.get(), QQmlEngine::CppOwnership);
    QQmlEngine::setObjectOwnership(&m_appearance, QQmlEngine::CppOwnership);
    connect(&engine, &QQmlEngine::quit, this, &QCoreApplication::quit);
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, [this] {
        rememberWindow();
        m_appDelegate.applicationWillTerminate();
    });
}

bool QuorvelApp::showMainWindow(std::unique_ptr<QObject> viewModel)
{
    m_viewModel = std::move(viewModel);
    QQmlEngine::setObjectOwnership(m_viewModel.get(), QQmlEngine::CppOwnership);
    const WindowPlacement placement = WindowPlacement::load(m_appState->settings());
    QVariantMap properties{
        {u"main"_s, QVariant::fromValue(m_viewModel.get())},
        {u"appearance"_s, QVariant::fromValue(&m_appearance)},
    };
    m_viewModel->setProperty("sideWidth", placement.sideWidth);
    if (const QScreen* const screen = screenNamed(placement.screen)) {
        const QRect frame = placement.frameOn(screen->availableGeometry(), m_appState->overlaySettings());
        properties.insert({{u"x"_s, frame.x()}, {u"y"_s, frame.y()}});
        properties.insert({{u"width"_s, frame.width()}, {u"height"_s, frame.height()}});
    }
    QQmlComponent component(&m_engine, QUrl(u"qrc:/qt/qml/Quorvel/Views/MainView.qml"_s));
    m_mainWindow.reset(qobject_cast<QQuickWindow*>(component.createWithInitialProperties(properties)));
    if (!m_mainWindow) {
        qCritical("The main window cannot be loaded: %s", qPrintable(component.errorString()));
        return false;
    }
    m_appDelegate.appState = m_appState;
    return true;
}

void QuorvelApp::openUrl(const QString& address)
{
    m_appState->handleAuthCallback(address);
}

void QuorvelApp::rememberWindow()
{
    if (!m_mainWindow) {
        return;
    }
    WindowPlacement placement = WindowPlacement::load(m_appState->settings());
    placement.sideWidth = qRound(m_viewModel->property("sideWidth").toReal());
    placement.screen = m_mainWindow->screen() != nullptr ? m_mainWindow->screen()->name() : QString();
    // A maximised window's size is the display's; the size before is what the user chose.
    if (m_mainWindow->windowStates() == Qt::WindowNoState) {
        placement.size = m_mainWindow->size();
    }
    placement.save(m_appState->settings());
}

} // namespace quorvel
