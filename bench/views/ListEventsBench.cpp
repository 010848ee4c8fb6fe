// What one event costs when the lists are full and shown: 200 turns of the transcript, 60 suggestions. Each iteration
// takes one event in and paints the frame that follows from it (polish, synchronise, render in software). The
// alternative beside it is a model that is reset at each change, as a view over plain arrays would do it.

#include "platform/linux/desktop/SystemClock.h"
#include "suggestions/SuggestionEngine.h"
#include "transcript/TranscriptStore.h"
#include "views/SymbolImageProvider.h"

#include <QGuiApplication>
#include <QImage>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickRenderControl>
#include <QQuickRenderTarget>
#include <QQuickWindow>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <vector>

using namespace quorvel;
using namespace Qt::StringLiterals;

namespace {

constexpr QSize frameSize(560, 640);

/// An item on a window that is painted when we say so, and nowhere else.
class Stage
{
public:
    Stage(const QByteArray& qml, const QVariantMap& properties)
    {
        m_engine.addImportPath(u"qrc:/qt/qml"_s);
        m_engine.addImageProvider(u"symbols"_s, new SymbolImageProvider);
        QQmlComponent component(&m_engine);
        component.setData(qml, QUrl(u"qrc:/Bench.qml"_s));
        m_item.reset(qobject_cast<QQuickItem*>(component.createWithInitialProperties(properties)));
        if (!m_item) {
            std::fputs(qPrintable(component.errorString()), stderr);
            std::abort();
        }
        m_window.resize(frameSize);
        m_window.setRenderTarget(QQuickRenderTarget::fromPaintDevice(&m_image));
        m_item->setParentItem(m_window.contentItem());
        m_item->setSize(frameSize);
        paint();
    }

    void paint()
    {
        QCoreApplication::sendPostedEvents();
        m_control.polishItems();
        m_control.beginFrame();
        m_control.sync();
        m_control.render();
        m_control.endFrame();
    }

private:
    QQmlEngine m_engine;
    QImage m_image{frameSize, QImage::Format_ARGB32_Premultiplied};
    QQuickRenderControl m_control;
    QQuickWindow m_window{&m_control};
    std::unique_ptr<QQuickItem> m_item;
};

/// Counts what views are told about rows.
class RowCounter
{
public:
    explicit RowCounter(QAbstractItemModel& model)
    {
        QObject::connect(&model, &QAbstractItemModel::rowsInserted, &m_context,
                         [this](const QModelIndex&, int first, int last) { m_inserted += last - first + 1; });
        QObject::connect(&model, &QAbstractItemModel::rowsRemoved, &m_context,
                         [this](const QModelIndex&, int first, int last) { m_removed += last - first + 1; });
        QObject::connect(&model, &QAbstractItemModel::modelReset, &m_context, [this] { ++m_resets; });
    }

    void report(benchmark::State& state) const
    {
        using benchmark::Counter;
        state.counters["inserted"] = Counter(m_inserted, Counter::kAvgIterations);
        state.counters["removed"] = Counter(m_removed, Counter::kAvgIterations);
        state.counters["resets"] = Counter(m_resets, Counter::kAvgIterations);
    }

private:
    QObject m_context;
    int m_inserted = 0;
    int m_removed = 0;
    int m_resets = 0;
};

/// What the benchmark library does not tell: how long the slow ones of its iterations took.
class Percentiles
{
public:
    template <typename Work>
    void measure(const Work& work)
    {
        const auto start = std::chrono::steady_clock::now();
        work();
        m_microseconds.push_back(
            std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
    }

    void report(benchmark::State& state)
    {
        std::ranges::sort(m_microseconds);
        const auto at = [this](std::size_t percent) {
            return m_microseconds[(m_microseconds.size() - 1) * percent / 100];
        };
        state.counters["p50_us"] = at(50);
        state.counters["p95_us"] = at(95);
    }

private:
    std::vector<double> m_microseconds;
};

QString line(int number)
{
    return u"Line %1 of a long meeting in which everybody has a lot to say and says it."_s.arg(number);
}

void appendTurn(benchmark::State& state)
{
    TranscriptStore store(std::make_shared<platform::SystemClock>());
    int number = 0;
    while (store.turns().size() < TranscriptStore::maximumTurns) {
        store.append(line(number++), TranscriptTurn::Kind::final);
    }
    Stage stage("import Quorvel.Views\nTranscriptView {}", {{u"store"_s, QVariant::fromValue(&store)}});
    const RowCounter rows(*store.turnsModel());
    Percentiles percentiles;
    for (auto iteration : state) {
        percentiles.measure([&] {
            store.append(line(number++), TranscriptTurn::Kind::final);
            stage.paint();
        });
    }
    percentiles.report(state);
    rows.report(state);
}

void appendTurnWithReset(benchmark::State& state)
{
    ObservableList<QString> list({{.name = "kind", .read = [](const QString&) { return QVariant(u"Final"_s); }},
                                  {.name = "text", .read = [](const QString& text) { return QVariant(text); }}});
    std::deque<QString> lines;
    int number = 0;
    while (lines.size() < TranscriptStore::maximumTurns) {
        lines.push_back(line(number++));
    }
    list.reset(lines);
    Stage stage("import QtQuick\nimport Quorvel.Views\n"
                "Item { property alias model: list.model\n"
                "ListView { id: list; anchors.fill: parent; spacing: 10\n"
                "delegate: TranscriptRow { width: ListView.view.width } } }",
                {{u"model"_s, QVariant::fromValue<QAbstractItemModel*>(&list)}});
    const RowCounter rows(list);
    Percentiles percentiles;
    for (auto iteration : state) {
        percentiles.measure([&] {
            lines.pop_front();
            lines.push_back(line(number++));
            list.reset(lines);
            stage.paint();
        });
    }
    percentiles.report(state);
    rows.report(state);
}

void takeInSuggestion(benchmark::State& state)
{
    SuggestionEngine engine(nullptr, std::make_shared<platform::SystemClock>(),
                            std::make_shared<platform::MainThread>());
    int number = 0;
    const auto takeIn = [&] {
        engine.takeIn({.shouldRespond = true, .suggestion = line(number++), .confidence = 0.8});
    };
    while (engine.history().size() < SuggestionEngine::maximumHistory) {
        takeIn();
    }
    Stage stage("import Quorvel.Views\nSuggestionsPanel {}", {{u"engine"_s, QVariant::fromValue(&engine)}});
    const RowCounter rows(*engine.historyModel());
    Percentiles percentiles;
    for (auto iteration : state) {
        percentiles.measure([&] {
            takeIn();
            stage.paint();
        });
    }
    percentiles.report(state);
    rows.report(state);
}

void writePartialText(benchmark::State& state)
{
    TranscriptStore store(std::make_shared<platform::SystemClock>());
    int number = 0;
    while (store.turns().size() < TranscriptStore::maximumTurns) {
        store.append(line(number++), TranscriptTurn::Kind::final);
    }
    Stage stage("import Quorvel.Views\nTranscriptView {}", {{u"store"_s, QVariant::fromValue(&store)}});
    Percentiles percentiles;
    for (auto iteration : state) {
        percentiles.measure([&] {
            store.setPartialText(line(number++));
            stage.paint();
        });
    }
    percentiles.report(state);
}

} // namespace

BENCHMARK(appendTurn)->Unit(benchmark::kMicrosecond);
BENCHMARK(appendTurnWithReset)->Unit(benchmark::kMicrosecond);
BENCHMARK(takeInSuggestion)->Unit(benchmark::kMicrosecond);
BENCHMARK(writePartialText)->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    const QGuiApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return EXIT_SUCCESS;
}
