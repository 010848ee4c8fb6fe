#include "backend/RealtimeMessages.h"

#include <benchmark/benchmark.h>

// What one incoming message of each type costs from its bytes to its event.

using namespace quorvel;

namespace {

void decode(benchmark::State& state, const QByteArray& message)
{
    if (message != "[]" && !realtime::decode(message)) {
        state.SkipWithError("the message does not decode");
    }
    for ([[maybe_unused]] auto round : state) {
        benchmark::DoNotOptimize(realtime::decode(message));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * message.size());
}

void registerMessages()
{
    const auto add = [](const char* name, const QByteArray& message) {
        benchmark::RegisterBenchmark(name, [message](benchmark::State& state) { decode(state, message); });
    };
    add("session.status", R"({"type":"session.status","state":"running","transcriber":"connected"})");
    add("transcript.delta",
        R"({"type":"transcript.delta","text":" migrating","partial":"Could you walk me through a time when you were migrating"})");
    add("transcript.final",
        R"({"type":"transcript.final","text":"Could you walk me through a time when you were migrating a system?"})");
    add("suggestion.update",
        R"({"type":"suggestion.update","shouldRespond":true,"confidence":0.87,"detectedIntent":"question","suggestion":")" +
            QByteArray("Start with the situation, then say what you did and what came of it. ").repeated(6) + "\"}");
    add("diagnostic.tick",
        R"({"type":"diagnostic.tick","audioBytes":4800000,"commits":12,"lastAudioAt":"2026-01-05T14:03:22Z","lastTranscriptAt":"2026-01-05T14:03:21Z","latencyMs":180})");
    add("error", R"({"type":"error","severity":"recoverable","message":"The transcriber was started again."})");
    add("not an object", "[]");
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    registerMessages();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
