#include "platform/Json.h"

#include <QTest>

using namespace quorvel;
using namespace Qt::StringLiterals;

namespace {

struct Inner
{
    bool flag = false;

    static Result<Inner> fromJson(const QJsonObject& object)
    {
        JsonReader reader(object);
        return reader.finish(Inner{.flag = reader.boolean(u"flag"_s)});
    }
    friend bool operator==(const Inner&, const Inner&) = default;
};

} // namespace

class JsonTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tellsIntegersFromOtherNumbers_data()
    {
        QTest::addColumn<QByteArray>("number");
        QTest::addColumn<bool>("isInteger");
        QTest::addColumn<qint64>("value");
        QTest::newRow("zero") << QByteArray("0") << true << qint64(0);
        QTest::newRow("one") << QByteArray("1") << true << qint64(1);
        QTest::newRow("negative") << QByteArray("-48000") << true << qint64(-48000);
        QTest::newRow("whole with a point") << QByteArray("5.0") << true << qint64(5);
        QTest::newRow("largest") << QByteArray("9223372036854775807") << true << std::numeric_limits<qint64>::max();
        QTest::newRow("fraction") << QByteArray("1.5") << false << qint64(0);
        QTest::newRow("too large") << QByteArray("1e40") << false << qint64(0);
        QTest::newRow("beyond every double") << QByteArray("1e999") << false << qint64(0);
        QTest::newRow("text") << QByteArray("\"1\"") << false << qint64(0);
        QTest::newRow("boolean") << QByteArray("true") << false << qint64(0);
        QTest::newRow("null") << QByteArray("null") << false << qint64(0);
    }

    void tellsIntegersFromOtherNumbers()
    {
        QFETCH(QByteArray, number);
        QFETCH(bool, isInteger);
        const Result<QJsonObject> object = parseJsonObject("{\"n\":" + number + "}");
        const auto integer = object ? exactInteger(object->value(u"n"_s)) : std::nullopt;
        QCOMPARE(integer.has_value(), isInteger);
        QTEST(qint64(integer.value_or(0)), "value");
        if (object) {
            JsonReader reader(*object);
            const std::int64_t read = reader.integer(u"n"_s);
            QCOMPARE(reader.finish(read).has_value(), isInteger);
        }
    }

    void readsOptionals_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<bool>("decodes");
        QTest::addColumn<bool>("isPresent");
        QTest::newRow("absent") << QByteArray("{}") << true << false;
        QTest::newRow("null") << QByteArray(R"({"text":null,"inner":null})") << true << false;
        QTest::newRow("present") << QByteArray(R"({"text":"t","inner":{"flag":true}})") << true << true;
        QTest::newRow("text of another type") << QByteArray(R"({"text":1})") << false << false;
        QTest::newRow("object of another type") << QByteArray(R"({"inner":[]})") << false << false;
        QTest::newRow("fault inside") << QByteArray(R"({"inner":{}})") << false << false;
    }

    void readsOptionals()
    {
        QFETCH(QByteArray, json);
        QFETCH(bool, isPresent);
        JsonReader reader(parseJsonObject(json).value());
        const auto text = reader.optionalString(u"text"_s);
        const auto inner = reader.optionalRecord<Inner>(u"inner"_s);
        const auto finished = reader.finish(std::pair(text, inner));
        QTEST(finished.has_value(), "decodes");
        if (finished) {
            QCOMPARE(text, isPresent ? std::optional(u"t"_s) : std::nullopt);
            QCOMPARE(inner, isPresent ? std::optional(Inner{.flag = true}) : std::nullopt);
        }
    }

    void keepsTheFirstFault()
    {
        JsonReader reader(parseJsonObject(R"({"a":1,"b":2})").value());
        const QString first = reader.string(u"a"_s);
        const QString second = reader.string(u"missing"_s);
        const auto finished = reader.finish(first + second);
        QVERIFY(!finished);
        QCOMPARE(finished.error().code, errorCode(JsonError::wrongType));
        QVERIFY(finished.error().description.contains(u"“a”"));
    }

    void takesTheLastOfTwins() { QCOMPARE(parseJsonObject(R"({"a":1,"a":2})")->value(u"a"_s).toInt(), 2); }
};

QTEST_GUILESS_MAIN(JsonTest)
#include "JsonTest.moc"
