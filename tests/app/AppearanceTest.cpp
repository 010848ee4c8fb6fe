#include "app/Appearance.h"

#include "support/FakeDesktop.h"

#include <QSignalSpy>
#include <QTest>

using namespace quorvel;

class AppearanceTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void measuresContrast()
    {
        QCOMPARE(Appearance::contrast(Qt::black, Qt::white), 21.0);
        QCOMPARE(Appearance::contrast(Qt::white, Qt::white), 1.0);
        // An example of the guideline's own understanding document: #777777 on white just fails level AA.
        QVERIFY(qAbs(Appearance::contrast(QColor(0x77, 0x77, 0x77), Qt::white) - 4.48) < 0.005);
    }

    void staysReadable_data()
    {
        QTest::addColumn<bool>("isDark");
        QTest::addColumn<std::optional<std::uint32_t>>("accent");
        for (const bool isDark : {false, true}) {
            const QByteArray theme = isDark ? "dark " : "light ";
            using Accent = std::optional<std::uint32_t>;
            QTest::newRow((theme + "ours").constData()) << isDark << Accent();
            for (const std::uint32_t color : {0x000000U, 0xFFFFFFU, 0x808080U, 0xFFFF00U, 0x0000FFU, 0x3584E4U}) {
                QTest::newRow((theme + QByteArray::number(color, 16)).constData()) << isDark << Accent(color);
            }
        }
    }

    void staysReadable()
    {
        QFETCH(bool, isDark);
        QFETCH(std::optional<std::uint32_t>, accent);
        const auto provider = std::make_shared<test::FakeAppearance>();
        provider->current = {.isDark = isDark, .accent = accent};
        const Appearance appearance(provider);
        const QColor card = isDark ? QColor(0x23, 0x27, 0x2F) : QColor(Qt::white);
        QVERIFY(Appearance::contrast(appearance.accent(), card) >= Appearance::readableContrast);
        QVERIFY(Appearance::contrast(appearance.accentText(), appearance.accent()) >= Appearance::readableContrast);
        if (accent == 0x3584E4U && isDark) {
            QVERIFY2(qAbs(appearance.accent().hslHue() - QColor::fromRgb(*accent).hslHue()) <= 1,
                     "the hue is the user's");
        }
    }

    void followsTheDesktop()
    {
        const auto provider = std::make_shared<test::FakeAppearance>();
        {
            const Appearance appearance(provider);
            QSignalSpy changed(&appearance, &Appearance::changed);
            provider->current = {.isDark = true, .reducesMotion = true};
            provider->changeHandler();
            QCOMPARE(changed.count(), 1);
            QVERIFY(appearance.isDark() && appearance.reducesMotion());
        }
        QVERIFY(!provider->changeHandler);
    }
};

QTEST_APPLESS_MAIN(AppearanceTest)
#include "AppearanceTest.moc"
