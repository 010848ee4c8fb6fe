#include "app/QuorvelApp.h"

#include <QCoreApplication>
#include <QVariantMap>

#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel {

QuorvelApp::QuorvelApp(const platform::Services& services, const QUrl& backendOrigin,
                       std::unique_ptr<QQmlApplicationEngine> engine)
    : m_appState(AppState::create(services, backendOrigin))
    , m_engine(std::move(engine))
{
    QQmlEngine::setObjectOwnership(m_appState.get(), QQmlEngine::CppOwnership);
    // Closing the window and quitting both end the event loop; the backend is told goodbye before the services go.
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, [this] { m_appState->shutdown(); });
}

bool QuorvelApp::showMainWindow()
{
    m_engine->setInitialProperties({{u"appState"_s, QVariant::fromValue(m_appState.get())}});
    m_engine->load(QUrl(u"qrc:/qt/qml/Quorvel/Views/MainView.qml"_s));
    return !m_engine->rootObjects().isEmpty();
}

QQuickWindow* QuorvelApp::mainWindow() const
{
    return m_engine->rootObjects().isEmpty() ? nullptr
                                             : qobject_cast<QQuickWindow*>(m_engine->rootObjects().constFirst());
}

} // namespace quorvel
