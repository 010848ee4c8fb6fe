#include "platform/linux/capture/X11ShareableContentProvider.h"
#include "support/EventLoop.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

struct WindowProperties
{
    QByteArray name;    ///< _NET_WM_NAME
    QByteArray oldName; ///< WM_NAME
    QByteArray instanceName;
    QByteArray className;
};

/// A client of the headless desktop's X server with windows of all kinds.
class XClient
{
public:
    XClient() = default;
    ~XClient() { xcb_disconnect(m_connection); }
    XClient(const XClient&) = delete;
    XClient(XClient&&) = delete;
    XClient& operator=(const XClient&) = delete;
    XClient& operator=(XClient&&) = delete;

    xcb_window_t makeWindow(const WindowProperties& properties)
    {
        const xcb_window_t window = xcb_generate_id(m_connection);
        xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window, m_screen->root, 10, 10, 200, 100, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, m_screen->root_visual, 0, nullptr);
        setText(window, atom("_NET_WM_NAME"), atom("UTF8_STRING"), properties.name);
        setText(window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, properties.oldName);
        if (!properties.className.isEmpty()) {
            setText(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING,
                    properties.instanceName + '\0' + properties.className + '\0');
        }
        const std::uint32_t wrongProcess = 1; // as from a sandbox with numbers of its own
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, atom("_NET_WM_PID"), XCB_ATOM_CARDINAL, 32, 1,
                            &wrongProcess);
        xcb_map_window(m_connection, window);
        xcb_flush(m_connection);
        return window;
    }

    void iconify(xcb_window_t window)
    {
        constexpr std::uint32_t iconicState = 3;
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window;
        message.type = atom("WM_CHANGE_STATE");
        message.data.data32[0] = iconicState;
        xcb_send_event(m_connection, 0, m_screen->root,
                       XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                       reinterpret_cast<const char*>(&message));
        xcb_flush(m_connection);
    }

    void destroy(xcb_window_t window)
    {
        xcb_destroy_window(m_connection, window);
        sync();
    }

private:
    xcb_atom_t atom(QByteArrayView name)
    {
        const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
            xcb_intern_atom_reply(
                m_connection, xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(name.size()), name.data()),
                nullptr),
            &std::free);
        return reply->atom;
    }
    void setText(xcb_window_t window, xcb_atom_t property, xcb_atom_t type, const QByteArray& text)
    {
        if (!text.isNull()) {
            xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, property, type, 8,
                                static_cast<std::uint32_t>(text.size()), text.constData());
        }
    }
    void sync() { std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr)); }

    xcb_connection_t* m_connection = xcb_connect(nullptr, nullptr);
    xcb_screen_t* m_screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
};

bool xrandr(const QStringList& arguments)
{
    return QProcess::execute(u"xrandr"_s, arguments) == 0;
}

} // namespace

/// The real provider on the headless desktop's X server and window manager.
class X11ShareableContentTest : public QObject
{
    Q_OBJECT

    platform::ShareableContent read(bool onScreenWindowsOnly = true)
    {
        return QCoro::waitFor(m_provider->shareableContent(false, onScreenWindowsOnly)).value();
    }
    /// The window with this number once the window manager has taken it on; null when it does not.
    std::shared_ptr<const platform::ShareableWindow> find(xcb_window_t number, bool onScreenWindowsOnly = true)
    {
        const auto content = read(onScreenWindowsOnly);
        const auto window = std::ranges::find(content.windows, number, &platform::ShareableWindow::windowId);
        return window != content.windows.end() ? *window : nullptr;
    }
    std::shared_ptr<const platform::ShareableWindow> await(xcb_window_t number)
    {
        std::shared_ptr<const platform::ShareableWindow> window;
        const bool isFound = test::waitUntil([&] { return (window = find(number)) != nullptr; });
        return isFound ? window : nullptr;
    }

    std::shared_ptr<platform::ShareableContentProvider> m_provider = platform::makeX11ShareableContentProvider();

private Q_SLOTS:
    void initTestCase();
    void readsTitlesAndOwners_data();
    void readsTitlesAndOwners();
    void tellsWhatIsOnScreen();
    void displaysKeepTheirNumbers();
    void failsWithoutAnXServer();
};

void X11ShareableContentTest::initTestCase()
{
    const QDir directory(QStandardPaths::writableLocation(QStandardPaths::ApplicationsLocation));
    QVERIFY(directory.mkpath(u"."_s));
    const auto addEntry = [&directory](const QString& name, const QByteArray& keys) {
        QFile file(directory.filePath(name));
        return file.open(QIODevice::WriteOnly) &&
               file.write("[Desktop Entry]\nType=Application\nExec=true\n" + keys + "\n") > 0;
    };
    QVERIFY(addEntry(u"org.example.Calls.desktop"_s, "Name=Example Calls\nStartupWMClass=ExampleCalls"));
    QVERIFY(addEntry(u"org.example.Editor.desktop"_s, "Name=Example Editor"));
    QVERIFY(addEntry(u"installed-page.desktop"_s, "Name=Installed Page\nStartupWMClass=crx_page\nNoDisplay=true"));
}

void X11ShareableContentTest::readsTitlesAndOwners_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("oldName");
    QTest::addColumn<QByteArray>("instanceName");
    QTest::addColumn<QByteArray>("className");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("applicationName");
    const QByteArray none;
    QTest::newRow("desktop entry by its window class")
        << "Wöchentlich"_ba << "other"_ba << "x"_ba << "examplecalls"_ba << u"Wöchentlich"_s << u"Example Calls"_s;
    QTest::newRow("desktop entry by its file name")
        << "Text"_ba << none << "editor"_ba << "org.example.Editor"_ba << u"Text"_s << u"Example Editor"_s;
    QTest::newRow("page installed by a browser")
        << "Page"_ba << none << "crx_page"_ba << "Example Browser"_ba << u"Page"_s << u"Installed Page"_s;
    QTest::newRow("class without a desktop entry")
        << none << "caf\xE9"_ba << "tool"_ba << "Tool"_ba << u"café"_s << u"Tool"_s;
    QTest::newRow("neither title nor class")
        << none << none << none << none << QString() << u"X11ShareableContentTest"_s;
    QTest::newRow("empty title") << ""_ba << none << "tool"_ba << "Tool"_ba << u""_s << u"Tool"_s;
}

void X11ShareableContentTest::readsTitlesAndOwners()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, oldName);
    QFETCH(QByteArray, instanceName);
    QFETCH(QByteArray, className);
    QFETCH(QString, title);
    QFETCH(QString, applicationName);
    XClient client;
    const auto window = await(
        client.makeWindow({.name = name, .oldName = oldName, .instanceName = instanceName, .className = className}));
    QVERIFY(window);
    QCOMPARE(window->title.has_value(), !title.isNull());
    QCOMPARE(window->title.value_or(QString()), title);
    const platform::RunningApplication owner = window->owningApplication.value_or(platform::RunningApplication());
    QCOMPARE(owner.applicationName, applicationName);
    QCOMPARE(owner.processId, QCoreApplication::applicationPid());
    QVERIFY(window->isOnScreen);
}

void X11ShareableContentTest::tellsWhatIsOnScreen()
{
    XClient client;
    const xcb_window_t number = client.makeWindow({.name = "Tool", .oldName = {}, .instanceName = {}, .className = {}});
    QVERIFY(await(number));
    client.iconify(number);
    QVERIFY(test::waitUntil([&] { return find(number) == nullptr; }));
    const auto hidden = find(number, false);
    QVERIFY(hidden && !hidden->isOnScreen);
    client.destroy(number);
    QVERIFY(test::waitUntil([&] { return find(number, false) == nullptr; }));
}

void X11ShareableContentTest::displaysKeepTheirNumbers()
{
    const auto numbers = [this] {
        std::vector<std::uint32_t> all;
        for (const auto& display : read().displays) {
            all.push_back(display->displayId);
        }
        return all;
    };
    const std::vector<std::uint32_t> before = numbers();
    QCOMPARE(before.size(), 1U);
    QVERIFY(xrandr({u"--setmonitor"_s, u"first"_s, u"700/100x900/100+0+0"_s, u"none"_s}));
    QVERIFY(xrandr({u"--setmonitor"_s, u"second"_s, u"740/100x900/100+700+0"_s, u"none"_s}));
    const std::vector<std::uint32_t> both = numbers();
    QVERIFY(both.size() >= 2);
    QVERIFY(xrandr({u"--delmonitor"_s, u"first"_s}));
    for (const std::uint32_t number : numbers()) {
        QVERIFY(std::ranges::find(both, number) != both.end());
    }
    QVERIFY(xrandr({u"--setmonitor"_s, u"first"_s, u"700/100x900/100+0+0"_s, u"none"_s}));
    const std::vector<std::uint32_t> again = numbers();
    QVERIFY(std::ranges::is_permutation(again, both));
    QVERIFY(xrandr({u"--delmonitor"_s, u"first"_s}));
    QVERIFY(xrandr({u"--delmonitor"_s, u"second"_s}));
    QCOMPARE(numbers(), before);
}

void X11ShareableContentTest::failsWithoutAnXServer()
{
    const QByteArray display = qgetenv("DISPLAY");
    qputenv("DISPLAY", ":12345");
    const auto provider = platform::makeX11ShareableContentProvider();
    const auto content = QCoro::waitFor(provider->shareableContent(false, true));
    qputenv("DISPLAY", display);
    QVERIFY(!content.has_value());
    QCOMPARE(content.error().code, errorCode(platform::PlatformError::unavailable));
    QVERIFY(QCoro::waitFor(provider->shareableContent(false, true)).has_value());
}

} // namespace quorvel

QTEST_GUILESS_MAIN(quorvel::X11ShareableContentTest)
#include "X11ShareableContentTest.moc"
