#include "FakeSecretService.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusVariant>

using namespace Qt::StringLiterals;

namespace quorvel::test {

namespace {

const auto servicePath = u"/org/freedesktop/secrets"_s;
const auto collectionPath = u"/org/freedesktop/secrets/collection/only"_s;
const auto promptPath = u"/org/freedesktop/secrets/prompt/1"_s;
const auto nowhere = u"/"_s;

QVariant path(const QString& text)
{
    return QVariant::fromValue(QDBusObjectPath(text));
}

QVariant paths(const QStringList& texts)
{
    QList<QDBusObjectPath> list;
    for (const QString& text : texts) {
        list << QDBusObjectPath(text);
    }
    return QVariant::fromValue(list);
}

QVariant variant(const QVariant& value)
{
    return QVariant::fromValue(QDBusVariant(value));
}

} // namespace

class FakeSecretService::Objects final : public QDBusVirtualObject
{
public:
    explicit Objects(FakeSecretService& service)
        : m_service(service)
    {
    }

    [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        const QString member = message.member();
        if (member == u"GetAll"_s) {
            return connection.send(message.createReply(properties(message.path())));
        }
        if (member == u"OpenSession"_s) {
            return connection.send(message.arguments().first().toString() == u"plain"_s
                                       ? message.createReply({variant(QString()), path(u"/session"_s)})
                                       : message.createErrorReply(QDBusError::NotSupported, u"plain only"_s));
        }
        if (member == u"ReadAlias"_s) {
            return connection.send(message.createReply(path(m_service.m_hasDefault ? collectionPath : nowhere)));
        }
        if (member == u"SearchItems"_s) {
            return connection.send(message.createReply({paths({}), paths({})}));
        }
        if (member == u"Unlock"_s) {
            return connection.send(message.createReply({paths({}), path(promptPath)}));
        }
        if (member == u"CreateItem"_s) {
            return connection.send(message.createReply({path(nowhere), path(promptPath)}));
        }
        if (member == u"Prompt"_s) {
            ++m_service.m_openPrompts;
            ++m_service.m_promptsShown;
            return connection.send(message.createReply());
        }
        if (member == u"Dismiss"_s) {
            connection.send(message.createReply());
            m_service.answerPrompt(true);
            return true;
        }
        return false;
    }

private:
    [[nodiscard]] QVariantMap properties(const QString& objectPath) const
    {
        if (objectPath == servicePath) {
            return {{u"Collections"_s, paths({collectionPath})}};
        }
        return {
            {u"Items"_s, paths({})}, {u"Label"_s, u"only"_s}, {u"Locked"_s, m_service.m_isLocked.load()},
            {u"Created"_s, 0ULL},    {u"Modified"_s, 0ULL},
        };
    }

    FakeSecretService& m_service;
};

FakeSecretService::FakeSecretService()
    : m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"fake secret service"_s))
    , m_objects(new Objects(*this))
{
    QObject::connect(&m_thread, &QThread::finished, m_objects, &QObject::deleteLater);
    m_bus.registerVirtualObject(servicePath, m_objects, QDBusConnection::SubPath);
    m_objects->moveToThread(&m_thread);
    m_thread.start();
    m_bus.registerService(u"org.freedesktop.secrets"_s);
}

FakeSecretService::~FakeSecretService()
{
    QDBusConnection::disconnectFromBus(m_bus.name());
    m_thread.quit();
    m_thread.wait();
}

void FakeSecretService::answerPrompt(bool dismissed)
{
    --m_openPrompts;
    m_isLocked = m_isLocked && dismissed;
    QDBusMessage completed = QDBusMessage::createSignal(promptPath, u"org.freedesktop.Secret.Prompt"_s, u"Completed"_s);
    completed << dismissed << variant(dismissed ? paths({}) : paths({collectionPath}));
    m_bus.send(completed);
}

} // namespace quorvel::test
