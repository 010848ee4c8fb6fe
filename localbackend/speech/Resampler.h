#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

struct soxr;

namespace quorvel::localbackend {

/// Converts a stream of 24,000 samples a second to 16,000, band-limited. The delay is below 20 ms.
class Resampler
{
public:
    Resampler();
    Resampler(Resampler&&) = default;
    Resampler& operator=(Resampler&&) = default;
    Resampler(const Resampler&) = delete;
    Resampler& operator=(const Resampler&) = delete;
    ~Resampler();

    /// Appends what the samples give to the output. Without memory for the converter nothing is given.
    void convert(std::span<const std::int16_t> samples, std::vector<std::int16_t>& output);

private:
    struct Delete
    {
        void operator()(soxr* converter) const;
    };

    std::unique_ptr<soxr, Delete> m_converter;
};

} // namespace quorvel::localbackend
