#pragma once

#include "platform/Panel.h"

#include <QObject>

#include <functional>

class QScreen;

namespace quorvel::platform {

/// The toolkit's screens, in the coordinates of the seam.
class DesktopScreens final : public QObject, public ScreenProvider
{
public:
    explicit DesktopScreens(QObject* parent = nullptr);

    [[nodiscard]] std::optional<QRectF> mainScreenVisibleFrame() const override;
    void setChangeHandler(std::function<void()> handler) override;

    /// The rectangle of the toolkit, which counts downwards, in the coordinates of the seam, and back.
    [[nodiscard]] static QRectF toBottomUp(const QRectF& rectangle, const QRectF& mainScreen);
    [[nodiscard]] static QRectF toTopDown(const QRectF& rectangle, const QRectF& mainScreen);

private:
    void watch(QScreen* screen);
    void tell() const;

    std::function<void()> m_handler;
};

} // namespace quorvel::platform
