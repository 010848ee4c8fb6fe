#include "app/AppStateFixture.h"
#include "views/MainViewModel.h"

#include <QSignalSpy>

using namespace quorvel;
using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(quorvel::MainViewModel::Screen)

class ViewModelsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_app = std::make_unique<test::AppStateFixture>(); }
    void cleanup()
    {
        m_main.reset();
        m_app.reset();
    }

    void routes_data()
    {
        using enum MainViewModel::Screen;
        QTest::addColumn<QByteArray>("health");
        QTest::addColumn<bool>("isSetUp");
        QTest::addColumn<bool>("isSetupOpen");
        QTest::addColumn<MainViewModel::Screen>("screen");
        QTest::addColumn<QSize>("minimum");
        const QByteArray open = R"({"ok":true,"development":{"disableAuth":true,"disableAdminAuth":false}})";
        const QByteArray signedOut = R"({"ok":true})";
        QTest::newRow("no backend") << QByteArray() << true << true << serverConnection << QSize(620, 420);
        QTest::newRow("signed out") << signedOut << true << true << authGate << QSize(620, 520);
        QTest::newRow("first time") << open << false << false << interviewSetup << QSize(840, 640);
        QTest::newRow("set up again") << open << true << true << interviewSetup << QSize(840, 640);
        QTest::newRow("ready") << open << true << false << dashboard << QSize(940, 640);
    }

    void routes()
    {
        QFETCH(QByteArray, health);
        QFETCH(bool, isSetUp);
        QFETCH(bool, isSetupOpen);
        QFETCH(QSize, minimum);
        if (health.isEmpty()) {
            m_app->urlSession->step(u"/api/health"_s).failWith(u"No."_s);
        } else {
            m_app->urlSession->answer(u"/api/health"_s, 200, health);
        }
        if (!isSetUp) {
            m_app->storeContext(MeetingContext::defaults(), false);
        }
        create();
        state().setShowInterviewSetup(isSetupOpen);
        QTEST(m_main->screen(), "screen");
        QCOMPARE(QSize(m_main->minimumWidth(), m_main->minimumHeight()), minimum);
    }

    void tellsOfTheBackend()
    {
        m_app->urlSession->step(u"/api/health"_s).hold();
        create(QUrl(u"https://api.quorvel.example:444"_s));
        QVERIFY(m_main->isCheckingBackend());
        m_app->urlSession->answer(u"/api/health"_s, 200, R"({"ok":true})");
        m_app->urlSession->step(u"/api/health"_s).release();
        QTRY_VERIFY(!m_main->isCheckingBackend());
        QCOMPARE(m_main->backendNotice(),
                 u"Quorvel connects to the secure backend at api.quorvel.example. Deepgram handles "
                 "transcription; OpenAI handles suggestions."_s);
        QCOMPARE(m_main->connectionText(), u"Backend: Disconnected"_s);
        QVERIFY(!m_main->isConnected());

        m_app->urlSession->step(u"/api/health"_s).failWith(u"No."_s);
        m_main->checkBackend();
        test::settle();
        QCOMPARE(m_main->screen(), MainViewModel::Screen::serverConnection);
    }

    void keepsMessagesReadable_data()
    {
        QTest::addColumn<QByteArray>("refusal");
        QTest::addColumn<QString>("message");
        QTest::newRow("sentence") << QByteArray("Too many.") << u"Too many."_s;
        QTest::newRow("with whitespace") << QByteArray("\n Too many.\r\n") << u"Too many."_s;
        QTest::newRow("nothing") << QByteArray() << u"Backend request failed."_s;
        QTest::newRow("whitespace") << QByteArray("\n\n") << u"Backend request failed."_s;
        QTest::newRow("lines") << QByteArray("<html>\n\n\n<p>No") << u"<html> <p>No"_s;
        QTest::newRow("a whole page") << QByteArray(1'000'000, 'a')
                                      << QString(MainViewModel::longestMessage, u'a') + u'\u2026';
    }

    void keepsMessagesReadable()
    {
        QFETCH(QByteArray, refusal);
        m_app->urlSession->answer(u"/api/auth/otp/request"_s, 500, refusal);
        m_app->urlSession->answer(u"/api/profile/extract"_s, 500, refusal);
        create();
        QCOMPARE(m_main->authMessage(), QString());
        QCOMPARE(m_main->errorMessage(), QString());
        state().setAuthEmail(u"a@b.example"_s);
        m_main->requestOtp();
        m_main->interviewSetup()->extractResume(QUrl(u"file:///resume.pdf"_s));
        QTRY_VERIFY(!m_main->authMessage().isEmpty() && !m_main->errorMessage().isEmpty());
        QTEST(m_main->authMessage(), "message");
        QTEST(m_main->errorMessage(), "message");
    }

    void allowsWhatTheSessionAllows_data()
    {
        QTest::addColumn<QByteArray>("phase");
        QTest::addColumn<QString>("status");
        QTest::addColumn<bool>("canChoose");
        QTest::addColumn<bool>("showsStop");
        QTest::addColumn<bool>("canStop");
        QTest::addColumn<bool>("canSetUp");
        QTest::newRow("idle") << "idle"_ba << u"Idle"_s << true << false << false << true;
        QTest::newRow("starting") << "starting"_ba << u"Starting"_s << false << true << false << false;
        QTest::newRow("running") << "running"_ba << u"Running"_s << false << true << true << true;
        QTest::newRow("stopping") << "stopping"_ba << u"Stopping"_s << false << true << false << false;
        QTest::newRow("failed") << "failed"_ba << u"Failed"_s << true << false << false << true;
    }

    void allowsWhatTheSessionAllows()
    {
        QFETCH(QByteArray, phase);
        create();
        DashboardViewModel& dashboard = *m_main->dashboard();
        QSignalSpy changed(&dashboard, &ViewModel::changed);
        if (phase == "starting") {
            m_app->capture->steps->start.hold();
        }
        if (phase != "idle") {
            m_app->start();
            QVERIFY(changed.count() > 0);
        }
        if (phase == "stopping") {
            m_app->socket().sending.hold();
            launch(state().stopSession());
        } else if (phase == "failed") {
            m_app->socket().end(test::failure(u"Gone."_s));
            test::settle();
        }
        QTEST(dashboard.sessionHealth().value, "status");
        QCOMPARE(dashboard.sessionHealth().isGood, phase == "running");
        QTEST(dashboard.canChooseSource(), "canChoose");
        QTEST(dashboard.isStopShown(), "showsStop");
        QTEST(dashboard.canStop(), "canStop");
        QTEST(dashboard.canOpenSetup(), "canSetUp");
        if (phase == "stopping") {
            m_app->socket().sending.release();
            test::settle();
            QCOMPARE(state().sessionStatus(), SessionStatus::idle);
        }
    }

    void namesTheSource_data()
    {
        QTest::addColumn<CaptureSourceKind>("kind");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("shown");
        QTest::newRow("window") << CaptureSourceKind::window << u"Notes"_s << u"Notes"_s;
        QTest::newRow("window without a title") << CaptureSourceKind::window << QString() << u"Editor"_s;
        QTest::newRow("screen without a title") << CaptureSourceKind::screen << QString() << QString();
    }

    void namesTheSource()
    {
        QFETCH(CaptureSourceKind, kind);
        QFETCH(QString, title);
        QFETCH(QString, shown);
        create();
        DashboardViewModel& dashboard = *m_main->dashboard();
        state().setSelectedSource(std::nullopt);
        QCOMPARE(dashboard.sourceText(), u"Choose a meeting source"_s);
        QCOMPARE(dashboard.sourceLine(), QString());
        CaptureSource source;
        source.kind = kind;
        source.title = title;
        source.applicationName = u"Editor"_s;
        state().setSelectedSource(source);
        QCOMPARE(dashboard.sourceText(), shown);
        QCOMPARE(dashboard.sourceLine(), u"Source: "_s + shown);
    }

    void showsHealth()
    {
        create();
        DashboardViewModel& dashboard = *m_main->dashboard();
        m_app->start();
        QCOMPARE(dashboard.transcriberHealth(), (HealthItem{.value = u"Waiting"_s, .isGood = false}));
        QCOMPARE(dashboard.audioHealth(), (HealthItem{.value = u"No audio"_s, .isGood = false}));
        QCOMPARE(dashboard.latencyHealth(), (HealthItem{.value = u"Waiting"_s, .isGood = false}));
        QCOMPARE(dashboard.countersLine(), u"Audio bytes: 0  |  Commits: 0"_s);

        m_app->clock->set(Timestamp(std::chrono::sys_days(std::chrono::year(2027) / 1 / 15)));
        m_app->receive(R"({"type":"session.status","transcriber":"connected"})");
        m_app->receive(R"({"type":"diagnostic.tick","audioBytes":1584000,"commits":12,"latencyMs":120,
                           "lastAudioAt":"2027-01-15T00:00:00Z","lastTranscriptAt":"2027-01-15T00:00:00Z"})");
        QCOMPARE(dashboard.transcriberHealth(), (HealthItem{.value = u"Connected"_s, .isGood = true}));
        QCOMPARE(dashboard.audioHealth(), (HealthItem{.value = u"Receiving"_s, .isGood = true}));
        QCOMPARE(dashboard.latencyHealth(), (HealthItem{.value = u"120 ms"_s, .isGood = true}));
        QCOMPARE(dashboard.countersLine(), u"Audio bytes: 1584000  |  Commits: 12"_s);

        m_app->clock->advance(std::chrono::milliseconds(2499));
        QVERIFY(dashboard.audioHealth().isGood);
        m_app->clock->advance(std::chrono::milliseconds(1));
        QVERIFY(!dashboard.audioHealth().isGood);
    }

    void namesTheUser()
    {
        m_app->urlSession->answer(u"/api/health"_s, 200, R"({"ok":true})");
        create();
        QCOMPARE(m_main->dashboard()->userText(), u"Unknown user"_s);
        m_app->urlSession->answer(u"/api/health"_s, 200,
                                  R"({"ok":true,"development":{"disableAuth":true,"disableAdminAuth":false}})");
        launch(state().checkBackend());
        test::settle();
        QCOMPARE(m_main->dashboard()->userText(), u"user@quorvel.example"_s);
    }

    void followsTheSetup()
    {
        m_app->storeContext(MeetingContext::defaults(), false);
        create();
        InterviewSetupViewModel& setup = *m_main->interviewSetup();
        MeetingContext context = MeetingContext::defaults();
        context.userRole.clear();
        state().setMeetingContext(context);
        QVERIFY(!setup.hasResume() && !setup.hasJobDescription() && !setup.hasRole() && !setup.isComplete());
        QVERIFY(setup.isDevelopmentMode());
        QVERIFY(!setup.canReset());
        QCOMPARE(setup.uploadTitle(), u"Upload Resume"_s);
        QCOMPARE(setup.uploadHint(), u"PDF, DOCX, or TXT"_s);
        QCOMPARE(setup.saveTitle(), u"Continue"_s);
        QCOMPARE(setup.keytermsLine(), QString());

        // Blanks are something, but not enough.
        context.resumeSummary = u"  "_s;
        context.jobDescription = u"Job"_s;
        context.userRole = u"Engineer"_s;
        for (int number = 1; number <= 14; ++number) {
            context.keyterms << u"term%1"_s.arg(number);
        }
        state().setMeetingContext(context);
        QVERIFY(setup.hasResume() && setup.hasJobDescription() && setup.hasRole() && !setup.isComplete());
        QVERIFY(setup.canReset());
        QCOMPARE(setup.uploadTitle(), u"Replace Resume"_s);
        QCOMPARE(setup.keytermsLine(), u"Keyterms: term1, term2, term3, term4, term5, term6, term7, term8, term9, "
                                       "term10, term11, term12"_s);

        context.resumeSummary = u"Resume"_s;
        state().setMeetingContext(context);
        QVERIFY(setup.isComplete());
        state().saveInterviewSetup();
        QCOMPARE(setup.saveTitle(), u"Save Changes"_s);
    }

    void choosesTheMode()
    {
        create();
        InterviewSetupViewModel& setup = *m_main->interviewSetup();
        QCOMPARE(setup.modeTitles(), QStringList({u"HR"_s, u"Technical"_s}));
        QCOMPARE(setup.modeIndex(), 0);
        const QByteArray stored = m_app->userDefaults->suiteStore->dataForKey(u"meeting.context"_s).value_or("");
        setup.setModeIndex(1);
        QCOMPARE(state().meetingContext().sessionMode, SessionMode::technical);
        QCOMPARE(setup.modeText(), modeDescription(SessionMode::technical));
        QCOMPARE(m_app->userDefaults->suiteStore->dataForKey(u"meeting.context"_s).value_or(""), stored);
    }

    void picksTheFirstKindThatThereIs_data()
    {
        QTest::addColumn<QStringList>("applications");
        QTest::addColumn<bool>("hasDisplay");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QStringList>("titles");
        QTest::addColumn<QString>("empty");
        QTest::newRow("browser") << QStringList{u"Editor"_s, u"Firefox"_s} << true << 0 << QStringList{u"1"_s}
                                 << u"No browser sources found."_s;
        QTest::newRow("window") << QStringList{u"Editor"_s} << true << 1 << QStringList{u"0"_s}
                                << u"No window sources found."_s;
        QTest::newRow("screen") << QStringList() << true << 2 << QStringList{u"Entire Screen"_s}
                                << u"No screen sources found."_s;
        QTest::newRow("nothing") << QStringList() << false << 2 << QStringList() << u"No screen sources found."_s;
    }

    void picksTheFirstKindThatThereIs()
    {
        QFETCH(QStringList, applications);
        QFETCH(bool, hasDisplay);
        std::vector<test::AppStateFixture::Window> windows;
        for (const QString& application : applications) {
            windows.push_back(
                {static_cast<std::uint32_t>(windows.size() + 1), QString::number(windows.size()), application});
        }
        platform::ShareableContent content = test::AppStateFixture::content(windows);
        if (hasDisplay) {
            content.displays.push_back(std::make_shared<const platform::ShareableDisplay>());
        }
        m_app->shareableContent->reading.setResult(content);
        create();
        SharePickerViewModel& picker = *m_main->sharePicker();
        picker.refreshSources();
        test::settle();
        picker.selectPreferredKind();
        QTEST(picker.selectedKind(), "kind");
        QTEST(picker.emptyText(), "empty");
        QCOMPARE(picker.symbol(), SharePickerViewModel::kindSymbols().at(picker.selectedKind()));
        QStringList titles;
        const QAbstractItemModel& rows = *picker.visibleSources();
        for (int row = 0; row < rows.rowCount(); ++row) {
            titles << rows.index(row, 0).data(rows.roleNames().key("title")).toString();
        }
        QTEST(titles, "titles");

        picker.startScreenShare(5); // a row that is gone
        test::settle();
        QCOMPARE(state().sessionStatus(), SessionStatus::idle);
        if (!titles.isEmpty()) {
            picker.startScreenShare(0);
            test::settle();
            QCOMPARE(state().sessionStatus(), SessionStatus::running);
            QCOMPARE(state().selectedSource().value_or(CaptureSource()).displayName(), titles.first());
        }
    }

private:
    void create(const QUrl& origin = test::AppStateFixture::origin())
    {
        m_app->create(origin);
        m_main = std::make_unique<MainViewModel>(state());
    }
    [[nodiscard]] AppState& state() const { return *m_app->state; }

    std::unique_ptr<test::AppStateFixture> m_app;
    std::unique_ptr<MainViewModel> m_main;
};

QTEST_GUILESS_MAIN(ViewModelsTest)
#include "ViewModelsTest.moc"
