#include "AppStateFixture.h"

#include <QSignalSpy>

using namespace quorvel;
using namespace Qt::StringLiterals;
using Window = test::AppStateFixture::Window;

class AppStateSharingTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_app = std::make_unique<test::AppStateFixture>(); }
    void cleanup() { m_app.reset(); }

    void choosesASource_data()
    {
        QTest::addColumn<QString>("selected"); // before the refresh; empty: none
        QTest::addColumn<QStringList>("ids");
        QTest::addColumn<QString>("chosen");
        QTest::newRow("nothing to choose") << QString() << QStringList() << QString();
        QTest::newRow("selection is gone, nothing left") << u"window-7"_s << QStringList() << QString();
        QTest::newRow("likely meeting first")
            << QString() << QStringList({u"1:notes:Editor"_s, u"2:call:zoom"_s}) << u"window-2"_s;
        QTest::newRow("no likely meeting")
            << QString() << QStringList({u"1:b:Editor"_s, u"2:a:Editor"_s}) << u"window-2"_s;
        QTest::newRow("selection stays") << u"window-7"_s << QStringList({u"2:call:zoom"_s, u"7:x:Editor"_s})
                                         << u"window-7"_s;
        QTest::newRow("selection is gone")
            << u"window-7"_s << QStringList({u"2:call:zoom"_s, u"8:x:Editor"_s}) << u"window-2"_s;
    }

    void choosesASource()
    {
        QFETCH(QString, selected);
        QFETCH(QStringList, ids);
        QFETCH(QString, chosen);
        m_app->create();
        if (selected.isEmpty()) {
            state().setSelectedSource(std::nullopt);
        }
        const auto before = selectedWindow();
        std::vector<Window> windows;
        for (const QString& id : ids) {
            const QStringList parts = id.split(u':');
            windows.push_back({parts[0].toUInt(), parts[1], parts[2]});
        }
        m_app->shareableContent->reading.setResult(test::AppStateFixture::content(windows));
        launch(state().refreshSources());
        test::settle();
        QCOMPARE(m_app->selectedId(), chosen);
        if (!chosen.isEmpty()) {
            QVERIFY(selectedWindow() != before); // always the new list's copy
        }
    }

    void keepsItsListWhenARefreshFails()
    {
        m_app->create();
        m_app->shareableContent->reading.failWith(u"Permission refused by the desktop."_s);
        launch(state().openSharePicker());
        test::settle();
        QVERIFY(state().showSharePicker());
        QVERIFY(state().capturePermissionRecoveryVisible());
        QCOMPARE(state().availableSources().size(), 1U);
        QCOMPARE(m_app->selectedId(), u"window-7"_s);

        m_app->workspace->opens = false;
        state().openScreenRecordingSettings();
        QCOMPARE(m_app->workspace->opened.size(), 2U);
        m_app->workspace->opens = true;
        state().openScreenRecordingSettings();
        QCOMPARE(m_app->workspace->opened.size(), 3U);

        m_app->shareableContent->reading.setResult(platform::ShareableContent{});
        launch(state().refreshSources());
        test::settle();
        QVERIFY(!state().capturePermissionRecoveryVisible());
    }

    void opensThePickerUnlessBusy_data()
    {
        QTest::addColumn<SessionStatus>("status");
        QTest::addColumn<bool>("opens");
        QTest::newRow("idle") << SessionStatus::idle << true;
        QTest::newRow("starting") << SessionStatus::starting << false;
        QTest::newRow("running") << SessionStatus::running << true;
        QTest::newRow("stopping") << SessionStatus::stopping << false;
    }

    void opensThePickerUnlessBusy()
    {
        QFETCH(SessionStatus, status);
        m_app->create();
        if (status == SessionStatus::starting) {
            m_app->capture->steps->start.hold();
        }
        if (status != SessionStatus::idle) {
            m_app->start();
        }
        if (status == SessionStatus::stopping) {
            m_app->capture->steps->stop.hold();
            launch(state().stopSession());
        }
        QCOMPARE(state().sessionStatus(), status);
        launch(state().openSharePicker());
        test::settle();
        QTEST(state().showSharePicker(), "opens");
    }

    void shares()
    {
        m_app->create();
        state().setShowSharePicker(true);
        m_app->capture->steps->start.hold();
        launch(state().startScreenShare(std::nullopt));
        test::settle();
        QVERIFY(!state().showSharePicker());
        QVERIFY(!state().isMeetScreenShareMode());
        launch(state().startScreenShare(std::nullopt)); // already starting
        test::settle();
        QCOMPARE(m_app->urlSession->webSockets.size(), 1U);

        m_app->capture->steps->start.release();
        test::settle();
        QVERIFY(state().isMeetScreenShareMode());
        QVERIFY(panel().isVisible);
        QVERIFY(storedOverlay().isVisible);

        state().toggleOverlay();
        QVERIFY(!panel().isVisible);
        QVERIFY(!storedOverlay().isVisible);
        QVERIFY(state().isMeetScreenShareMode());
        state().toggleOverlay();
        QVERIFY(panel().isVisible);

        launch(state().stopScreenShare());
        test::settle();
        QCOMPARE(state().sessionStatus(), SessionStatus::idle);
        QVERIFY(!state().isMeetScreenShareMode());
        QVERIFY(!panel().isVisible);
        QVERIFY(!storedOverlay().isVisible);
    }

    void leavesShareModeWhenTheSessionEnds_data()
    {
        QTest::addColumn<bool>("byBackend");
        QTest::newRow("disconnect") << true;
        QTest::newRow("capture error") << false;
    }

    void leavesShareModeWhenTheSessionEnds()
    {
        QFETCH(bool, byBackend);
        m_app->create();
        launch(state().startScreenShare(std::nullopt));
        test::settle();
        QVERIFY(panel().isVisible);
        if (byBackend) {
            m_app->socket().end(test::failure(u"Lost."_s));
        } else {
            m_app->stream().delegate.lock()->didStopWithError(test::failure(u"Lost."_s));
        }
        test::settle();
        QCOMPARE(state().sessionStatus(), SessionStatus::failed);
        QVERIFY(!state().isMeetScreenShareMode());
        QVERIFY(!panel().isVisible);
        QCOMPARE(state().errorMessage(), std::optional(u"Lost."_s));
    }

    void prefersTheGivenSource()
    {
        m_app->shareableContent->reading.setResult(
            test::AppStateFixture::content({{1, u"call"_s, u"zoom"_s}, {2, u"x"_s, u"Editor"_s}}));
        m_app->create();
        const CaptureSource given = state().availableSources().back();
        m_app->capture->steps->start.failWith(u"No."_s);
        launch(state().startScreenShare(given));
        test::settle();
        QCOMPARE(m_app->selectedId(), u"window-2"_s);
        QVERIFY(!state().isMeetScreenShareMode());
        QCOMPARE(state().errorMessage(), std::optional(u"No."_s));
        launch(state().startScreenShare(std::nullopt)); // keeps the selection rather than taking the best
        test::settle();
        QCOMPARE(m_app->sentObjects().front()[u"source"][u"id"], QJsonValue(u"window-2"_s));
    }

    void sharesNothingWithoutASource()
    {
        m_app->shareableContent->reading.setResult(platform::ShareableContent{});
        m_app->create();
        launch(state().startScreenShare(std::nullopt));
        test::settle();
        QCOMPARE(state().errorMessage(), std::optional(u"Choose a screen, browser tab, or window to share."_s));
        QVERIFY(!state().isMeetScreenShareMode());
    }

    void keepsTheOverlayHiddenOutsideShareMode()
    {
        m_app->create();
        OverlaySettings settings = state().overlaySettings();
        settings.isVisible = true;
        settings.opacity = 0.5;
        state().setOverlaySettings(settings);
        QCOMPARE(panel().alpha, 0.86); // edits show only when they are saved
        state().saveOverlaySettings();
        QVERIFY(!storedOverlay().isVisible);
        QCOMPARE(storedOverlay().opacity, 0.5);
        QCOMPARE(panel().alpha, 0.5);
        QVERIFY(!panel().isVisible);
        m_app->userDefaults->suiteStore->values.remove(u"overlay.settings"_s);
        state().toggleOverlay();
        QVERIFY(!m_app->userDefaults->suiteStore->values.contains(u"overlay.settings"_s));
    }

    void answersHotkeys()
    {
        m_app->create();
        launch(state().startScreenShare(std::nullopt));
        test::settle();
        state().suggestionEngine()->takeIn({.shouldRespond = true, .suggestion = u"S"_s, .confidence = 1});
        press(platform::KeyDownEvent::keySpace);
        QVERIFY(!panel().isVisible);
        press(platform::KeyDownEvent::keyUpArrow);
        QCOMPARE(state().overlaySettings().opacity, 0.91);
        QVERIFY(!panel().isVisible);
        press(platform::KeyDownEvent::keyC);
        QCOMPARE(state().currentSuggestionText(), QString());
        QVERIFY(state().suggestionEngine()->history().empty());
    }

private:
    [[nodiscard]] AppState& state() const { return *m_app->state; }
    [[nodiscard]] test::PanelRecord& panel() const { return *m_app->panels->panels.front(); }
    [[nodiscard]] std::shared_ptr<const platform::ShareableWindow> selectedWindow() const
    {
        return state().selectedSource().value_or(CaptureSource()).window;
    }
    [[nodiscard]] OverlaySettings storedOverlay() const
    {
        return OverlaySettings::load(*m_app->userDefaults->suiteStore);
    }
    void press(std::uint16_t keyCode) const
    {
        m_app->keyMonitors->globalHandlers.front()(
            {.modifierFlags = platform::KeyDownEvent::commandFlag | platform::KeyDownEvent::shiftFlag,
             .keyCode = keyCode});
        test::settle();
    }

    std::unique_ptr<test::AppStateFixture> m_app;
};

QTEST_GUILESS_MAIN(AppStateSharingTest)
#include "AppStateSharingTest.moc"
