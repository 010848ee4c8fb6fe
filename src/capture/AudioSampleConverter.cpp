#include "capture/AudioSampleConverter.h"

#include "capture/SampleKernels.h"

#include <cmath>
#include <span>

namespace quorvel {

std::optional<QByteArray> AudioSampleConverter::pcm16Mono24k(const platform::AudioSampleBuffer& buffer)
{
    if (!buffer.description || !buffer.data || buffer.data->data() == nullptr || buffer.data->empty()) {
        return std::nullopt;
    }
    const std::span<const std::byte> bytes = *buffer.data;
    const platform::AudioStreamDescription& description = *buffer.description;
    const bool isFloat = (description.formatFlags & platform::AudioStreamDescription::isFloat) != 0;
    if (description.bitsPerChannel != 32 || !isFloat) {
        return QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size()));
    }
    const std::size_t count = bytes.size() / sizeof(float);
    QByteArray chunk(static_cast<qsizetype>(2 * count), Qt::Uninitialized);
    sampleKernels().floatToPcm16(bytes.data(), count, reinterpret_cast<std::byte*>(chunk.data()));
    return chunk;
}

double AudioSampleConverter::rootMeanSquare(const QByteArray& pcm16Data)
{
    const auto count = static_cast<std::size_t>(pcm16Data.size() / 2);
    if (count == 0) {
        return 0.0;
    }
    const std::uint64_t sum =
        sampleKernels().sumOfSquares(reinterpret_cast<const std::byte*>(pcm16Data.constData()), count);
    return std::sqrt(static_cast<double>(sum) / static_cast<double>(count)) / 32767.0;
}

} // namespace quorvel
