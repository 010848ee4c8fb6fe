#include "overlay/OverlayViewState.h"
#include "platform/linux/desktop/DesktopPanels.h"
#include "platform/linux/desktop/XClient.h"
#include "views/SymbolImageProvider.h"

#include <QGuiApplication>
#include <QImage>
#include <QJSValue>
#include <QPainter>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>
#include <QTest>
#include <QtQml/QQmlExtensionPlugin>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <memory>

Q_IMPORT_QML_PLUGIN(Quorvel_OverlayPlugin)

using namespace Qt::StringLiterals;

namespace quorvel::test {

namespace {

/// As the Web Content Accessibility Guidelines define it.
double luminance(QRgb colour)
{
    const auto linear = [](int channel) {
        const double value = channel / 255.0;
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(colour)) + 0.7152 * linear(qGreen(colour)) + 0.0722 * linear(qBlue(colour));
}

double contrast(QRgb one, QRgb other)
{
    const auto [darker, brighter] = std::minmax({luminance(one), luminance(other)});
    return (brighter + 0.05) / (darker + 0.05);
}

QRgb brightest(const QImage& image, QRect area)
{
    QRgb result = image.pixel(area.topLeft());
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            result = luminance(image.pixel(x, y)) > luminance(result) ? image.pixel(x, y) : result;
        }
    }
    return result;
}

/// The text that the view shows, as it lies in the window.
QQuickItem* findText(QQuickItem* item)
{
    if (item->property("lineCount").isValid()) {
        return item;
    }
    for (QQuickItem* const child : item->childItems()) {
        if (QQuickItem* const text = findText(child)) {
            return text;
        }
    }
    return nullptr;
}

/// Words that fill so many lines of the overlay when its letters are as small as they get, whatever the system's font
/// is.
QString textOfLines(double lines)
{
    QFont font = QGuiApplication::font();
    font.setPixelSize(15);
    font.setWeight(QFont::DemiBold);
    const QFontMetricsF metrics(font);
    const double symbolAndMargins = 120;
    const double line = QGuiApplication::primaryScreen()->geometry().width() * 0.96 - symbolAndMargins;
    QString text = u"First"_s;
    while (metrics.horizontalAdvance(text) < lines * line) {
        text += u" what we measured, then what we chose";
    }
    return text + u'.';
}

} // namespace

class OverlayViewTest final : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<XClient> m_client;
    QQmlEngine m_engine;
    OverlayViewState m_state;

    [[nodiscard]] std::unique_ptr<platform::Panel> makePanel()
    {
        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        const QRectF frame(screen.width() * 0.02, screen.height() - 90.0, screen.width() * 0.96, 126);
        auto panel = platform::DesktopPanels(m_engine).makePanel(
            {.contentRect = frame}, {.component = QUrl(u"qrc:/qt/qml/Quorvel/Overlay/OverlayView.qml"_s),
                                     .initialProperties = {{u"viewState"_s, QVariant::fromValue(&m_state)}}});
        if (panel) {
            panel->setAlpha(0.86);
            panel->orderFrontRegardless();
        }
        return panel;
    }

    static QQuickView* panelView()
    {
        const QWindowList windows = QGuiApplication::allWindows();
        return windows.size() == 1 ? qobject_cast<QQuickView*>(windows.first()) : nullptr;
    }

    /// Leaves a picture for people to look at, where the environment names a folder.
    void keepPicture(QRect area) const
    {
        const QString folder = qEnvironmentVariable("QUORVEL_TEST_PICTURES");
        const QString name = QString::fromLatin1(QTest::currentDataTag()).replace(u' ', u'-').remove(u',');
        const int scale = static_cast<int>(QGuiApplication::primaryScreen()->devicePixelRatio() * 100);
        QVERIFY(folder.isEmpty() || m_client->image(area).save(u"%1/%2-%3.png"_s.arg(folder, name).arg(scale)));
    }

private Q_SLOTS:
    void initTestCase() { m_engine.addImageProvider(u"symbols"_s, new SymbolImageProvider); }
    void init() { m_client = std::make_unique<XClient>(); }

    void textIsWholeAndReadable_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QImage>("wallpaper");
        QTest::addColumn<bool>("isWhole");
        const QString sentence = u"I would begin with the trade-off between consistency and latency, and then show "
                                 "how we measured both before we chose. "_s;
        struct Row
        {
            const char* name;
            QString text;
            bool isWhole;
        };
        const std::array texts{
            Row{"status", {}, true},
            Row{"one line", u"Yes, I led that migration from start to end."_s, true},
            Row{"four lines",
                u"First, the trade-off.\nThen how we measured it.\nThen what we chose.\nThen the result."_s, true},
            Row{"shrunk", sentence.repeated(3).trimmed(), true},
            Row{"almost too long", textOfLines(3.3), true},
            Row{"far too long", sentence.repeated(30), false},
        };
        QImage page(420, 22, QImage::Format_RGB32); // a document, the least quiet thing to lie on
        page.fill(Qt::white);
        QPainter(&page).drawText(page.rect(), Qt::AlignVCenter, u"Whatever is printed shines through a little and"_s);
        QImage light(1, 1, QImage::Format_RGB32);
        light.fill(Qt::white);
        QImage dark = light;
        dark.fill(Qt::black);
        for (const auto& text : texts) {
            QTest::addRow("%s, light", text.name) << text.text << light << text.isWhole;
            QTest::addRow("%s, dark", text.name) << text.text << dark << text.isWhole;
            QTest::addRow("%s, document", text.name) << text.text << page << text.isWhole;
        }
    }
    void textIsWholeAndReadable()
    {
        QFETCH(QString, text);
        QFETCH(QImage, wallpaper);
        QFETCH(bool, isWhole);
        m_client->makeWallpaper(wallpaper);
        m_state.update({.shouldRespond = !text.isEmpty(), .suggestion = text, .isWorking = !text.isEmpty()},
                       Timestamp{std::chrono::hours(1)});
        const auto panel = makePanel();
        QVERIFY(panel);
        QQuickView* const view = panelView();
        QVERIFY(view && QTest::qWaitForWindowExposed(view));
        const QRect area = m_client->geometry(static_cast<xcb_window_t>(view->winId()));

        const QQuickItem* const shown = findText(view->rootObject());
        QVERIFY(shown);
        QCOMPARE(shown->property("text").toString(), m_state.overlayText());
        QVERIFY(shown->property("lineCount").toInt() <= 4);
        QCOMPARE(shown->property("truncated").toBool(), !isWhole);
        QVERIFY(shown->property("contentHeight").toReal() <= shown->height());
        QVERIFY(shown->property("contentWidth").toReal() <= shown->width());

        // The brightest that the card gets in its left margin, and the brightest of the letters.
        const auto measured = [&] {
            const QImage image = m_client->image(area);
            const QRect margin(image.width() / 200, image.height() / 4, image.width() / 100, image.height() / 2);
            const QRect letters(image.width() / 10, 0, image.width() * 8 / 10, image.height());
            return contrast(brightest(image, margin), brightest(image, letters));
        };
        QTRY_VERIFY2(measured() >= 4.5, qPrintable(QString::number(measured())));
        qInfo("contrast %.1f : 1, %d lines in %d pixels", measured(), shown->property("lineCount").toInt(),
              shown->property("fontInfo").value<QJSValue>().property(u"pixelSize"_s).toInt());
        keepPicture(area.marginsAdded({area.x(), area.y(), area.x(), area.x()}));
    }
};

} // namespace quorvel::test

QTEST_MAIN(quorvel::test::OverlayViewTest)
#include "OverlayViewTest.moc"
