#pragma once

#include "capture/CaptureSource.h"
#include "platform/CaptureStream.h"
#include "platform/Clock.h"
#include "platform/Task.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <functional>
#include <memory>

namespace quorvel {

enum class CaptureError : std::uint8_t { permissionDenied = 1, invalidSource };

[[nodiscard]] const char* errorCategoryName(CaptureError);
[[nodiscard]] const char* errorName(CaptureError error);
[[nodiscard]] Failure captureFailure(CaptureError error);

/// Captures the sound of one source and hands it over as 16-bit mono 24 kHz PCM.
///
/// Its operations belong to the main thread, and the owner runs one start or stop at a time. onAudioChunk and
/// onCommitRequested are called on the capture stream's audio queue, onError on any thread; the owner sets all three
/// once, before the first start.
class ScreenCaptureService final : public std::enable_shared_from_this<ScreenCaptureService>,
                                   public platform::CaptureStreamDelegate
{
public:
    [[nodiscard]] static std::shared_ptr<ScreenCaptureService>
    create(std::shared_ptr<platform::CaptureProvider> provider, std::shared_ptr<platform::Clock> clock);

    /// Each converted, non-empty buffer of the stream, in order.
    std::function<void(QByteArray)> onAudioChunk;
    /// After 0.7 s of silence, and again as long as it lasts.
    std::function<void()> onCommitRequested;
    /// The sentence that tells why the stream stopped by itself.
    std::function<void(QString)> onError;

    /// Waits for the permission, stops what runs, and returns once the new stream runs.
    /// Fails with CaptureError or a failure of the platform.
    [[nodiscard]] Task<Result<>> startCapture(CaptureSource source);
    /// Succeeds when nothing runs. A failure leaves the stream in place.
    [[nodiscard]] Task<Result<>> stopCapture();
    /// Asks for the permission if it is missing and waits about 15 s for it; then CaptureError::permissionDenied. Fails
    /// with the clock's failure when its sleep is cancelled.
    [[nodiscard]] Task<Result<>> ensureScreenRecordingPermission();

    void didStopWithError(const Failure& failure) override;

private:
    class SampleQueue;
    class StreamOutput;

    ScreenCaptureService(std::shared_ptr<platform::CaptureProvider> provider, std::shared_ptr<platform::Clock> clock);

    std::shared_ptr<platform::CaptureProvider> m_provider;
    std::shared_ptr<platform::Clock> m_clock;
    std::shared_ptr<platform::CaptureStream> m_stream;
    /// What the audio queue works on. Every start makes a new one, so that nothing of a former stream can reach it.
    std::shared_ptr<SampleQueue> m_sampleQueue;
};

} // namespace quorvel
