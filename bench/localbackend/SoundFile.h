#pragma once

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

namespace quorvel::localbackend {

/// The samples of a canonical 16-bit mono recording (44 bytes of header), as sox writes it; empty when it cannot be
/// read.
[[nodiscard]] inline std::vector<std::int16_t> readRecording(const std::string& path)
{
    constexpr std::size_t header = 44;
    std::ifstream file(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    std::vector<std::int16_t> samples;
    for (std::size_t i = header; i + 1 < bytes.size(); i += 2) {
        const auto low = static_cast<unsigned char>(bytes[i]);
        const auto high = static_cast<unsigned char>(bytes[i + 1]);
        samples.push_back(static_cast<std::int16_t>(low | (high << 8)));
    }
    return samples;
}

} // namespace quorvel::localbackend
