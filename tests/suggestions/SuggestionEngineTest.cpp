#include "suggestions/SuggestionEngine.h"

#include "platform/Json.h"
#include "support/EventLoop.h"
#include "support/FakeClock.h"
#include "support/FakeUrlSession.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

#include <limits>

using namespace quorvel;
using namespace Qt::StringLiterals;

namespace {

ResponseSuggestion suggestion(const QString& text, double confidence = 0.9, bool shouldRespond = true)
{
    return {.shouldRespond = shouldRespond,
            .suggestion = text,
            .confidence = confidence,
            .detectedIntent = DetectedIntent::question};
}

} // namespace

class SuggestionEngineTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_engine = std::make_unique<SuggestionEngine>(
            std::make_shared<OpenAIResponseSuggestionClient>(std::make_shared<test::FakeUrlSession>()),
            std::make_shared<test::FakeClock>(), m_mainThread);
    }

    void takesInAndRecords_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<double>("confidence");
        QTest::addColumn<bool>("shouldRespond");
        QTest::addColumn<QString>("label"); // empty: not recorded
        QTest::newRow("sure") << u"A"_s << 0.9 << true << u"Refined"_s;
        QTest::newRow("just refined") << u"A"_s << 0.75 << true << u"Refined"_s;
        QTest::newRow("just not") << u"A"_s << 0.7499 << true << u"Quick"_s;
        QTest::newRow("no number") << u"A"_s << std::numeric_limits<double>::quiet_NaN() << true << u"Refined"_s;
        QTest::newRow("beyond the range") << u" A "_s << 1e300 << true << u"Refined"_s;
        QTest::newRow("no response wanted") << u"A"_s << 0.9 << false << QString();
        QTest::newRow("blank") << u" \r\n\u2029"_s << 0.9 << true << QString();
    }

    void takesInAndRecords()
    {
        QFETCH(QString, text);
        QFETCH(double, confidence);
        QFETCH(bool, shouldRespond);
        QFETCH(QString, label);
        m_engine->setWorking(true);

        m_engine->takeIn(suggestion(text, confidence, shouldRespond));

        QCOMPARE(m_engine->currentSuggestion().suggestion, text);
        QCOMPARE(m_engine->isWorking(), false);
        QCOMPARE(m_engine->history().size(), label.isEmpty() ? 0U : 1U);
        if (!label.isEmpty()) {
            QCOMPARE(m_engine->history().front().sourceLabel, label);
            QCOMPARE(m_engine->history().front().suggestion.suggestion, text);
        }
    }

    void recordsNoRepeatOfTheNewest()
    {
        for (const QString& text : {u"A"_s, u"A"_s, u"B"_s, u"b"_s, u"b "_s, u"A"_s}) {
            m_engine->takeIn(suggestion(text));
        }
        m_engine->takeIn(suggestion(u"A"_s, 0.1));
        QCOMPARE(m_engine->currentSuggestion().confidence, 0.1);
        QStringList texts;
        for (const SuggestionHistoryItem& item : m_engine->history()) {
            texts << item.suggestion.suggestion;
        }
        QCOMPARE(texts, QStringList({u"A"_s, u"b "_s, u"b"_s, u"B"_s, u"A"_s}));
    }

    void boundsItsHistoryRowByRow()
    {
        const QAbstractItemModelTester tester(m_engine->historyModel(),
                                              QAbstractItemModelTester::FailureReportingMode::QtTest);
        for (int number = 0; number < 60; ++number) {
            m_engine->appendHistory(suggestion(QString::number(number)));
        }
        QSignalSpy inserted(m_engine->historyModel(), &QAbstractItemModel::rowsInserted);
        QSignalSpy removed(m_engine->historyModel(), &QAbstractItemModel::rowsRemoved);
        m_engine->appendHistory(suggestion(u"60"_s));
        QCOMPARE(m_engine->history().size(), 60U);
        QCOMPARE(m_engine->history().front().suggestion.suggestion, u"60"_s);
        QCOMPARE(m_engine->history().back().suggestion.suggestion, u"1"_s);
        QCOMPARE(inserted.count(), 1);
        QCOMPARE(inserted.first().at(1).toInt(), 0);
        QCOMPARE(removed.count(), 1);
        QCOMPARE(removed.first().at(1).toInt(), 60);
    }

    void showsConfidenceInPercent_data()
    {
        QTest::addColumn<double>("confidence");
        QTest::addColumn<int>("percent");
        QTest::newRow("usual") << 0.72 << 72;
        QTest::newRow("just below a whole") << 0.29 << 29;
        QTest::newRow("no number") << std::numeric_limits<double>::quiet_NaN() << 0;
        QTest::newRow("endless") << std::numeric_limits<double>::infinity() << 1'000'000;
        QTest::newRow("negative and huge") << -1e300 << -1'000'000;
    }

    void showsConfidenceInPercent()
    {
        QFETCH(double, confidence);
        m_engine->takeIn(suggestion(u"A"_s, confidence));
        QAbstractItemModel* model = m_engine->historyModel();
        QTEST(model->data(model->index(0, 0), model->roleNames().key("confidencePercent")).toInt(), "percent");
    }

    void clearsAndKeepsWorking()
    {
        m_engine->takeIn(suggestion(u"A"_s));
        m_engine->setWorking(true);
        m_engine->clear();
        QCOMPARE(m_engine->currentSuggestion(), ResponseSuggestion());
        QVERIFY(m_engine->history().empty());
        QVERIFY(m_engine->isWorking());
    }

    void cancelOutlivesTheEngine()
    {
        m_engine->setWorking(true);
        QSignalSpy working(m_engine.get(), &SuggestionEngine::isWorkingChanged);
        m_engine->cancel();
        QCOMPARE(working.count(), 1);
        QVERIFY(!m_engine->isWorking());
        m_engine.reset();
        test::settle();
    }

    void codesSuggestionsAsJson_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<bool>("decodes");
        const QByteArray full = R"("shouldRespond":true,"suggestion":"S","confidence":1,"detectedIntent":"smalltalk")";
        QTest::newRow("all keys, whole confidence") << "{" + full + "}" << true;
        QTest::newRow("unknown keys") << "{" + full + R"(,"type":"suggestion.update","x":null})" << true;
        QTest::newRow("no intent") << QByteArray(R"({"shouldRespond":true,"suggestion":"S","confidence":1})") << false;
        QTest::newRow("null text") << "{" + QByteArray(full).replace(R"("S")", "null") + "}" << false;
        QTest::newRow("number as text") << "{" + QByteArray(full).replace(R"("S")", "7") + "}" << false;
        QTest::newRow("text as number") << "{" + QByteArray(full).replace(":1,", R"(:"1",)") + "}" << false;
        QTest::newRow("number as boolean") << "{" + QByteArray(full).replace("true", "1") + "}" << false;
        QTest::newRow("unknown intent") << "{" + QByteArray(full).replace("smalltalk", "monologue") + "}" << false;
        QTest::newRow("intent in capitals") << "{" + QByteArray(full).replace("smalltalk", "SmallTalk") + "}" << false;
    }

    void codesSuggestionsAsJson()
    {
        QFETCH(QByteArray, json);
        QFETCH(bool, decodes);
        const auto decoded = ResponseSuggestion::fromJson(parseJsonObject(json).value());
        QCOMPARE(decoded.has_value(), decodes);
        if (decodes) {
            QCOMPARE(*decoded, (ResponseSuggestion{.shouldRespond = true,
                                                   .suggestion = u"S"_s,
                                                   .confidence = 1.0,
                                                   .detectedIntent = DetectedIntent::smalltalk}));
            QCOMPARE(ResponseSuggestion::fromJson(decoded->toJson()), decoded);
            QCOMPARE(decoded->toJson().size(), 4);
        }
    }

private:
    std::shared_ptr<platform::MainThread> m_mainThread = std::make_shared<platform::MainThread>();
    std::unique_ptr<SuggestionEngine> m_engine;
};

QTEST_GUILESS_MAIN(SuggestionEngineTest)
#include "SuggestionEngineTest.moc"
