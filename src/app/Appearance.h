#pragma once

#include "platform/Appearance.h"

#include <QColor>
#include <QObject>

#include <memory>

namespace quorvel {

/// How the screens are to look, as the theme binds to it. Main thread.
class Appearance final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isDark READ isDark NOTIFY changed)
    Q_PROPERTY(bool reducesMotion READ reducesMotion NOTIFY changed)
    Q_PROPERTY(QColor accent READ accent NOTIFY changed)
    Q_PROPERTY(QColor accentText READ accentText NOTIFY changed)

public:
    /// Contrast that text needs to be read easily (WCAG 2.1, level AA).
    static constexpr double readableContrast = 4.5;

    explicit Appearance(std::shared_ptr<platform::AppearanceProvider> provider);
    ~Appearance() override;
    Appearance(const Appearance&) = delete;
    Appearance(Appearance&&) = delete;
    Appearance& operator=(const Appearance&) = delete;
    Appearance& operator=(Appearance&&) = delete;

    [[nodiscard]] bool isDark() const { return m_settings.isDark; }
    [[nodiscard]] bool reducesMotion() const { return m_settings.reducesMotion; }
    /// The desktop's accent colour, made readable on our cards, or our own.
    [[nodiscard]] QColor accent() const;
    /// Black or white, whichever reads better on the accent colour.
    [[nodiscard]] QColor accentText() const;

    /// The contrast ratio of two opaque colours, from 1 to 21 (WCAG 2.1).
    [[nodiscard]] static double contrast(const QColor& one, const QColor& other);

Q_SIGNALS:
    void changed();

private:
    std::shared_ptr<platform::AppearanceProvider> m_provider;
    platform::AppearanceSettings m_settings;
};

} // namespace quorvel
