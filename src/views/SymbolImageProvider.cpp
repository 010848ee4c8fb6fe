#include "views/SymbolImageProvider.h"

#include <QFile>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

constexpr QSize defaultSize(24, 24);

} // namespace

SymbolImageProvider::SymbolImageProvider()
    : QQuickImageProvider(Image)
{
}

QImage SymbolImageProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize)
{
    QFile file(u":/qt/qml/Quorvel/Views/symbols/%1.svg"_s.arg(id.section(u'/', 0, 0)));
    QByteArray drawing = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    // An SVG has its alpha in an attribute of its own, so that a translucent colour is painted opaque and faded as a
    // whole.
    const QColor color(u"#"_s + id.section(u'/', 1, 1));
    drawing.replace("currentColor", color.name(QColor::HexRgb).toLatin1());

    QImage image(requestedSize.isValid() ? requestedSize : defaultSize, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QSvgRenderer renderer(drawing);
    QPainter painter(&image);
    painter.setOpacity(color.alphaF());
    renderer.render(&painter);
    *size = image.size();
    return image;
}

} // namespace quorvel
