#pragma once

#include "platform/CaptureStream.h"
#include "platform/MainThread.h"
#include "platform/linux/capture/PipeWireWorker.h"
#include "platform/linux/capture/ProcessFilter.h"

#include <memory>
#include <optional>

namespace quorvel::platform {

/// Captures sound from PipeWire on a thread of its own, which is the audio output's queue: 32-bit mono floats in
/// buffers of 20 ms that flow in silence too.
///
/// It outlives an audio server or session manager that is back within five seconds. Otherwise the delegate is told, on
/// the main thread, at the latest six seconds after the last sound.
class PipeWireCaptureStream final : public CaptureStream
{
public:
    /// Whose sound to capture; a failure is what startCapture() will return.
    PipeWireCaptureStream(std::shared_ptr<MainThread> mainThread, Result<ProcessFilter> filter,
                          CaptureConfiguration configuration, std::weak_ptr<CaptureStreamDelegate> delegate);

    /// Before the start. A picture output is accepted and never called: only sound is captured.
    [[nodiscard]] Result<> addStreamOutput(std::shared_ptr<CaptureStreamOutput> output, CaptureOutputType type,
                                           const char* queueLabel) override;
    /// Ends when the first sound, or silence, has arrived.
    [[nodiscard]] Task<Result<>> startCapture() override;
    [[nodiscard]] Task<Result<>> stopCapture() override;

private:
    std::shared_ptr<MainThread> m_mainThread;
    Result<ProcessFilter> m_filter;
    CaptureConfiguration m_configuration;
    std::weak_ptr<CaptureStreamDelegate> m_delegate;
    std::shared_ptr<CaptureStreamOutput> m_audioOutput;
    std::unique_ptr<PipeWireWorker> m_worker;
};

} // namespace quorvel::platform
