#include "platform/linux/capture/PipeWireCaptureStream.h"

#include <utility>

namespace quorvel::platform {

namespace {

void deliver(CaptureStreamOutput& output, std::span<const float> frames)
{
    output.didOutputSampleBuffer(
        {
            .isValid = true,
            .description = AudioStreamDescription{.bitsPerChannel = 32, .formatFlags = AudioStreamDescription::isFloat},
            .data = std::as_bytes(frames),
        },
        CaptureOutputType::audio);
}

} // namespace

PipeWireCaptureStream::PipeWireCaptureStream(std::shared_ptr<MainThread> mainThread, Result<ProcessFilter> filter,
                                             CaptureConfiguration configuration,
                                             std::weak_ptr<CaptureStreamDelegate> delegate)
    : m_mainThread(std::move(mainThread))
    , m_filter(std::move(filter))
    , m_configuration(configuration)
    , m_delegate(std::move(delegate))
{
}

Result<> PipeWireCaptureStream::addStreamOutput(std::shared_ptr<CaptureStreamOutput> output, CaptureOutputType type,
                                                const char* /*queueLabel*/)
{
    if (type == CaptureOutputType::audio) {
        m_audioOutput = std::move(output);
    }
    return {};
}

Task<Result<>> PipeWireCaptureStream::startCapture()
{
    // Held by the worker alone, so that the end of the worker ends the wait.
    const auto started = std::make_shared<Promise<>>();
    Task<Result<>> result = started->result();
    if (!m_filter) {
        started->finish(std::unexpected(m_filter.error()));
        return result;
    }
    PipeWireWorker::Handlers handlers{
        .onBuffer =
            [output = m_audioOutput](std::span<const float> frames) {
                if (output) {
                    deliver(*output, frames);
                }
            },
        .onStarted = [started](Result<> end) { started->finish(std::move(end)); },
        .onStopped = weakCallback(m_mainThread, m_delegate, &CaptureStreamDelegate::didStopWithError),
    };
    m_worker = std::make_unique<PipeWireWorker>(m_configuration.sampleRate, *m_filter, std::move(handlers));
    return result;
}

Task<Result<>> PipeWireCaptureStream::stopCapture()
{
    m_worker.reset();
    co_return {};
}

} // namespace quorvel::platform
