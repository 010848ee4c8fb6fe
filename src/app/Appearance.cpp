#include "app/Appearance.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace quorvel {

namespace {

/// The part of a colour's luminance that one of its components, from 0 to 1, stands for (WCAG 2.1).
double linear(double component)
{
    return component <= 0.04045 ? component / 12.92 : std::pow((component + 0.055) / 1.055, 2.4);
}

double luminance(const QColor& color)
{
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

/// The nearest colour of the same hue that is readable on `surface`.
QColor readableOn(const QColor& surface, QColor color)
{
    const float step = luminance(surface) > 0.5 ? -0.01F : 0.01F;
    while (Appearance::contrast(color, surface) < Appearance::readableContrast) {
        float hue = 0;
        float saturation = 0;
        float lightness = 0;
        color.getHslF(&hue, &saturation, &lightness);
        color = QColor::fromHslF(std::max(hue, 0.0F), saturation, std::clamp(lightness + step, 0.0F, 1.0F));
    }
    return color;
}

} // namespace

Appearance::Appearance(std::shared_ptr<platform::AppearanceProvider> provider)
    : m_provider(std::move(provider))
    , m_settings(m_provider->settings())
{
    m_provider->setChangeHandler([this] {
        m_settings = m_provider->settings();
        Q_EMIT changed();
    });
}

Appearance::~Appearance()
{
    m_provider->setChangeHandler({});
}

QColor Appearance::accent() const
{
    // The cards of the theme.
    const QColor card = isDark() ? QColor(0x23, 0x27, 0x2F) : QColor(Qt::white);
    if (m_settings.accent) {
        return readableOn(card, QColor::fromRgb(*m_settings.accent));
    }
    return isDark() ? QColor(0x8B, 0x87, 0xF8) : QColor(0x4F, 0x46, 0xE5);
}

QColor Appearance::accentText() const
{
    const QColor black(0x12, 0x13, 0x1A);
    const QColor white(Qt::white);
    return contrast(accent(), white) >= contrast(accent(), black) ? white : black;
}

double Appearance::contrast(const QColor& one, const QColor& other)
{
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

} // namespace quorvel
