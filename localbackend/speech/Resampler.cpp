#include "speech/Resampler.h"

#include <soxr.h>

namespace quorvel::localbackend {

namespace {

constexpr double inputRate = 24'000;
constexpr double outputRate = 16'000;

} // namespace

void Resampler::Delete::operator()(soxr* converter) const
{
    soxr_delete(converter);
}

Resampler::Resampler()
{
    const soxr_io_spec_t format = soxr_io_spec(SOXR_INT16_I, SOXR_INT16_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_LQ, 0);
    m_converter.reset(soxr_create(inputRate, outputRate, 1, nullptr, &format, &quality, nullptr));
}

Resampler::~Resampler() = default;

void Resampler::convert(std::span<const std::int16_t> samples, std::vector<std::int16_t>& output)
{
    const std::size_t before = output.size();
    const std::size_t room = samples.size() * 2 / 3 + 512;
    output.resize(before + room);
    std::size_t produced = 0;
    soxr_process(m_converter.get(), samples.data(), samples.size(), nullptr, output.data() + before, room, &produced);
    output.resize(before + produced);
}

} // namespace quorvel::localbackend
