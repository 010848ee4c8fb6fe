#pragma once

#include "app/AppState.h"
#include "support/EventLoop.h"
#include "support/FakeServices.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

namespace quorvel::test {

/// An application state on a system of fakes. Until a test prepares something else the backend answers, runs without
/// sign-in, a complete interview context is stored, and one browser window with a meeting can be captured.
struct AppStateFixture : FakeServices
{
    AppStateFixture()
    {
        urlSession->answer(QStringLiteral("/api/health"), 200,
                           R"({"ok":true,"development":{"disableAuth":true,"disableAdminAuth":false}})");
        MeetingContext context = MeetingContext::defaults();
        context.resumeSummary = QStringLiteral("Resume");
        context.jobDescription = QStringLiteral("Job");
        storeContext(context, true);
        shareableContent->reading.setResult(
            content({{7, QStringLiteral("Meet - Weekly sync"), QStringLiteral("Chrome")}}));
    }
    /// Ends what a test still holds or keeps open, and lets those who waited for it end as well.
    ~AppStateFixture()
    {
        state.reset();
        urlSession.reset();
        capture->steps->start.release();
        capture->steps->stop.release();
        settle();
    }
    AppStateFixture(const AppStateFixture&) = delete;
    AppStateFixture(AppStateFixture&&) = delete;
    AppStateFixture& operator=(const AppStateFixture&) = delete;
    AppStateFixture& operator=(AppStateFixture&&) = delete;

    void storeContext(const MeetingContext& context, bool isCompleted) const
    {
        userDefaults->suiteStore->setData(QJsonDocument(context.toJson()).toJson(), QStringLiteral("meeting.context"));
        userDefaults->suiteStore->setBool(isCompleted, QStringLiteral("interview.setup.completed"));
    }

    struct Window
    {
        std::uint32_t id;
        QString title;
        QString application;
    };

    [[nodiscard]] static platform::ShareableContent content(const std::vector<Window>& windows)
    {
        platform::ShareableContent content;
        for (const Window& window : windows) {
            content.windows.push_back(std::make_shared<const platform::ShareableWindow>(platform::ShareableWindow{
                .windowId = window.id,
                .title = window.title,
                .owningApplication =
                    platform::RunningApplication{.processId = 1, .applicationName = window.application},
                .isOnScreen = true,
            }));
        }
        return content;
    }

    [[nodiscard]] static QUrl origin() { return {QStringLiteral("http://127.0.0.1:8787")}; }

    /// Makes the state and lets start-up loading run.
    void create(const QUrl& backendOrigin = origin())
    {
        state = AppState::create(services(), backendOrigin);
        settle();
    }

    /// Empty where nobody is signed in, or nothing is selected.
    [[nodiscard]] QString userEmail() const { return state->authUser().value_or(BackendUser()).email; }
    [[nodiscard]] QString selectedId() const { return state->selectedSource().value_or(CaptureSource()).id; }

    void start() const
    {
        launch(state->startSession());
        settle();
    }

    [[nodiscard]] FakeWebSocketTask& socket() const { return *urlSession->webSockets.back(); }
    [[nodiscard]] FakeCaptureStream& stream() const { return *capture->streams.back(); }

    /// The backend sends a message.
    void receive(const QByteArray& message) const
    {
        socket().deliver(message);
        settle();
    }

    /// Texts that were sent over the current connection, decoded.
    [[nodiscard]] std::vector<QJsonObject> sentObjects() const
    {
        std::vector<QJsonObject> objects;
        for (const platform::WebSocketMessage& message : socket().sent) {
            if (message.kind == platform::WebSocketMessage::Kind::text) {
                objects.push_back(QJsonDocument::fromJson(message.data).object());
            }
        }
        return objects;
    }

    std::shared_ptr<AppState> state;
};

} // namespace quorvel::test
