#include "ViewFixture.h"

using namespace quorvel;
using namespace Qt::StringLiterals;

class MainViewTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_view = std::make_unique<test::ViewFixture>(); }
    void cleanup()
    {
        QCOMPARE(m_view->warnings, QStringList());
        m_view.reset();
    }

    /// First start to log-out, as assistive technology does it.
    void goesTheWholeWayByAccessibility()
    {
        openAsNewUser();
        QVERIFY(m_view->press(u"I Understand"_s));
        QVERIFY(m_view->enter(u"Email"_s, u"me@mail.example"_s));
        QVERIFY(m_view->press(u"Send Gmail OTP"_s));
        QVERIFY(m_view->shows(QAccessible::StaticText, u"Local dev code: 123456"_s));
        QVERIFY(m_view->enter(u"6-digit code"_s, u"123456"_s));
        QVERIFY(m_view->press(u"Verify and Continue"_s));

        QVERIFY(m_view->find(QAccessible::Button, u"Continue"_s));
        m_view->mainModel().interviewSetup()->extractResume(QUrl::fromLocalFile(m_view->resume.fileName()));
        test::settle();
        QVERIFY(m_view->shows(QAccessible::StaticText, u"Nine years of systems."_s));
        QVERIFY(m_view->press(u"Technical"_s, QAccessible::RadioButton));
        QVERIFY(m_view->enter(u"Job Description"_s, u"We look for an engineer."_s));
        QVERIFY(m_view->enter(u"Role"_s, u"Engineer"_s));
        QVERIFY(m_view->press(u"Continue"_s));
        QCOMPARE(state().meetingContext().sessionMode, SessionMode::technical);
        QCOMPARE(state().meetingContext().userRole, u"Engineer"_s);

        QVERIFY(m_view->press(u"Choose Source"_s));
        QVERIFY(m_view->shows(QAccessible::Button, u"Meet - Weekly sync"_s));
        QVERIFY(m_view->press(u"Meet - Weekly sync"_s));
        QVERIFY(m_view->shows(QAccessible::StaticText, u"Session: Running"_s));
        m_view->receive(R"({"type":"transcript.final","text":"Why us?"})");
        QVERIFY(m_view->shows(QAccessible::ListItem, u"Final: Why us?"_s));
        QVERIFY(m_view->press(u"Stop"_s));
        QVERIFY(m_view->shows(QAccessible::StaticText, u"Session: Idle"_s));
        QVERIFY(m_view->hides(QAccessible::Button, u"Stop"_s));
        QVERIFY(m_view->press(u"Log Out"_s));
        QVERIFY(m_view->shows(QAccessible::Button, u"Continue with Google"_s));
    }

    void goesTheWholeWayByKeyboard()
    {
        openAsNewUser();
        QTest::keyClick(m_view->window, Qt::Key_Escape);
        QVERIFY2(state().showOnboarding(), "the notice cannot be waved away");
        QTest::keyClick(m_view->window, Qt::Key_Return);
        QVERIFY(!state().showOnboarding());
        QTRY_COMPARE(m_view->focused(), u"Email"_s);
        m_view->type(u"me@mail.example"_s);
        QTest::keyClick(m_view->window, Qt::Key_Return);
        test::settle();
        QVERIFY(m_view->tabTo(u"6-digit code"_s));
        m_view->type(u"123456"_s);
        QTest::keyClick(m_view->window, Qt::Key_Return);
        test::settle();

        // The file dialog is the desktop's.
        m_view->mainModel().interviewSetup()->extractResume(QUrl::fromLocalFile(m_view->resume.fileName()));
        test::settle();
        QVERIFY(m_view->tabTo(u"HR"_s));
        QTest::keyClick(m_view->window, Qt::Key_Right);
        QCOMPARE(m_view->focused(), u"Technical"_s);
        QCOMPARE(state().meetingContext().sessionMode, SessionMode::technical);
        QVERIFY(m_view->tabTo(u"Job Description"_s));
        m_view->type(u"A job"_s);
        QVERIFY(m_view->tabTo(u"Tone"_s));
        QTest::keyClick(m_view->window, Qt::Key_Return); // the window's default action
        test::settle();
        QVERIFY(state().hasCompletedInterviewSetup());

        QVERIFY(m_view->tabTo(u"Choose Source"_s));
        QTest::keyClick(m_view->window, Qt::Key_Return);
        QTRY_VERIFY(state().showSharePicker());
        QTRY_COMPARE(m_view->focused(), u"Meet - Weekly sync"_s);
        QTest::keyClick(m_view->window, Qt::Key_Escape);
        QTRY_VERIFY(!state().showSharePicker());
        QVERIFY(m_view->tabTo(u"Choose Source"_s));
        QTest::keyClick(m_view->window, Qt::Key_Space);
        QTRY_COMPARE(m_view->focused(), u"Meet - Weekly sync"_s);
        QTest::keyClick(m_view->window, Qt::Key_Return);
        QTRY_COMPARE(state().sessionStatus(), SessionStatus::running);

        QVERIFY(m_view->tabTo(u"Stop"_s));
        QTest::keyClick(m_view->window, Qt::Key_Return);
        QTRY_COMPARE(state().sessionStatus(), SessionStatus::idle);
        QVERIFY(m_view->tabTo(u"Log Out"_s));
        QTest::keyClick(m_view->window, Qt::Key_Return);
        test::settle();
        QVERIFY(!state().isAuthenticated());
    }

    /// Every stop of the tab key on the fullest screen has a name and says that it has the keyboard.
    void namesEveryStop()
    {
        QVERIFY(m_view->open());
        state().setMockModeEnabled(true);
        QVERIFY(m_view->press(u"Advanced Overlay Settings"_s));
        QVERIFY(m_view->tabTo(u"Choose Source"_s));
        QStringList stops;
        do {
            stops << m_view->focused();
            QTest::keyClick(m_view->window, Qt::Key_Tab);
        } while (m_view->focused() != stops.first() && stops.size() < 60);
        QCOMPARE(stops.join(u"; "),
                 QStringList({u"Choose Source"_s, u"Interview setup"_s, u"Clear transcript"_s, u"Transcript"_s,
                              u"Advanced Overlay Settings"_s, u"Width"_s, u"Height"_s, u"Opacity"_s, u"Top Offset"_s,
                              u"Click-through overlay"_s, u"Apply Overlay Settings"_s, u"Edit Interview Setup"_s,
                              u"Mock transcript mode"_s, u"Mock transcript"_s, u"Submit Mock Transcript"_s,
                              u"Log Out"_s, u"Quorvel"_s})
                     .join(u"; "));
    }

    void takesMockLinesIn()
    {
        QVERIFY(m_view->open());
        QVERIFY(m_view->press(u"Mock transcript mode"_s, QAccessible::CheckBox));
        QVERIFY(m_view->enter(u"Mock transcript"_s, u"Welcome\nPlease introduce yourself"_s));
        QVERIFY(m_view->press(u"Submit Mock Transcript"_s));
        QCOMPARE(state().mockText(), QString());
        QVERIFY(m_view->shows(QAccessible::ListItem, u"Mock: Welcome"_s));
        QVERIFY(m_view->shows(QAccessible::ListItem, u"Mock: Please introduce yourself"_s));
        QVERIFY(m_view->shows(QAccessible::ListItem, state().currentSuggestionText()));
        QVERIFY(m_view->shows(QAccessible::StaticText, u"Confidence: 72%"_s));
        QVERIFY(m_view->shows(QAccessible::StaticText, u"Intent: question"_s));

        // The menu's command leaves the transcript alone.
        QTest::keyClick(m_view->window, Qt::Key_C, Qt::MetaModifier | Qt::ShiftModifier);
        QVERIFY(m_view->shows(QAccessible::StaticText, u"No suggestion yet."_s));
        QCOMPARE(state().currentSuggestionText(), QString());
        QCOMPARE(state().transcriptStore()->turns().size(), 2U);

        QVERIFY(m_view->press(u"Clear transcript"_s));
        QVERIFY(m_view->hides(QAccessible::ListItem, u"Mock: Welcome"_s));
        QVERIFY(m_view->press(u"Mock transcript mode"_s, QAccessible::CheckBox));
        QVERIFY(m_view->hides(QAccessible::Button, u"Submit Mock Transcript"_s));
    }

    void showsTheInterimLine()
    {
        QVERIFY(m_view->open());
        state().transcriptStore()->setPartialText(u"So far"_s);
        QVERIFY(m_view->shows(QAccessible::StaticText, u"So far"_s));
        state().transcriptStore()->setPartialText({});
        QVERIFY(m_view->hides(QAccessible::StaticText, u"So far"_s));
    }

    void showsErrorsUntilTheyAreDismissed()
    {
        m_view->shareableContent->reading.failWith(u"Screen recording was declined."_s);
        QVERIFY(m_view->open());
        const QString message = state().errorMessage().value_or(QString());
        QVERIFY(m_view->shows(QAccessible::AlertMessage, message));
        QVERIFY(m_view->press(u"Open Settings"_s));
        QVERIFY(!m_view->workspace->opened.empty());
        QVERIFY(m_view->find(QAccessible::Button, u"Quit App"_s));
        QVERIFY(m_view->press(u"Dismiss error"_s));
        QVERIFY(!state().hasErrorMessage());
        QVERIFY(!state().capturePermissionRecoveryVisible());
        QVERIFY(m_view->hides(QAccessible::AlertMessage, message));
    }

    void retriesTheServer()
    {
        m_view->urlSession->step(u"/api/health"_s).failWith(u"No."_s);
        QVERIFY(m_view->open());
        QCOMPARE(m_view->focused(), u"Retry"_s);
        m_view->urlSession->step(u"/api/health"_s).hold();
        QTest::keyClick(m_view->window, Qt::Key_Return);
        QVERIFY(m_view->shows(QAccessible::StaticText, u"Connecting to Quorvel server..."_s));
        QVERIFY(m_view->hides(QAccessible::Button, u"Retry"_s));
        m_view->urlSession->answer(u"/api/health"_s, 200, R"({"ok":true})");
        m_view->urlSession->step(u"/api/health"_s).release();
        QVERIFY(m_view->shows(QAccessible::Button, u"Continue with Google"_s));
    }

    void followsTheAppearance()
    {
        QVERIFY(m_view->open());
        const QColor light = m_view->window->color();
        m_view->appearance->current.isDark = true;
        m_view->appearance->changeHandler();
        test::settle();
        QVERIFY(m_view->window->color().lightness() < light.lightness() / 2);
        m_view->appearance->current.isDark = false;
        m_view->appearance->changeHandler();
        test::settle();
        QCOMPARE(m_view->window->color(), light);
    }

private:
    [[nodiscard]] AppState& state() const { return *m_view->state; }

    /// A fresh installation with a backend that asks for sign-in.
    void openAsNewUser()
    {
        m_view->setConsent(false);
        m_view->storeContext(MeetingContext::defaults(), false);
        m_view->urlSession->answer(u"/api/health"_s, 200, R"({"ok":true})");
        m_view->urlSession->answer(u"/api/auth/otp/request"_s, 200, R"({"ok":true,"devCode":"123456"})");
        m_view->urlSession->answer(
            u"/api/auth/otp/verify"_s, 200,
            R"({"user":{"id":"1","email":"me@mail.example","role":"USER"},"accessToken":"a","refreshToken":"r","expiresIn":60})");
        m_view->urlSession->answer(u"/api/auth/me"_s, 200,
                                   R"({"user":{"id":"1","email":"me@mail.example","role":"USER"}})");
        m_view->urlSession->answer(
            u"/api/profile/extract"_s, 200,
            R"({"resumeSummary":"Nine years of systems.","keyterms":["C++"],"characterCount":9})");
        QVERIFY(m_view->open());
    }

    std::unique_ptr<test::ViewFixture> m_view;
};

QTEST_MAIN(MainViewTest)
#include "MainViewTest.moc"
