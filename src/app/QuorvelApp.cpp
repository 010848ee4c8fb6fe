#include "app/QuorvelApp.h"

#include <QCoreApplication>
#include <QQmlComponent>
#include <QVariantMap>

using namespace Qt::StringLiterals;

namespace quorvel {

QuorvelApp::QuorvelApp(const platform::Services& services, const QUrl& backendOrigin, QQmlEngine& engine)
    : m_engine(engine)
    , m_appState(AppState::create(services, backendOrigin))
{
    QQmlEngine::setObjectOwnership(m_appState.get(), QQmlEngine::CppOwnership);
    // The backend is told goodbye while the services and the event loop's objects are still there.
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, [this] { m_appState->shutdown(); });
}

bool QuorvelApp::showMainWindow()
{
    QQmlComponent component(&m_engine, QUrl(u"qrc:/qt/qml/Quorvel/Views/MainView.qml"_s));
    const QVariantMap properties{{u"appState"_s, QVariant::fromValue(m_appState.get())}};
    m_mainWindow.reset(qobject_cast<QQuickWindow*>(component.createWithInitialProperties(properties)));
    if (!m_mainWindow) {
        qCritical("The main window cannot be loaded: %s", qPrintable(component.errorString()));
    }
    return m_mainWindow != nullptr;
}

} // namespace quorvel
