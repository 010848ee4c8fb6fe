#include "ViewFixture.h"

using namespace quorvel;
using namespace Qt::StringLiterals;

class MainViewTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_view = std::make_unique<test::ViewFixture>();
        QVERIFY(m_view->open());
    }
    void cleanup()
    {
        QCOMPARE(m_view->warnings, QStringList());
        m_view.reset();
    }

    void takesMockLinesIn()
    {
        AppState& state = m_view->app->appState();
        QAccessibleInterface* editor = m_view->find(QAccessible::EditableText, u"Mock transcript"_s);
        QVERIFY(editor);
        editor->setText(QAccessible::Value, u"Welcome\nPlease introduce yourself"_s);
        QCOMPARE(state.mockText(), u"Welcome\nPlease introduce yourself"_s);
        QVERIFY(m_view->press(u"Submit Mock Transcript"_s));
        QCOMPARE(editor->text(QAccessible::Value), QString());
        QVERIFY(m_view->shows(QAccessible::ListItem, u"Mock: Welcome"_s));
        QVERIFY(m_view->shows(QAccessible::ListItem, u"Mock: Please introduce yourself"_s));
        QVERIFY(m_view->shows(QAccessible::ListItem, state.currentSuggestionText()));
        QVERIFY(m_view->shows(QAccessible::StaticText, u"Confidence: 72%"_s));
        QVERIFY(m_view->shows(QAccessible::StaticText, u"Intent: question"_s));

        QVERIFY(m_view->press(u"Clear transcript"_s));
        QVERIFY(m_view->hides(QAccessible::ListItem, u"Mock: Welcome"_s));
    }

    void showsTheInterimLine()
    {
        AppState& state = m_view->app->appState();
        state.transcriptStore()->setPartialText(u"So far"_s);
        test::settle();
        QVERIFY(m_view->shows(QAccessible::StaticText, u"So far"_s));
        state.transcriptStore()->setPartialText({});
        test::settle();
        QVERIFY(m_view->hides(QAccessible::StaticText, u"So far"_s));
    }

    void showsErrorsUntilTheyAreDismissed()
    {
        AppState& state = m_view->app->appState();
        QVERIFY(m_view->hides(QAccessible::AlertMessage, u"Choose a screen, browser tab, or window to share."_s));
        state.setSelectedSource(std::nullopt);
        launch(state.startSession());
        test::settle();
        QVERIFY(m_view->shows(QAccessible::AlertMessage, u"Choose a screen, browser tab, or window to share."_s));
        QVERIFY(m_view->press(u"Dismiss error"_s));
        QVERIFY(!state.hasErrorMessage());
        QVERIFY(m_view->hides(QAccessible::AlertMessage, u"Choose a screen, browser tab, or window to share."_s));
    }

private:
    std::unique_ptr<test::ViewFixture> m_view;
};

QTEST_MAIN(MainViewTest)
#include "MainViewTest.moc"
