#include "AppStateFixture.h"

#include <QFile>
#include <QTemporaryDir>

using namespace quorvel;
using namespace Qt::StringLiterals;

class AppStateInterviewTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_app = std::make_unique<test::AppStateFixture>(); }
    void cleanup() { m_app.reset(); }

    void savesTheSetup_data()
    {
        QTest::addColumn<QString>("job");
        QTest::addColumn<bool>("completes");
        QTest::newRow("complete") << u"Engineer"_s << true;
        QTest::newRow("blank job") << u" \t"_s << false;
    }

    void savesTheSetup()
    {
        QFETCH(QString, job);
        QFETCH(bool, completes);
        m_app->storeContext(MeetingContext::defaults(), false);
        m_app->create();
        MeetingContext context = state().meetingContext();
        context.resumeSummary = u"R"_s;
        context.jobDescription = job;
        state().setMeetingContext(context);
        state().closeInterviewSetup(); // not before a complete profile was saved
        QVERIFY(state().showInterviewSetup());

        state().saveInterviewSetup();

        QCOMPARE(stored(), context);
        QCOMPARE(state().hasCompletedInterviewSetup(), completes);
        QCOMPARE(isMarkedComplete(), completes);
        QCOMPARE(state().showInterviewSetup(), !completes);
        QCOMPARE(state().errorMessage(),
                 completes ? std::nullopt : std::optional(u"Resume and job description are required."_s));
    }

    void closesOnlyACompleteSetup_data()
    {
        QTest::addColumn<QString>("resume");
        QTest::addColumn<bool>("closes");
        QTest::newRow("complete") << u"R"_s << true;
        QTest::newRow("edited down to blanks") << u"  "_s << false;
    }

    void closesOnlyACompleteSetup()
    {
        QFETCH(QString, resume);
        QFETCH(bool, closes);
        m_app->create();
        state().setShowInterviewSetup(true);
        MeetingContext context = state().meetingContext();
        context.resumeSummary = resume;
        state().setMeetingContext(context);
        state().closeInterviewSetup();
        QCOMPARE(state().showInterviewSetup(), !closes);
    }

    void resets()
    {
        m_app->create();
        MeetingContext context = state().meetingContext();
        context.userRole = u"Lead"_s;
        context.sessionMode = SessionMode::technical;
        context.keyterms = {u"C++"_s};
        state().setMeetingContext(context);
        state().resetInterviewSetup();
        context.resumeSummary.clear();
        context.jobDescription.clear();
        context.keyterms.clear();
        QCOMPARE(state().meetingContext(), context);
        QCOMPARE(stored(), context);
        QVERIFY(!isMarkedComplete());
        QVERIFY(state().showInterviewSetup());
        QVERIFY(state().needsInterviewSetup());
    }

    void pushesEditsToARunningSession()
    {
        m_app->create();
        state().saveMeetingContext();
        test::settle(); // without a session there is nobody to tell
        m_app->start();
        MeetingContext context = state().meetingContext();
        context.meetingGoal = u"first"_s;
        state().setMeetingContext(context);
        state().saveMeetingContext();
        context.meetingGoal = u"second"_s;
        state().setMeetingContext(context);
        state().saveMeetingContext();
        test::settle();
        const auto sent = m_app->sentObjects();
        QCOMPARE(sent.size(), 3U);
        for (const std::size_t number : {1U, 2U}) { // each tells what holds when it runs
            QCOMPARE(sent[number][u"type"], QJsonValue(u"context.update"_s));
            QCOMPARE(sent[number][u"context"][u"meetingGoal"], QJsonValue(u"second"_s));
        }
        m_app->socket().sending.failWith(u"Reset."_s);
        state().saveMeetingContext();
        test::settle();
        QCOMPARE(state().errorMessage(), std::nullopt);
        QCOMPARE(state().sessionStatus(), SessionStatus::running);
    }

    void extractsAResume_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("message");
        QTest::newRow("success") << 200
                                 << QByteArray(R"({"resumeSummary":"New","keyterms":["Qt","C++"],"characterCount":9})")
                                 << QString();
        QTest::newRow("refused") << 415 << QByteArray("Only PDF, DOCX and TXT.") << u"Only PDF, DOCX and TXT."_s;
        QTest::newRow("not text") << 500 << QByteArray("\xff\xfe") << u"Profile extraction failed."_s;
    }

    void extractsAResume()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, message);
        QTemporaryDir folder;
        QFile file(folder.filePath(u"my resume.pdf"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("%PDF");
        file.close();

        m_app->create();
        auto& upload = m_app->urlSession->step(u"/api/profile/extract"_s);
        upload.hold();
        launch(state().extractResume(QUrl::fromLocalFile(file.fileName())));
        test::settle();
        QVERIFY(state().isExtractingResume());
        MeetingContext edited = state().meetingContext();
        edited.jobDescription = u"edited meanwhile"_s;
        state().setMeetingContext(edited);
        upload.release(platform::UrlResponse{.httpStatus = status, .body = body});
        test::settle();

        QVERIFY(!state().isExtractingResume());
        QCOMPARE(state().errorMessage().value_or(QString()), message);
        QCOMPARE(state().resumeUploadName(), status == 200 ? u"my resume.pdf"_s : QString());
        if (status == 200) {
            edited.resumeSummary = u"New"_s;
            edited.keyterms = {u"Qt"_s, u"C++"_s};
            QCOMPARE(stored(), edited);
        }
        QCOMPARE(state().meetingContext(), edited);
    }

private:
    [[nodiscard]] AppState& state() const { return *m_app->state; }
    [[nodiscard]] MeetingContext stored() const
    {
        const auto data = m_app->userDefaults->suiteStore->dataForKey(u"meeting.context"_s);
        return MeetingContext::fromJson(data.value_or(QByteArray())).value_or(MeetingContext());
    }
    [[nodiscard]] bool isMarkedComplete() const
    {
        return m_app->userDefaults->suiteStore->boolForKey(u"interview.setup.completed"_s);
    }

    std::unique_ptr<test::AppStateFixture> m_app;
};

QTEST_GUILESS_MAIN(AppStateInterviewTest)
#include "AppStateInterviewTest.moc"
