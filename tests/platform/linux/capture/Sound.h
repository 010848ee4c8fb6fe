#pragma once

#include "platform/CaptureStream.h"

#include <QByteArray>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <memory>
#include <mutex>
#include <numbers>
#include <span>
#include <vector>

namespace quorvel::test {

constexpr int captureRate = 24'000;

/// The amplitude of one tone in a stretch of sound: the magnitude of one bin of a Fourier transform with a Hann window.
inline double amplitudeOf(double frequency, std::span<const float> sound, int rate = captureRate)
{
    double real = 0;
    double imaginary = 0;
    double weights = 0;
    const auto count = static_cast<double>(sound.size());
    for (std::size_t index = 0; index < sound.size(); ++index) {
        const auto position = static_cast<double>(index);
        const double weight = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * position / count);
        const double phase = 2 * std::numbers::pi * frequency * position / rate;
        real += weight * static_cast<double>(sound[index]) * std::cos(phase);
        imaginary += weight * static_cast<double>(sound[index]) * std::sin(phase);
        weights += weight;
    }
    return weights > 0 ? 2 * std::hypot(real, imaginary) / weights : 0;
}

/// A WAV file of 16-bit samples at 48 kHz that holds one tone of whole hertz per channel.
inline QByteArray toneFile(const std::vector<double>& frequencies, double amplitude, int seconds)
{
    constexpr int rate = 48'000;
    const auto channels = static_cast<std::uint16_t>(frequencies.size());
    const auto blockAlign = static_cast<std::uint16_t>(channels * 2);
    const auto bytes = static_cast<std::uint32_t>(seconds * rate * blockAlign);
    QByteArray file;
    const auto put = [&file](auto value) { file.append(reinterpret_cast<const char*>(&value), sizeof(value)); };
    file.append("RIFF");
    put(36 + bytes);
    file.append("WAVEfmt ");
    put(std::uint32_t{16});
    put(std::uint16_t{1});
    put(channels);
    put(std::uint32_t{rate});
    put(static_cast<std::uint32_t>(rate * blockAlign));
    put(blockAlign);
    put(std::uint16_t{16});
    file.append("data");
    put(bytes);
    const qsizetype headerSize = file.size();
    for (int frame = 0; frame < rate; ++frame) {
        for (const double frequency : frequencies) {
            const double value = amplitude * std::sin(2 * std::numbers::pi * frequency * frame / rate);
            put(static_cast<std::int16_t>(std::lround(value * 32767)));
        }
    }
    file += file.sliced(headerSize).repeated(seconds - 1);
    return file;
}

/// Keeps what a stream delivers, for another thread to look at.
class Recorder final : public platform::CaptureStreamOutput
{
public:
    using Clock = std::chrono::steady_clock;

    void didOutputSampleBuffer(const platform::AudioSampleBuffer& buffer, platform::CaptureOutputType type) override
    {
        const std::span<const std::byte> bytes = buffer.data.value_or(std::span<const std::byte>());
        const std::span samples(reinterpret_cast<const float*>(bytes.data()), bytes.size() / sizeof(float));
        const std::lock_guard lock(m_mutex);
        m_isAsPromised =
            m_isAsPromised && type == platform::CaptureOutputType::audio && buffer.isValid && samples.size() == 480;
        m_samples.insert(m_samples.end(), samples.begin(), samples.end());
        const Clock::time_point now = Clock::now();
        if (m_buffers++ > 0) {
            m_longestGap = std::max(m_longestGap, now - m_last);
        }
        m_last = now;
    }

    /// The newest samples, at most so many.
    [[nodiscard]] std::vector<float> newest(std::size_t count) const
    {
        const std::lock_guard lock(m_mutex);
        return {m_samples.end() - static_cast<std::ptrdiff_t>(std::min(count, m_samples.size())), m_samples.end()};
    }
    [[nodiscard]] std::size_t size() const
    {
        const std::lock_guard lock(m_mutex);
        return m_samples.size();
    }
    /// Every buffer so far was valid sound of 480 frames.
    [[nodiscard]] bool isAsPromised() const
    {
        const std::lock_guard lock(m_mutex);
        return m_isAsPromised;
    }
    [[nodiscard]] std::chrono::milliseconds longestGap() const
    {
        const std::lock_guard lock(m_mutex);
        return std::chrono::duration_cast<std::chrono::milliseconds>(m_longestGap);
    }
    void clear()
    {
        const std::lock_guard lock(m_mutex);
        m_samples.clear();
        m_buffers = 0;
        m_longestGap = {};
    }

private:
    mutable std::mutex m_mutex;
    std::vector<float> m_samples;
    bool m_isAsPromised = true;
    std::size_t m_buffers = 0;
    Clock::time_point m_last;
    Clock::duration m_longestGap{};
};

} // namespace quorvel::test
