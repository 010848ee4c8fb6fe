// Draws every screen in its states into PNG files, for people to look at: gallery <folder> <light|dark>. The scale is
// the toolkit's (QT_SCALE_FACTOR).

#include "ViewFixture.h"

#include <QDir>
#include <QGuiApplication>
#include <QImage>

#include <array>
#include <cstdio>

using namespace quorvel;
using namespace Qt::StringLiterals;

namespace {

using View = test::ViewFixture;

const QString longTitle =
    u"Quarterly planning and architecture review with the whole platform organisation, second part - Meet"_s;

MeetingContext filledContext()
{
    MeetingContext context = MeetingContext::defaults();
    context.userRole = u"Senior backend engineer"_s;
    context.meetingGoal = u"Show how I lead difficult migrations"_s;
    context.tone = u"Calm and concrete"_s;
    context.resumeSummary =
        u"Nine years of distributed systems. Led the move of a payment platform with 40 services from "
        "a data centre to the cloud without downtime. Mentors four engineers."_s;
    context.jobDescription =
        u"We look for an engineer who owns the reliability of our order pipeline.\n\nYou will design "
        "for failure, measure what matters, and explain it to others."_s;
    context.keyterms = {u"Kafka"_s, u"PostgreSQL"_s, u"idempotency"_s, u"blue-green"_s, u"SLO"_s, u"gRPC"_s};
    return context;
}

void signedOut(View& view)
{
    view.urlSession->answer(u"/api/health"_s, 200, R"({"ok":true})");
}

void unreachable(View& view)
{
    view.urlSession->step(u"/api/health"_s).failWith(u"The server refused the connection."_s);
}

void speak(View& view)
{
    AppState& state = view.app->appState();
    state.setMockText(
        u"Good morning, thanks for coming in.\nCould you tell me a bit about your background and how you got "
        "into distributed systems? I would like to hear about a concrete project, and what you would do "
        "differently today.\nPlease introduce yourself"_s);
    state.submitMockTranscript();
    state.transcriptStore()->setPartialText(u"and then maybe we could talk about"_s);
}

void listen(View& view)
{
    view.app->appState().setSelectedSource(view.app->appState().availableSources().front());
    launch(view.app->appState().startScreenShare(std::nullopt));
    test::settle();
    if (view.urlSession->webSockets.empty()) {
        return;
    }
    view.receive(R"({"type":"session.status","state":"running","transcriber":"connected"})");
    view.receive(R"({"type":"diagnostic.tick","audioBytes":1584000,"commits":12,"latencyMs":120,
                     "lastAudioAt":"2027-01-15T08:00:00Z","lastTranscriptAt":"2027-01-15T08:00:00Z"})");
    speak(view);
}

void stop(View& view)
{
    listen(view);
    view.receive(R"({"type":"session.status","transcriber":"closed"})");
    view.capture->steps->stop.hold();
    launch(view.app->appState().stopScreenShare());
}

void lose(View& view)
{
    listen(view);
    view.receive(R"({"type":"session.status","transcriber":"error"})");
    view.socket().end(test::failure(u"The connection to the server was lost."_s));
}

void fill(View& view)
{
    AppState& state = view.app->appState();
    for (int number = 0; number < 200; ++number) {
        state.transcriptStore()->append(u"Line %1 of a long meeting in which everybody has a lot to say."_s.arg(number),
                                        TranscriptTurn::Kind::final);
    }
    for (int number = 0; number < 60; ++number) {
        state.suggestionEngine()->takeIn(
            {.shouldRespond = true,
             .suggestion = u"Answer %1: name the trade-off first, then the example. Say what you measured before and "
                           "after, and what you would do differently today."_s.arg(number),
             .confidence = number / 60.0,
             .detectedIntent = DetectedIntent::clarification});
    }
}

void refuse(View& view)
{
    speak(view);
    view.app->appState().setSelectedSource(std::nullopt);
    launch(view.app->appState().startSession());
}

void pick(View& view)
{
    launch(view.app->appState().openSharePicker());
}

void showSetup(View& view)
{
    view.app->appState().setShowInterviewSetup(true);
}

void nothing(View& /*view*/) {}

struct Scene
{
    const char* name = "";
    void (*before)(View&) = nothing; ///< the window is opened
    void (*after)(View&) = nothing;
    QSize size = {1080, 780};
};

const std::array scenes{
    Scene{"server-checking", [](View& view) { view.urlSession->step(u"/api/health"_s).hold(); }, nothing},
    Scene{"server-unavailable", unreachable, nothing},
    Scene{"server-unavailable-smallest", unreachable, nothing, {620, 420}},
    Scene{"sign-in", signedOut, nothing},
    Scene{"sign-in-smallest", signedOut, nothing, {620, 520}},
    Scene{"sign-in-authenticating",
          [](View& view) {
              signedOut(view);
              view.urlSession->step(u"/api/auth/otp/request"_s).hold();
          },
          [](View& view) {
              view.app->appState().setAuthEmail(u"ada.lovelace@analytical-engines.example"_s);
              launch(view.app->appState().requestOtp());
          }},
    Scene{"sign-in-message",
          [](View& view) {
              signedOut(view);
              view.urlSession->answer(u"/api/auth/otp/request"_s, 200, R"({"ok":true,"devCode":"314159"})");
          },
          [](View& view) {
              view.app->appState().setAuthEmail(u"ada.lovelace@analytical-engines.example"_s);
              launch(view.app->appState().requestOtp());
          }},
    Scene{"onboarding", [](View& view) { view.setConsent(false); }, nothing},
    Scene{"onboarding-smallest",
          [](View& view) {
              view.setConsent(false);
              unreachable(view);
          },
          nothing,
          {620, 420}},
    Scene{"setup-first", [](View& view) { view.storeContext(MeetingContext::defaults(), false); }, nothing},
    Scene{"setup-extracting",
          [](View& view) {
              view.storeContext(MeetingContext::defaults(), false);
              view.urlSession->step(u"/api/profile/extract"_s).hold();
          },
          [](View& view) { launch(view.app->appState().extractResume(QUrl::fromLocalFile(view.resume.fileName()))); }},
    Scene{"setup-complete", [](View& view) { view.storeContext(filledContext(), true); }, showSetup},
    Scene{"setup-smallest", [](View& view) { view.storeContext(filledContext(), true); }, showSetup, {840, 640}},
    Scene{"setup-listening", [](View& view) { view.storeContext(filledContext(), true); },
          [](View& view) {
              listen(view);
              showSetup(view);
          }},
    Scene{"dashboard-empty", nothing, nothing},
    Scene{"dashboard-smallest", nothing, listen, {940, 640}},
    Scene{"dashboard-starting", [](View& view) { view.capture->isAllowed = false; }, listen},
    Scene{"dashboard-listening", nothing, listen},
    Scene{"dashboard-stopping", nothing, stop},
    Scene{"dashboard-failed", nothing, lose},
    Scene{"dashboard-long-title",
          [](View& view) { view.shareableContent->reading.setResult(View::content({{7, longTitle, u"Chrome"_s}})); },
          listen,
          {940, 640}},
    Scene{"dashboard-full", nothing, fill},
    Scene{"dashboard-error", nothing, refuse},
    Scene{"dashboard-recovery",
          [](View& view) { view.shareableContent->reading.failWith(u"Screen recording was declined."_s); }, nothing},
    Scene{"dashboard-settings",
          nothing,
          [](View& view) {
              view.app->appState().setMockModeEnabled(true);
              view.app->appState().setMockText(u"Why do you want to leave your current job?"_s);
              if (!view.press(u"Advanced Overlay Settings"_s)) {
                  qCritical("the overlay settings cannot be unfolded:\n%s", qPrintable(view.tree()));
              }
          },
          {1080, 1500}},
    Scene{"picker",
          [](View& view) {
              view.shareableContent->reading.setResult(
                  View::content({{7, u"Meet - Weekly sync"_s, u"Chrome"_s}, {8, longTitle, u"Firefox"_s}}));
          },
          pick},
    Scene{"picker-empty", [](View& view) { view.shareableContent->reading.setResult(platform::ShareableContent{}); },
          pick},
    Scene{"menu", nothing,
          [](View& view) {
              if (!view.press(u"Quorvel"_s)) {
                  qCritical("the menu cannot be opened");
              }
          }},
};

} // namespace

int main(int argc, char** argv)
{
    const QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    if (arguments.size() != 3) {
        std::fputs("usage: gallery FOLDER light|dark\n", stderr);
        return 2;
    }
    for (const Scene& scene : scenes) {
        View view;
        view.appearance->current.isDark = arguments[2] == u"dark"_s;
        scene.before(view);
        if (!view.open()) {
            return 1;
        }
        view.window->resize(scene.size);
        scene.after(view);
        test::settle();
        QTest::qWait(400); // transitions end
        const QString path = u"%1/%2-%3.png"_s.arg(arguments[1], QString::fromLatin1(scene.name), arguments[2]);
        if (!QDir().mkpath(arguments[1]) || !view.window->grabWindow().save(path)) {
            qCritical("cannot write %s", qPrintable(path));
            return 1;
        }
        for (const QString& warning : view.warnings) {
            std::fputs(qPrintable(u"%1: %2\n"_s.arg(QString::fromLatin1(scene.name), warning)), stderr);
        }
    }
    return 0;
}
