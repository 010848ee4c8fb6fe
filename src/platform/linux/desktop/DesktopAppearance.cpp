#include "platform/linux/desktop/DesktopAppearance.h"

#include <QColor>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QEvent>
#include <QGuiApplication>
#include <QMap>
#include <QPalette>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel::platform {

namespace {

using Namespaces = QMap<QString, QVariantMap>;

const auto service = u"org.freedesktop.portal.Desktop"_s;
const auto path = u"/org/freedesktop/portal/desktop"_s;
const auto interface = u"org.freedesktop.portal.Settings"_s;
const auto appearance = u"org.freedesktop.appearance"_s;
const auto gnomeInterface = u"org.gnome.desktop.interface"_s;

/// A structure of three numbers from 0 to 1; anything else, as without an accent colour, is none.
std::optional<std::uint32_t> accentOf(const QVariant& value)
{
    if (!value.canConvert<QDBusArgument>()) {
        return std::nullopt;
    }
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != u"(ddd)"_s) {
        return std::nullopt;
    }
    double red = 0;
    double green = 0;
    double blue = 0;
    argument.beginStructure();
    argument >> red >> green >> blue;
    argument.endStructure();
    // Out of range means that there is none.
    const std::array components{red, green, blue};
    if (!std::ranges::all_of(components, [](double component) { return component >= 0 && component <= 1; })) {
        return std::nullopt;
    }
    const QColor color = QColor::fromRgbF(static_cast<float>(red), static_cast<float>(green), static_cast<float>(blue));
    return color.rgb() & 0xFFFFFFU;
}

} // namespace

DesktopAppearance::DesktopAppearance(QObject* parent)
    : QObject(parent)
{
    qDBusRegisterMetaType<Namespaces>();
    qGuiApp->installEventFilter(this);
    // A slot for the whole message: at this time the toolkit does not know its type for variants yet, and would refuse
    // one that takes it.
    const bool isFollowed = QDBusConnection::sessionBus().connect(service, path, interface, u"SettingChanged"_s, this,
                                                                  SLOT(take(QDBusMessage)));
    if (!isFollowed) {
        qWarning("Changes of the desktop's appearance cannot be followed.");
    }
    askPortal();
    m_told = settings();
}

void DesktopAppearance::askPortal()
{
    QDBusMessage question = QDBusMessage::createMethodCall(service, path, interface, u"ReadAll"_s);
    question << QStringList{appearance, gnomeInterface};
    auto* const watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* finished) {
        const QDBusPendingReply<Namespaces> reply = *finished;
        finished->deleteLater();
        if (reply.isError()) {
            return;
        }
        const Namespaces spaces = reply.value();
        for (const auto& [space, values] : spaces.asKeyValueRange()) {
            for (const auto& [key, value] : values.asKeyValueRange()) {
                read(space, key, value);
            }
        }
        tell();
    });
}

AppearanceSettings DesktopAppearance::settings() const
{
    const bool isPaletteDark = QGuiApplication::palette().color(QPalette::Window).lightnessF() < 0.5F;
    return {.isDark = m_colorScheme == ColorScheme::noPreference ? isPaletteDark : m_colorScheme == ColorScheme::dark,
            .reducesMotion = m_reducesMotion || !m_hasAnimations,
            .accent = m_accent};
}

void DesktopAppearance::setChangeHandler(std::function<void()> handler)
{
    m_handler = std::move(handler);
}

bool DesktopAppearance::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::ApplicationPaletteChange) {
        tell();
    }
    return QObject::eventFilter(watched, event);
}

void DesktopAppearance::take(const QDBusMessage& news)
{
    const QVariantList arguments = news.arguments();
    if (news.signature() == u"ssv"_s) {
        read(arguments[0].toString(), arguments[1].toString(), arguments[2].value<QDBusVariant>().variant());
        tell();
    }
}

void DesktopAppearance::read(const QString& space, const QString& key, const QVariant& value)
{
    if (space == appearance && key == u"color-scheme"_s) {
        const uint scheme = value.toUInt();
        m_colorScheme = scheme == 1 ? ColorScheme::dark : scheme == 2 ? ColorScheme::light : ColorScheme::noPreference;
    } else if (space == appearance && key == u"accent-color"_s) {
        m_accent = accentOf(value);
    } else if (space == appearance && key == u"reduced-motion"_s) {
        m_reducesMotion = value.toUInt() == 1;
    } else if (space == gnomeInterface && key == u"enable-animations"_s) {
        m_hasAnimations = value.toBool();
    }
}

void DesktopAppearance::tell()
{
    if (std::exchange(m_told, settings()) != m_told && m_handler) {
        m_handler();
    }
}

} // namespace quorvel::platform
