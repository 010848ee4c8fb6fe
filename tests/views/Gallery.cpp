// Draws the screens in their states into PNG files, for people to look at: gallery <folder> <light|dark>.

#include "ViewFixture.h"

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPalette>

#include <array>
#include <cstdio>

using namespace quorvel;
using namespace Qt::StringLiterals;

namespace {

void speak(AppState& state)
{
    state.setMockText(
        u"Good morning, thanks for coming in.\nCould you tell me a bit about your background and how you got "
        "into distributed systems? I would like to hear about a concrete project, and what you would do "
        "differently today.\nPlease introduce yourself"_s);
    state.submitMockTranscript();
    state.transcriptStore()->setPartialText(u"and then maybe we could talk about"_s);
}

void fill(AppState& state)
{
    for (int number = 0; number < 200; ++number) {
        state.transcriptStore()->append(u"Line %1 of a long meeting in which everybody has a lot to say."_s.arg(number),
                                        TranscriptTurn::Kind::final);
    }
    for (int number = 0; number < 60; ++number) {
        state.suggestionEngine()->takeIn(
            {.shouldRespond = true,
             .suggestion = u"Answer %1: name the trade-off first, then the example."_s.arg(number),
             .confidence = number / 60.0,
             .detectedIntent = DetectedIntent::clarification});
    }
}

void fail(AppState& state)
{
    speak(state);
    state.setSelectedSource(std::nullopt);
    launch(state.startSession());
    state.setMockText(u"One more line"_s);
}

struct Scene
{
    const char* name;
    void (*prepare)(AppState&);
};

constexpr std::array scenes{
    Scene{"dashboard-empty", [](AppState&) {}},
    Scene{"dashboard-spoken", speak},
    Scene{"dashboard-full", fill},
    Scene{"dashboard-error", fail},
};

} // namespace

int main(int argc, char** argv)
{
    QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    if (arguments.size() != 3) {
        std::fputs("usage: gallery FOLDER light|dark\n", stderr);
        return 2;
    }
    if (arguments[2] == u"dark"_s) {
        QGuiApplication::setPalette(QPalette(QColor(0x1e, 0x1e, 0x22)));
    }
    for (const Scene& scene : scenes) {
        test::ViewFixture view;
        if (!view.open()) {
            return 1;
        }
        scene.prepare(view.app->appState());
        test::settle();
        QTest::qWait(300); // transitions end
        const QString path = u"%1/%2-%3.png"_s.arg(arguments[1], QString::fromLatin1(scene.name), arguments[2]);
        if (!QDir().mkpath(arguments[1]) || !view.window->grabWindow().save(path)) {
            qCritical("cannot write %s", qPrintable(path));
            return 1;
        }
        std::puts(qPrintable(path));
    }
    return 0;
}
