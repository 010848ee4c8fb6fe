#pragma once

#include <QQuickImageProvider>

namespace quorvel {

/// Draws the symbols of views/symbols: "image://symbols/<name>/<colour>", the colour as rrggbb or aarrggbb. Our
/// drawings use `currentColor`, which becomes the colour asked for. Called on the thread that loads the picture.
class SymbolImageProvider final : public QQuickImageProvider
{
public:
    SymbolImageProvider();

    /// `requestedSize` is in pixels of the screen; the picture is drawn at just that size.
    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
};

} // namespace quorvel
