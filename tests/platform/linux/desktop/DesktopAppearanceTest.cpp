#include "platform/linux/desktop/DesktopAppearance.h"

#include "support/EventLoop.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QGuiApplication>
#include <QPalette>
#include <QTest>

using namespace quorvel;
using namespace Qt::StringLiterals;

using Namespaces = QMap<QString, QVariantMap>;

namespace {

/// A colour as the portal sends it.
QVariant color(double red, double green, double blue)
{
    QDBusArgument argument;
    argument.beginStructure();
    argument << red << green << blue;
    argument.endStructure();
    return QVariant::fromValue(argument);
}

} // namespace

/// The part of a desktop's portal that is asked, on the session bus of the test.
class Portal final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    [[nodiscard]] bool publish()
    {
        return m_bus.registerObject(u"/org/freedesktop/portal/desktop"_s, this, QDBusConnection::ExportAllSlots) &&
               m_bus.registerService(u"org.freedesktop.portal.Desktop"_s);
    }
    void withdraw()
    {
        m_bus.unregisterService(u"org.freedesktop.portal.Desktop"_s);
        m_bus.unregisterObject(u"/org/freedesktop/portal/desktop"_s);
    }
    void change(const QString& space, const QString& key, const QVariant& value)
    {
        QDBusMessage signal = QDBusMessage::createSignal(u"/org/freedesktop/portal/desktop"_s,
                                                         u"org.freedesktop.portal.Settings"_s, u"SettingChanged"_s);
        signal << space << key << QVariant::fromValue(QDBusVariant(value));
        QVERIFY(m_bus.send(signal));
    }

    Namespaces settings;
    int questions = 0;

public Q_SLOTS:
    Namespaces ReadAll(const QStringList& /*spaces*/)
    {
        ++questions;
        return settings;
    }

private:
    QDBusConnection m_bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"portal"_s);
};

class DesktopAppearanceTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qDBusRegisterMetaType<Namespaces>(); }
    void cleanup()
    {
        m_portal.withdraw();
        m_portal.questions = 0;
    }

    void readsWhatThePortalSays_data()
    {
        QTest::addColumn<QString>("space");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<bool>("isDark");
        QTest::addColumn<bool>("reducesMotion");
        QTest::addColumn<uint>("accent");
        const QString appearance = u"org.freedesktop.appearance"_s;
        const QString scheme = u"color-scheme"_s;
        QTest::newRow("dark") << appearance << scheme << QVariant(1U) << true << false << 0U;
        QTest::newRow("light") << appearance << scheme << QVariant(2U) << false << false << 0U;
        QTest::newRow("no preference") << appearance << scheme << QVariant(0U) << false << false << 0U;
        QTest::newRow("something new") << appearance << scheme << QVariant(7U) << false << false << 0U;
        QTest::newRow("another type") << appearance << scheme << QVariant(u"dark"_s) << false << false << 0U;
        QTest::newRow("less motion") << appearance << u"reduced-motion"_s << QVariant(1U) << false << true << 0U;
        QTest::newRow("no animations") << u"org.gnome.desktop.interface"_s << u"enable-animations"_s << QVariant(false)
                                       << false << true << 0U;
        QTest::newRow("accent") << appearance << u"accent-color"_s << color(1.0, 0.5, 0.0) << false << false
                                << 0xFF8000U;
        QTest::newRow("no accent") << appearance << u"accent-color"_s << color(-1.0, 2.0, 0.0) << false << false << 0U;
        QTest::newRow("accent of another type")
            << appearance << u"accent-color"_s << QVariant(u"#ff8000"_s) << false << false << 0U;
    }

    /// The same setting as the portal's answer and as its news.
    void readsWhatThePortalSays()
    {
        QFETCH(QString, space);
        QFETCH(QString, key);
        QFETCH(QVariant, value);
        QFETCH(bool, isDark);
        QFETCH(bool, reducesMotion);
        QFETCH(uint, accent);
        QVERIFY(m_portal.publish());

        m_portal.settings = {{space, {{key, value}}}};
        const platform::DesktopAppearance asked;
        QTRY_COMPARE(m_portal.questions, 1);
        const platform::AppearanceSettings answered = settingsAfterNews(asked, key);
        m_portal.settings.clear();
        const platform::DesktopAppearance told;
        QTRY_COMPARE(m_portal.questions, 2);
        m_portal.change(space, key, value);
        const platform::AppearanceSettings heard = settingsAfterNews(told, key);

        for (const platform::AppearanceSettings& settings : {answered, heard}) {
            QCOMPARE(settings.isDark, isDark);
            QCOMPARE(settings.reducesMotion, reducesMotion);
            QCOMPARE(settings.accent, accent != 0 ? std::optional(accent) : std::nullopt);
        }
    }

    void followsThePaletteWithoutAPortal()
    {
        const QPalette before = QGuiApplication::palette();
        platform::DesktopAppearance appearance;
        int changes = 0;
        appearance.setChangeHandler([&changes] { ++changes; });
        QVERIFY(!appearance.settings().isDark);
        QGuiApplication::setPalette(QPalette(QColor(0x20, 0x20, 0x24)));
        QTRY_COMPARE(changes, 1);
        QVERIFY(appearance.settings().isDark);
        QGuiApplication::setPalette(before);
        QTRY_VERIFY(!appearance.settings().isDark);
    }

private:
    /// The settings once everything has been read that the portal has sent: what it sends last changes another setting,
    /// which is put back in the result.
    platform::AppearanceSettings settingsAfterNews(const platform::DesktopAppearance& appearance, const QString& key)
    {
        const QString space = u"org.freedesktop.appearance"_s;
        const bool isScheme = key == u"color-scheme"_s;
        m_portal.change(space, isScheme ? u"reduced-motion"_s : u"color-scheme"_s, QVariant(1U));
        const bool isRead = test::waitUntil(
            [&] { return isScheme ? appearance.settings().reducesMotion : appearance.settings().isDark; });
        platform::AppearanceSettings settings = appearance.settings();
        (isScheme ? settings.reducesMotion : settings.isDark) = !isRead;
        return settings;
    }

    Portal m_portal;
};

QTEST_MAIN(DesktopAppearanceTest)
#include "DesktopAppearanceTest.moc"
