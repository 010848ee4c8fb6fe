#pragma once

#include "platform/CaptureStream.h"

#include <QByteArray>

#include <optional>

namespace quorvel {

/// Turns captured sound into chunks of signed 16-bit PCM, low byte first, and measures how loud they are. Pure
/// functions of any thread. Rate and channels are those of the stream's configuration: neither is looked at or changed.
class AudioSampleConverter
{
public:
    AudioSampleConverter() = delete;

    /// The chunk of one buffer, or nothing when the buffer cannot be read. 32-bit floats are converted, any other
    /// layout is taken for PCM already and copied. Allocates once, for the chunk.
    [[nodiscard]] static std::optional<QByteArray> pcm16Mono24k(const platform::AudioSampleBuffer& buffer);

    /// The root mean square of a chunk: 0 for silence or for less than one sample, 1 for a square wave at full scale.
    [[nodiscard]] static double rootMeanSquare(const QByteArray& pcm16Data);
};

} // namespace quorvel
