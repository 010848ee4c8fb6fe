#pragma once

#include "platform/Appearance.h"

#include <QDBusMessage>
#include <QObject>
#include <QVariantMap>

#include <cstdint>

namespace quorvel::platform {

/// The desktop's settings as its portal tells them (org.freedesktop.portal.Settings). Where there is no portal, or it
/// has no preference, dark is what the toolkit's palette is. The portal is asked without waiting for it: until it has
/// answered, the palette decides.
class DesktopAppearance final : public QObject, public AppearanceProvider
{
    Q_OBJECT

public:
    explicit DesktopAppearance(QObject* parent = nullptr);

    [[nodiscard]] AppearanceSettings settings() const override;
    void setChangeHandler(std::function<void()> handler) override;

    bool eventFilter(QObject* watched, QEvent* event) override;

private Q_SLOTS:
    void take(const QDBusMessage& news);

private:
    enum class ColorScheme : std::uint8_t { noPreference, dark, light };

    void askPortal();
    void read(const QString& space, const QString& key, const QVariant& value);
    void tell();

    ColorScheme m_colorScheme = ColorScheme::noPreference;
    bool m_reducesMotion = false;
    bool m_hasAnimations = true;
    std::optional<std::uint32_t> m_accent;
    AppearanceSettings m_told;
    std::function<void()> m_handler;
};

} // namespace quorvel::platform
