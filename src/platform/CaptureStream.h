#pragma once

#include "platform/ShareableContent.h"
#include "platform/Task.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <variant>
#include <vector>

namespace quorvel::platform {

/// How the samples of a buffer are stored.
struct AudioStreamDescription
{
    static constexpr std::uint32_t isFloat = 1;

    std::uint32_t bitsPerChannel = 0;
    std::uint32_t formatFlags = 0;
};

/// One buffer of captured sound. It borrows its bytes: they are valid only during the call that delivers it.
struct AudioSampleBuffer
{
    bool isValid = false;
    std::optional<AudioStreamDescription> description;
    /// Absent when the sound does not come as one interleaved buffer.
    std::optional<std::span<const std::byte>> data;
};

enum class CaptureOutputType : std::uint8_t { screen = 0, audio = 1 };

/// Receives what a stream captures, on the serial queue (one thread at a time) that the output was added with.
class CaptureStreamOutput
{
public:
    virtual ~CaptureStreamOutput() = default;
    virtual void didOutputSampleBuffer(const AudioSampleBuffer& buffer, CaptureOutputType type) = 0;
};

/// Told when a stream ends without having been asked to. Any thread.
class CaptureStreamDelegate
{
public:
    virtual ~CaptureStreamDelegate() = default;
    virtual void didStopWithError(const Failure& failure) = 0;
};

struct CaptureConfiguration
{
    bool capturesAudio = false;
    bool excludesCurrentProcessAudio = false;
    int sampleRate = 0; ///< frames per second
    int channelCount = 0;
    int width = 0;  ///< pixels of the picture
    int height = 0; ///< pixels of the picture
    std::chrono::milliseconds minimumFrameInterval{0};

    friend bool operator==(const CaptureConfiguration&, const CaptureConfiguration&) = default;
};

/// The sound of the application that owns one window.
struct WindowFilter
{
    std::shared_ptr<const ShareableWindow> window;
};

/// The sound of everything on a display, less some windows.
struct DisplayFilter
{
    std::shared_ptr<const ShareableDisplay> display;
    std::vector<std::shared_ptr<const ShareableWindow>> excludedWindows;
};

using ContentFilter = std::variant<WindowFilter, DisplayFilter>;

/// One capture, started and stopped at most once. Main thread. Destroying it ends the capture; when the destructor or a
/// successful stop() has returned, its output is not called any more.
class CaptureStream
{
public:
    virtual ~CaptureStream() = default;

    /// `queueLabel` names the serial queue on which the output is called; outputs with the same label share it.
    [[nodiscard]] virtual Result<> addStreamOutput(std::shared_ptr<CaptureStreamOutput> output, CaptureOutputType type,
                                                   const char* queueLabel) = 0;
    [[nodiscard]] virtual Task<Result<>> startCapture() = 0;
    [[nodiscard]] virtual Task<Result<>> stopCapture() = 0;
};

/// Makes capture streams and knows whether capturing is allowed at all. Main thread.
class CaptureProvider
{
public:
    virtual ~CaptureProvider() = default;

    /// Whether this program may capture; false only where something refuses it. Must not block.
    [[nodiscard]] virtual bool preflightAccess() = 0;
    /// Asks the user to allow it. Returns at once; preflightAccess() tells later what came of it.
    virtual void requestAccess() = 0;

    [[nodiscard]] virtual std::shared_ptr<CaptureStream> makeStream(ContentFilter filter,
                                                                    CaptureConfiguration configuration,
                                                                    std::weak_ptr<CaptureStreamDelegate> delegate) = 0;
};

} // namespace quorvel::platform
