#include "overlay/OverlayViewState.h"
#include "platform/linux/desktop/DesktopPanels.h"
#include "platform/linux/desktop/XClient.h"
#include "views/SymbolImageProvider.h"

#include <QGuiApplication>
#include <QImage>
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
    const auto [darker, brighter] = std::minmax(luminance(one), luminance(other));
    return (brighter + 0.05) / (darker + 0.05);
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

} // namespace

class OverlayViewTest final : public QObject
{
    Q_OBJECT

private:
    XClient m_client;
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
        QVERIFY(folder.isEmpty() || m_client.image(area).save(u"%1/%2-%3.png"_s.arg(folder, name).arg(scale)));
    }

private Q_SLOTS:
    void initTestCase() { m_engine.addImageProvider(u"symbols"_s, new SymbolImageProvider); }

    void textIsWholeAndReadable_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<std::uint32_t>("wallpaper");
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
            Row{"far too long", sentence.repeated(30), false},
        };
        for (const auto& text : texts) {
            QTest::addRow("%s, light", text.name) << text.text << 0xFFFFFFU << text.isWhole;
            QTest::addRow("%s, dark", text.name) << text.text << 0x000000U << text.isWhole;
        }
    }
    void textIsWholeAndReadable()
    {
        QFETCH(QString, text);
        QFETCH(std::uint32_t, wallpaper);
        QFETCH(bool, isWhole);
        const QRect screen(QPoint(0, 0), m_client.geometry(m_client.rootWindow()).size());
        const xcb_window_t behind = m_client.makeWindow(screen, XClient::WindowKind::fullScreen, wallpaper);
        QTRY_COMPARE(m_client.geometry(behind), screen);
        m_state.update({.shouldRespond = !text.isEmpty(), .suggestion = text, .isWorking = !text.isEmpty()},
                       Timestamp{std::chrono::hours(1)});
        const auto panel = makePanel();
        QVERIFY(panel);
        QQuickView* const view = panelView();
        QVERIFY(view && QTest::qWaitForWindowExposed(view));
        const QRect area = m_client.geometry(static_cast<xcb_window_t>(view->winId()));

        const QQuickItem* const shown = findText(view->rootObject());
        QVERIFY(shown);
        QCOMPARE(shown->property("text").toString(), m_state.overlayText());
        QVERIFY(shown->property("lineCount").toInt() <= 4);
        QCOMPARE(shown->property("truncated").toBool(), !isWhole);
        QVERIFY(shown->property("contentHeight").toReal() <= shown->height());
        QVERIFY(shown->property("contentWidth").toReal() <= shown->width());

        // The card's own colour at its left edge, and the brightest colour of the letters.
        const auto measured = [&] {
            const QImage image = m_client.image(area);
            const QRgb card = image.pixel(image.width() / 100, image.height() / 2);
            QRgb letters = card;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = image.width() / 10; x < image.width() * 9 / 10; ++x) {
                    letters = luminance(image.pixel(x, y)) > luminance(letters) ? image.pixel(x, y) : letters;
                }
            }
            return contrast(card, letters);
        };
        QTRY_VERIFY2(measured() >= 4.5, qPrintable(QString::number(measured())));
        qInfo("contrast %.1f : 1", measured());
        keepPicture(QRect(0, 0, screen.width(), std::min(screen.height(), area.bottom() + 40)));
    }
};

} // namespace quorvel::test

QTEST_MAIN(quorvel::test::OverlayViewTest)
#include "OverlayViewTest.moc"
