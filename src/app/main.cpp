#include "app/QuorvelApp.h"
#include "backend/BackendOrigin.h"
#include "platform/linux/capture/PipeWireCaptureProvider.h"
#include "platform/linux/capture/X11ShareableContentProvider.h"
#include "platform/linux/desktop/AddressArguments.h"
#include "platform/linux/desktop/DesktopAppearance.h"
#include "platform/linux/desktop/DesktopKeyMonitors.h"
#include "platform/linux/desktop/DesktopPanels.h"
#include "platform/linux/desktop/DesktopScreens.h"
#include "platform/linux/desktop/DesktopWorkspace.h"
#include "platform/linux/desktop/IniUserDefaults.h"
#include "platform/linux/desktop/SecretServiceKeychain.h"
#include "platform/linux/desktop/SessionBusInstance.h"
#include "platform/linux/desktop/SystemClock.h"
#include "platform/linux/desktop/TerminationSignals.h"
#include "platform/linux/network/QtUrlSession.h"
#include "views/MainViewModel.h"
#include "views/SymbolImageProvider.h"

#include <QGuiApplication>
#include <QIcon>
#include <QQmlEngine>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <utility>

using namespace quorvel;
using namespace Qt::StringLiterals;

namespace {

/// The base name of the desktop entry, and so the program's name on the session bus.
const auto applicationId = u"com.quorvel.Quorvel"_s;

/// How long the end of the program waits for the backend's side of the farewell.
constexpr std::chrono::seconds farewellPatience(1);

platform::Services makeServices(QQmlEngine& engine, std::shared_ptr<platform::QtUrlSession> urlSession)
{
    const auto mainThread = std::make_shared<platform::MainThread>();
    return {
        .mainThread = mainThread,
        .clock = std::make_shared<platform::SystemClock>(),
        .urlSession = std::move(urlSession),
        .userDefaults =
            std::make_shared<platform::IniUserDefaultsProvider>(platform::IniUserDefaultsProvider::defaultDirectory()),
        .keychain = std::make_shared<platform::SecretServiceKeychain>(),
        .shareableContent = platform::makeX11ShareableContentProvider(),
        .capture = platform::makePipeWireCaptureProvider(mainThread),
        .screens = std::make_shared<platform::DesktopScreens>(),
        .panels = std::make_shared<platform::DesktopPanels>(engine),
        .keyMonitors = std::make_shared<platform::DesktopKeyMonitors>(),
        .workspace = std::make_shared<platform::DesktopWorkspace>(),
        .appearance = std::make_shared<platform::DesktopAppearance>(),
    };
}

} // namespace

int main(int argc, char** argv)
{
    // Before anything else: the tokens in a callback address are visible to other users until it is wiped.
    const QStringList addresses = platform::takeAddressArguments(argc, argv, u"quorvel"_s);
    QGuiApplication::setApplicationName(u"quorvel"_s);
    QGuiApplication::setApplicationDisplayName(u"Quorvel"_s);
    QGuiApplication::setApplicationVersion(u"" QUORVEL_VERSION ""_s);
    QGuiApplication::setDesktopFileName(applicationId);
    const QGuiApplication application(argc, argv);
    QGuiApplication::setWindowIcon(QIcon(u":/%1.svg"_s.arg(applicationId)));

    platform::SessionBusInstance instance(applicationId);
    if (instance.claim(addresses) == platform::ApplicationInstance::Role::second) {
        return EXIT_SUCCESS;
    }

    const platform::TerminationSignals terminationSignals(QCoreApplication::quit);

    QQmlEngine engine;
    engine.addImageProvider(u"symbols"_s, new SymbolImageProvider);
    const auto urlSession = std::make_shared<platform::QtUrlSession>();
    QuorvelApp app(makeServices(engine, urlSession), QUrl(QString::fromLatin1(backendOrigin)), engine);
    if (!app.showMainWindow(std::make_unique<MainViewModel>(app.appState()))) {
        return EXIT_FAILURE;
    }
    instance.onActivate = [&instance, &app] { instance.bringToFront(*app.mainWindow()); };
    instance.onOpen = [&app](const QString& address) { app.openUrl(address); };
    for (const QString& address : addresses) {
        app.openUrl(address);
    }
    const int status = QGuiApplication::exec();

    // The shutdown has been scheduled by now; it runs here.
    QCoreApplication::sendPostedEvents();
    urlSession->awaitClosed(farewellPatience);
    return status;
}
