#include "capture/ScreenCaptureService.h"

#include "capture/AudioRingBuffer.h"
#include "capture/AudioSampleConverter.h"

#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

constexpr auto audioQueueLabel = "com.quorvel.audio.samples";
constexpr auto screenQueueLabel = "com.quorvel.screen.samples";
constexpr int permissionChecks = 30;
constexpr std::chrono::milliseconds permissionCheckInterval{500};
constexpr double silenceLevel = 0.012;
constexpr std::chrono::milliseconds silenceBeforeCommit{700};

constexpr platform::CaptureConfiguration streamConfiguration{
    .capturesAudio = true,
    .excludesCurrentProcessAudio = true,
    .sampleRate = 24'000,
    .channelCount = 1,
    .width = 2,
    .height = 2,
    .minimumFrameInterval = std::chrono::milliseconds(200),
};

std::optional<platform::ContentFilter> filterFor(const CaptureSource& source)
{
    if (source.window) {
        return platform::WindowFilter{.window = source.window};
    }
    if (source.display) {
        return platform::DisplayFilter{.display = source.display, .excludedWindows = {}};
    }
    return std::nullopt;
}

} // namespace

const char* errorCategoryName(CaptureError)
{
    return "capture";
}

const char* errorName(CaptureError error)
{
    switch (error) {
    case CaptureError::permissionDenied:
        return "permissionDenied";
    case CaptureError::invalidSource:
        return "invalidSource";
    }
    return "unknown";
}

Failure captureFailure(CaptureError error)
{
    if (error == CaptureError::permissionDenied) {
        return {
            .code = errorCode(error),
            .description = u"Quorvel needs Screen & System Audio Recording permission."_s,
            .recoverySuggestion =
                u"Enable Quorvel in System Settings > Privacy & Security > Screen & System Audio Recording, then fully "
                u"quit and reopen the app before choosing a source again."_s,
        };
    }
    return {.code = errorCode(error), .description = u"Choose a screen, browser tab, or window to share."_s};
}

/// The part of the service that lives on the audio queue, from the start of a stream to its end.
class ScreenCaptureService::SampleQueue
{
public:
    SampleQueue(std::shared_ptr<platform::Clock> clock, std::function<void(QByteArray)> onAudioChunk,
                std::function<void()> onCommitRequested)
        : m_clock(std::move(clock))
        , m_onAudioChunk(std::move(onAudioChunk))
        , m_onCommitRequested(std::move(onCommitRequested))
    {
    }

    void handle(const platform::AudioSampleBuffer& buffer)
    {
        if (!buffer.isValid) {
            return;
        }
        const std::optional<QByteArray> chunk = AudioSampleConverter::pcm16Mono24k(buffer);
        if (!chunk || chunk->isEmpty()) {
            return;
        }
        m_ringBuffer.append(*chunk);
        if (m_onAudioChunk) {
            m_onAudioChunk(*chunk);
        }
        updateSilence(*chunk);
    }

private:
    /// Silence is measured by the gaps between the arrivals of silent chunks, not by their length.
    void updateSilence(const QByteArray& chunk)
    {
        const Timestamp now = m_clock->now();
        const Timestamp::duration elapsed = now - m_lastSampleAt.value_or(now);
        m_lastSampleAt = now;
        if (AudioSampleConverter::rootMeanSquare(chunk) >= silenceLevel) {
            m_silenceDuration = {};
            return;
        }
        m_silenceDuration += elapsed;
        if (m_silenceDuration < silenceBeforeCommit) {
            return;
        }
        m_silenceDuration = {};
        m_ringBuffer.clear(); // like draining it, without a copy that nobody reads
        if (m_onCommitRequested) {
            m_onCommitRequested();
        }
    }

    std::shared_ptr<platform::Clock> m_clock;
    std::function<void(QByteArray)> m_onAudioChunk;
    std::function<void()> m_onCommitRequested;
    AudioRingBuffer m_ringBuffer;
    Timestamp::duration m_silenceDuration{};
    std::optional<Timestamp> m_lastSampleAt;
};

/// Receives the stream's buffers. It refers to the queue's part of the service weakly: a buffer that is still on its
/// way when the service is gone ends here, and the service itself is never kept alive, or destroyed, by another thread.
class ScreenCaptureService::StreamOutput final : public platform::CaptureStreamOutput
{
public:
    explicit StreamOutput(std::weak_ptr<SampleQueue> sampleQueue)
        : m_sampleQueue(std::move(sampleQueue))
    {
    }

    void didOutputSampleBuffer(const platform::AudioSampleBuffer& buffer, platform::CaptureOutputType type) override
    {
        if (type != platform::CaptureOutputType::audio) {
            return;
        }
        if (const std::shared_ptr<SampleQueue> sampleQueue = m_sampleQueue.lock()) {
            sampleQueue->handle(buffer);
        }
    }

private:
    std::weak_ptr<SampleQueue> m_sampleQueue;
};

std::shared_ptr<ScreenCaptureService> ScreenCaptureService::create(std::shared_ptr<platform::CaptureProvider> provider,
                                                                   std::shared_ptr<platform::Clock> clock)
{
    return std::shared_ptr<ScreenCaptureService>(new ScreenCaptureService(std::move(provider), std::move(clock)));
}

ScreenCaptureService::ScreenCaptureService(std::shared_ptr<platform::CaptureProvider> provider,
                                           std::shared_ptr<platform::Clock> clock)
    : m_provider(std::move(provider))
    , m_clock(std::move(clock))
{
}

Task<Result<>> ScreenCaptureService::ensureScreenRecordingPermission()
{
    const std::shared_ptr<ScreenCaptureService> self = shared_from_this();
    if (m_provider->preflightAccess()) {
        co_return {};
    }
    m_provider->requestAccess();
    const std::stop_token never;
    for (int check = 0; check < permissionChecks; ++check) {
        if (m_provider->preflightAccess()) {
            co_return {};
        }
        const Result<> slept = co_await m_clock->sleep(permissionCheckInterval, never);
        if (!slept) {
            co_return slept;
        }
    }
    co_return std::unexpected(captureFailure(CaptureError::permissionDenied));
}

Task<Result<>> ScreenCaptureService::startCapture(CaptureSource source)
{
    const std::shared_ptr<ScreenCaptureService> self = shared_from_this();
    if (const Result<> permitted = co_await ensureScreenRecordingPermission(); !permitted) {
        co_return permitted;
    }
    if (const Result<> stopped = co_await stopCapture(); !stopped) {
        co_return stopped;
    }
    std::optional<platform::ContentFilter> filter = filterFor(source);
    if (!filter) {
        co_return std::unexpected(captureFailure(CaptureError::invalidSource));
    }
    const auto sampleQueue = std::make_shared<SampleQueue>(m_clock, onAudioChunk, onCommitRequested);
    const auto output = std::make_shared<StreamOutput>(sampleQueue);
    const std::shared_ptr<platform::CaptureStream> stream =
        m_provider->makeStream(std::move(*filter), streamConfiguration, weak_from_this());
    const Result<> audioAdded = stream->addStreamOutput(output, platform::CaptureOutputType::audio, audioQueueLabel);
    if (!audioAdded) {
        co_return audioAdded;
    }
    const Result<> screenAdded = stream->addStreamOutput(output, platform::CaptureOutputType::screen, screenQueueLabel);
    if (!screenAdded) {
        co_return screenAdded;
    }
    if (const Result<> started = co_await stream->startCapture(); !started) {
        co_return started;
    }
    m_stream = stream;
    m_sampleQueue = sampleQueue;
    co_return {};
}

Task<Result<>> ScreenCaptureService::stopCapture()
{
    const std::shared_ptr<ScreenCaptureService> self = shared_from_this();
    if (const std::shared_ptr<platform::CaptureStream> stream = m_stream) {
        if (const Result<> stopped = co_await stream->stopCapture(); !stopped) {
            co_return stopped;
        }
    }
    m_stream.reset();
    m_sampleQueue.reset();
    co_return {};
}

void ScreenCaptureService::didStopWithError(const Failure& failure)
{
    if (onError) {
        onError(failure.description);
    }
}

} // namespace quorvel
