#include "overlay/OverlaySettings.h"

#include "support/FakeStores.h"

#include <QJsonDocument>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

namespace quorvel::test {

class OverlaySettingsTest final : public QObject
{
    Q_OBJECT

private:
    static const QString& key()
    {
        static const QString text = u"overlay.settings"_s;
        return text;
    }

private Q_SLOTS:
    void storedDocumentsAreReadUnchangedOrNotAtAll_data()
    {
        QTest::addColumn<QByteArray>("document");
        QTest::addColumn<OverlaySettings>("expected");
        const OverlaySettings defaults{};
        const OverlaySettings stored{.widthRatio = 0.5,
                                     .height = 300,
                                     .opacity = 0.1,
                                     .topOffset = -7.5,
                                     .clickThrough = true,
                                     .isVisible = true};
        const QByteArray numbers = R"("widthRatio":0.5,"height":300,"opacity":0.1,"topOffset":-7.5)";

        QTest::newRow("outside the ranges") << "{" + numbers + R"(,"clickThrough":true,"isVisible":true})" << stored;
        QTest::newRow("with an unknown key")
            << R"({"later":[1],)" + numbers + R"(,"clickThrough":true,"isVisible":true})" << stored;
        QTest::newRow("empty") << QByteArray("") << defaults;
        QTest::newRow("not JSON") << QByteArray("{\0\xFF", 3) << defaults;
        QTest::newRow("a list") << QByteArray("[]") << defaults;
        QTest::newRow("one key missing") << "{" + numbers + R"(,"clickThrough":true})" << defaults;
        QTest::newRow("a number for a boolean") << "{" + numbers + R"(,"clickThrough":1,"isVisible":true})" << defaults;
        QTest::newRow("a text for a number")
            << QByteArray(
                   R"({"widthRatio":"1","height":1,"opacity":1,"topOffset":1,"clickThrough":true,"isVisible":true})")
            << defaults;
    }
    void storedDocumentsAreReadUnchangedOrNotAtAll()
    {
        QFETCH(QByteArray, document);
        QFETCH(OverlaySettings, expected);
        FakeUserDefaults store;
        store.setData(document, key());

        QVERIFY(OverlaySettings::load(store) == expected);
        QCOMPARE(store.dataForKey(key()), document);
    }

    void defaults()
    {
        const OverlaySettings expected{.widthRatio = 0.96,
                                       .height = 126.0,
                                       .opacity = 0.86,
                                       .topOffset = 90.0,
                                       .clickThrough = false,
                                       .isVisible = false};
        QVERIFY(OverlaySettings::load(FakeUserDefaults()) == expected);
    }

    void saveWritesExactlyTheSixKeys()
    {
        const OverlaySettings settings{.widthRatio = 0.7,
                                       .height = 101.25,
                                       .opacity = 0.1 + 0.2,
                                       .topOffset = 61.0,
                                       .clickThrough = true,
                                       .isVisible = true};
        FakeUserDefaults store;

        settings.save(store);

        const QJsonObject object = QJsonDocument::fromJson(store.dataForKey(key()).value_or("")).object();
        QStringList keys = object.keys();
        keys.sort();
        QCOMPARE(keys, (QStringList{u"clickThrough"_s, u"height"_s, u"isVisible"_s, u"opacity"_s, u"topOffset"_s,
                                    u"widthRatio"_s}));
        QVERIFY(OverlaySettings::load(store) == settings);
    }

    void unencodableValueKeepsTheOldDocument()
    {
        FakeUserDefaults store;
        store.setData("kept", key());
        OverlaySettings{.height = std::numeric_limits<double>::quiet_NaN()}.save(store);
        OverlaySettings{.topOffset = std::numeric_limits<double>::infinity()}.save(store);
        QCOMPARE(store.dataForKey(key()), QByteArray("kept"));
    }
};

} // namespace quorvel::test

QTEST_GUILESS_MAIN(quorvel::test::OverlaySettingsTest)
#include "OverlaySettingsTest.moc"
