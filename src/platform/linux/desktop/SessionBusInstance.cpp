#include "platform/linux/desktop/SessionBusInstance.h"

#include "platform/linux/desktop/X11.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QVariantMap>
#include <QWindow>

#include <algorithm>
#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel::platform {

namespace {

constexpr auto interfaceName = "org.freedesktop.Application"_L1;
constexpr std::chrono::milliseconds answerLimit = std::chrono::seconds(5);

/// No callback address is nearly as long, and a launcher opens few at a time.
constexpr qsizetype longestAddress = qsizetype{16} * 1024;
constexpr qsizetype mostAddresses = 16;

} // namespace

/// The object on the bus.
class SessionBusInstance::Interface final : public QDBusVirtualObject
{
public:
    explicit Interface(SessionBusInstance& instance)
        : m_instance(instance)
    {
    }

    [[nodiscard]] QString introspect(const QString& /*path*/) const override
    {
        return uR"(<interface name="org.freedesktop.Application">
  <method name="Activate"><arg type="a{sv}" name="platform_data" direction="in"/></method>
  <method name="Open">
    <arg type="as" name="uris" direction="in"/><arg type="a{sv}" name="platform_data" direction="in"/>
  </method>
  <method name="ActivateAction">
    <arg type="s" name="action_name" direction="in"/><arg type="av" name="parameter" direction="in"/>
    <arg type="a{sv}" name="platform_data" direction="in"/>
  </method>
</interface>
)"_s;
    }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        if (!message.interface().isEmpty() && message.interface() != interfaceName) {
            return false;
        }
        const QVariantList arguments = message.arguments();
        QStringList addresses;
        if (message.member() == "Open"_L1 && message.signature() == "asa{sv}"_L1) {
            addresses = arguments.first().toStringList();
        } else if (!(message.member() == "Activate"_L1 && message.signature() == "a{sv}"_L1) &&
                   !(message.member() == "ActivateAction"_L1 && message.signature() == "sava{sv}"_L1)) {
            return false;
        }
        connection.send(message.createReply());
        tell(addresses);
        return true;
    }

private:
    void tell(const QStringList& addresses) const
    {
        if (m_instance.onActivate) {
            m_instance.onActivate();
        }
        for (const QString& address : addresses.first(std::min(addresses.size(), mostAddresses))) {
            if (m_instance.onOpen && address.size() <= longestAddress) {
                m_instance.onOpen(address);
            }
        }
    }

    SessionBusInstance& m_instance;
};

SessionBusInstance::SessionBusInstance(QString applicationId, QObject* parent)
    : QObject(parent)
    , m_applicationId(std::move(applicationId))
    , m_interface(std::make_unique<Interface>(*this))
{
}

SessionBusInstance::~SessionBusInstance()
{
    QDBusConnection::sessionBus().unregisterObject(objectPath());
}

ApplicationInstance::Role SessionBusInstance::claim(const QStringList& addresses)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return Role::alone;
    }
    // The object comes before the name: calls arrive as soon as the name is ours.
    bus.registerVirtualObject(objectPath(), m_interface.get());
    if (bus.registerService(m_applicationId)) {
        return Role::first;
    }
    if (handOver(addresses)) {
        return Role::second;
    }
    // The first process has left in the meantime, or does not answer.
    return bus.registerService(m_applicationId) ? Role::first : Role::alone;
}

bool SessionBusInstance::handOver(const QStringList& addresses) const
{
    const QVariantMap platformData{
        {u"desktop-startup-id"_s, qEnvironmentVariable("DESKTOP_STARTUP_ID")},
        {u"activation-token"_s, qEnvironmentVariable("XDG_ACTIVATION_TOKEN")},
    };
    QDBusMessage call = QDBusMessage::createMethodCall(m_applicationId, objectPath(), QString(interfaceName),
                                                       addresses.isEmpty() ? u"Activate"_s : u"Open"_s);
    call.setArguments(addresses.isEmpty() ? QVariantList{platformData} : QVariantList{addresses, platformData});
    const QDBusMessage reply =
        QDBusConnection::sessionBus().call(call, QDBus::Block, static_cast<int>(answerLimit.count()));
    return reply.type() == QDBusMessage::ReplyMessage;
}

void SessionBusInstance::bringToFront(QWindow& window)
{
    window.setWindowStates(window.windowStates() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.requestActivate();
    // A window manager may refuse that to a program that is not in use; a request in the user's name it carries out.
    if (xcb_connection_t* const connection = x11::connection()) {
        constexpr std::uint32_t onBehalfOfTheUser = 2;
        x11::sendToWindowManager(connection, static_cast<xcb_window_t>(window.winId()), "_NET_ACTIVE_WINDOW",
                                 onBehalfOfTheUser);
    }
}

QString SessionBusInstance::objectPath() const
{
    QString path = u'/' + m_applicationId;
    return path.replace(u'.', u'/').replace(u'-', u'_');
}

} // namespace quorvel::platform
