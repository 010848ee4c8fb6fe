#include "context/MeetingContext.h"

#include "platform/Json.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

using namespace quorvel;
using namespace Qt::StringLiterals;

class MeetingContextTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isCompleteWithResumeAndJob_data()
    {
        QTest::addColumn<QString>("resume");
        QTest::addColumn<QString>("job");
        QTest::addColumn<bool>("complete");
        QTest::newRow("defaults") << QString() << QString() << false;
        QTest::newRow("blank resume") << u"   "_s << u"Engineer"_s << false;
        QTest::newRow("blank job") << u"Resume"_s << u"\r\n\u2028\t"_s << false;
        QTest::newRow("both") << u" R"_s << u"J\n"_s << true;
    }

    void isCompleteWithResumeAndJob()
    {
        QFETCH(QString, resume);
        QFETCH(QString, job);
        MeetingContext context = MeetingContext::defaults();
        context.resumeSummary = resume;
        context.jobDescription = job;
        QTEST(context.isInterviewProfileComplete(), "complete");
    }

    void survivesJson()
    {
        QCOMPARE(decoded(MeetingContext::defaults().toJson()), MeetingContext::defaults());
        QCOMPARE(MeetingContext::defaults().toJson().value(u"sessionMode"_s), QJsonValue(u"HR"_s));
        QCOMPARE(MeetingContext::defaults().toJson().value(u"keyterms"_s), QJsonValue(QJsonArray()));

        const MeetingContext context{.userRole = u"Größe \U0001f600"_s,
                                     .meetingGoal = u"\"quoted\"\n"_s,
                                     .tone = u"\u2028"_s,
                                     .resumeSummary = u" kept "_s,
                                     .jobDescription = u"j"_s,
                                     .sessionMode = SessionMode::technical,
                                     .keyterms = {u"b"_s, u"a"_s, u"b"_s}};
        QCOMPARE(decoded(context.toJson()), context);
        MeetingContext reordered = context;
        reordered.keyterms = {u"a"_s, u"b"_s, u"b"_s};
        QVERIFY(reordered != context);
    }

    void refusesWhatIsNotExact_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QJsonValue>("value"); // undefined: the key is missing
        QTest::addColumn<JsonError>("error");
        for (const QString& key : MeetingContext::defaults().toJson().keys()) {
            QTest::addRow("%s missing", qPrintable(key))
                << key << QJsonValue(QJsonValue::Undefined) << JsonError::missingKey;
            QTest::addRow("%s null", qPrintable(key)) << key << QJsonValue(QJsonValue::Null) << JsonError::missingKey;
            QTest::addRow("%s number", qPrintable(key)) << key << QJsonValue(1) << JsonError::wrongType;
        }
        QTest::newRow("mode in small letters") << u"sessionMode"_s << QJsonValue(u"hr"_s) << JsonError::unknownValue;
        QTest::newRow("key term that is no text")
            << u"keyterms"_s << QJsonValue(QJsonArray({u"a"_s, 1})) << JsonError::wrongType;
    }

    void refusesWhatIsNotExact()
    {
        QFETCH(QString, key);
        QFETCH(QJsonValue, value);
        QFETCH(JsonError, error);
        QJsonObject object = MeetingContext::defaults().toJson();
        object.insert(u"unknown"_s, u"ignored"_s);
        QVERIFY(MeetingContext::fromJson(QJsonDocument(object).toJson()));
        object.remove(key);
        if (!value.isUndefined()) {
            object.insert(key, value);
        }
        const Result<MeetingContext> result = MeetingContext::fromJson(QJsonDocument(object).toJson());
        QVERIFY(!result);
        QCOMPARE(result.error().code, errorCode(error));
        QVERIFY2(result.error().description.contains(key), qPrintable(result.error().description));
    }

    void refusesWhatIsNoObject_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("cut off") << QByteArray(R"({"userRole":)");
        QTest::newRow("an array") << QByteArray("[]");
        QTest::newRow("nested without end") << QByteArray(100000, '[');
        QTest::newRow("no UTF-8") << QByteArray("{\"userRole\":\"\xff\"}");
    }

    void refusesWhatIsNoObject()
    {
        QFETCH(QByteArray, json);
        const Result<MeetingContext> result = MeetingContext::fromJson(json);
        QVERIFY(!result);
        QCOMPARE(result.error().code, errorCode(JsonError::malformed));
    }

    void namesItsModes()
    {
        QCOMPARE(allCases<SessionMode>(), (std::array{SessionMode::hr, SessionMode::technical}));
        QCOMPARE(fromRawValue<SessionMode>(u"Technical"), std::optional(SessionMode::technical));
        QCOMPARE(fromRawValue<SessionMode>(u"technical"), std::nullopt);
        QVERIFY(modeDescription(SessionMode::hr).startsWith(u"HR answers"));
        QVERIFY(modeDescription(SessionMode::technical).startsWith(u"Technical answers"));
    }

private:
    static MeetingContext decoded(const QJsonObject& object)
    {
        return MeetingContext::fromJson(QJsonDocument(object).toJson(QJsonDocument::Compact)).value();
    }
};

QTEST_GUILESS_MAIN(MeetingContextTest)
#include "MeetingContextTest.moc"
