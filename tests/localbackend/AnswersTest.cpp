#include "answers/IntentRules.h"
#include "answers/OfflineAnswerer.h"
#include "answers/Phrasing.h"
#include "answers/SentenceIndex.h"
#include "answers/Sentences.h"
#include "fixtures/Interviews.h"
#include "support/Text.h"

#include <QTest>

#include <algorithm>

using namespace quorvel::localbackend;

namespace {

MeetingContext contextOf(const Interview& interview)
{
    return {.userRole = "Candidate",
            .meetingGoal = "",
            .tone = "concise",
            .resumeSummary = std::string(interview.resume),
            .jobDescription = std::string(interview.job),
            .sessionMode = interview.mode,
            .keyterms = {}};
}

/// The words that may be a fact: figures, and words that start with a capital within a sentence.
std::vector<std::string> claimsIn(const std::string& text)
{
    std::vector<std::string> claims;
    bool start = true;
    for (const auto piece : splitTrimmed(text, " \n")) {
        const bool digit = std::ranges::any_of(piece, [](char c) { return c >= '0' && c <= '9'; });
        const bool capital = piece.front() >= 'A' && piece.front() <= 'Z';
        if (digit || (capital && !start && piece.size() > 1 && !piece.starts_with("I'")))
            claims.push_back(wordsOf(piece).front());
        start = piece.ends_with('.') || piece.ends_with(':') || piece.ends_with('?') || piece.ends_with('!');
    }
    return claims;
}

} // namespace

class AnswersTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void interviewsAreAnsweredFromTheResume_data()
    {
        QTest::addColumn<int>("interview");
        QTest::addColumn<int>("line");
        for (std::size_t i = 0; i < interviews.size(); ++i) {
            for (std::size_t j = 0; j < interviews.at(i).lines.size(); ++j)
                QTest::newRow(std::string(interviews.at(i).lines.at(j).utterance).c_str())
                    << static_cast<int>(i) << static_cast<int>(j);
        }
    }
    void interviewsAreAnsweredFromTheResume()
    {
        QFETCH(int, interview);
        QFETCH(int, line);
        const auto& given = interviews.at(static_cast<std::size_t>(interview));
        const auto& expected = given.lines.at(static_cast<std::size_t>(line));
        const auto answers = OfflineAnswerer().brief(contextOf(given));
        const auto answer = answers->answer(expected.utterance, "");
        QCOMPARE(std::string(intentName(answer.intent)), std::string(intentName(expected.intent)));
        QCOMPARE(answer.shouldRespond, expected.shouldRespond);
        QCOMPARE(answer.text.empty(), !expected.shouldRespond);
        QVERIFY(answer.confidence >= 0 && answer.confidence <= 1);
        QVERIFY2(answer.text.contains(expected.evidence), answer.text.c_str());

        const auto resumeAndJob = wordsOf(std::string(given.resume) + "\n" + std::string(given.job));
        static const std::vector<std::string> labels{"action", "result", "tradeoff", "situation", "example",
                                                     "dns",    "tcp",    "tls",      "http"};
        for (const auto& claim : claimsIn(answer.text)) {
            QVERIFY2(std::ranges::find(resumeAndJob, claim) != resumeAndJob.end() ||
                         std::ranges::find(labels, claim) != labels.end(),
                     (claim + " is invented in: " + answer.text).c_str());
        }
        if (answer.text.contains("I ") && answer.text.contains("Action: I ")) {
            const auto action = answer.text.substr(answer.text.find("Action: I ") + 10);
            const auto claimed = wordsOf(action.substr(0, action.find(". ")));
            for (const auto& word : claimed)
                QVERIFY2(std::ranges::find(resumeAndJob, word) != resumeAndJob.end(), word.c_str());
        }
    }

    void evidenceRaisesConfidence()
    {
        const auto answers = OfflineAnswerer().brief(contextOf(interviews.at(0)));
        const auto known = answers->answer("have you worked with kafka", "").confidence;
        const auto unknown = answers->answer("how do you secure an api with oauth", "").confidence;
        QVERIFY(known > 0.75);
        QVERIFY(unknown < known);
    }

    void pauseDoesNotLoseTheQuestion()
    {
        const auto answers = OfflineAnswerer().brief(contextOf(interviews.at(1)));
        const auto first = answers->answer("tell me about a time", "");
        QVERIFY(first.intent == Intent::Question);
        const auto second = answers->answer("when two shifts had a conflict", "tell me about a time");
        QVERIFY(second.intent == Intent::Question);
        QVERIFY2(second.text.contains("rota"), second.text.c_str());
    }

    void toneDecidesTheLength()
    {
        auto context = contextOf(interviews.at(1));
        const auto brief =
            OfflineAnswerer().brief(context)->answer("tell me about a time when you trained nurses on a shift", "");
        context.tone = "Detailed and thorough";
        const auto detailed =
            OfflineAnswerer().brief(context)->answer("tell me about a time when you trained nurses on a shift", "");
        QVERIFY(detailed.text.size() > brief.text.size());
        QVERIFY(detailed.text.starts_with(brief.text));
    }

    void emptyContextIsNoReasonToInvent()
    {
        const auto answers = OfflineAnswerer().brief({});
        for (const auto& interview : interviews) {
            for (const auto& line : interview.lines) {
                const auto answer = answers->answer(line.utterance, "");
                QVERIFY2(!answer.text.contains("Action: I ") && claimsIn(answer.text).empty(), answer.text.c_str());
            }
        }
        QVERIFY(!answers->answer("", "").shouldRespond);
    }

    void longContextIsAnswered()
    {
        auto context = contextOf(interviews.at(0));
        for (int i = 0; i < 2000; ++i)
            context.resumeSummary += "\nLed project " + std::to_string(i) + " to success";
        context.jobDescription = std::string(130'000, 'x');
        QVERIFY(OfflineAnswerer().brief(context)->answer("have you worked with kafka", "").text.contains("Kafka"));
    }

    void sentencesAreFound_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("sentences");
        QTest::newRow("stops") << QByteArray("One. Two! Three?") << QByteArray("One|Two|Three");
        QTest::newRow("bullets") << QByteArray("- one\n\xE2\x80\xA2 two\n* three") << QByteArray("one|two|three");
        QTest::newRow("abbreviations") << QByteArray("Used tools, e.g. Kafka. Done.")
                                       << QByteArray("Used tools, e.g. Kafka|Done");
        QTest::newRow("names with dots") << QByteArray("Node.js 1.5 rocks") << QByteArray("Node.js 1.5 rocks");
        QTest::newRow("nothing") << QByteArray(" \n---\n. .") << QByteArray("");
    }
    void sentencesAreFound()
    {
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, sentences);
        std::string joined;
        for (const auto& sentence : sentencesOf(text.toStdString()))
            joined += (joined.empty() ? "" : "|") + sentence;
        QCOMPARE(QByteArray::fromStdString(joined), sentences);
    }

    void retrievalPrefersRareWords()
    {
        const SentenceIndex index({"led a team", "led a team with kafka", "led a team", "designing services"});
        const auto hits = index.find(termsOf("which team did you lead with Kafka"));
        QCOMPARE(hits.front().sentence, 1U);
        QVERIFY(hits.front().coverage > 0.4);
        QCOMPARE(index.find(termsOf("designed a service")).front().sentence, 3U);
        QVERIFY(index.find(termsOf("cooking")).empty());
        QVERIFY(SentenceIndex({}).find({"x"}).empty());
    }

    void achievementsAreSplit_data()
    {
        QTest::addColumn<QByteArray>("sentence");
        QTest::addColumn<QByteArray>("action");
        QTest::addColumn<QByteArray>("result");
        QTest::newRow("clause") << QByteArray("Led X, cutting cost by 4%") << QByteArray("Led X")
                                << QByteArray("cutting cost by 4%");
        QTest::newRow("relative") << QByteArray("Led X, which was kept") << QByteArray("Led X")
                                  << QByteArray("it was kept");
        QTest::newRow("list first") << QByteArray("Built A, B and C, saving a week") << QByteArray("Built A, B and C")
                                    << QByteArray("saving a week");
        QTest::newRow("none") << QByteArray("Led X") << QByteArray("Led X") << QByteArray("");
    }
    void achievementsAreSplit()
    {
        QFETCH(QByteArray, sentence);
        QFETCH(QByteArray, action);
        QFETCH(QByteArray, result);
        const auto parts = splitAchievement(sentence.toStdString());
        QCOMPARE(parts.action, action.toStdString());
        QCOMPARE(parts.result, result.toStdString());
    }
};

QTEST_APPLESS_MAIN(AnswersTest)
#include "AnswersTest.moc"
