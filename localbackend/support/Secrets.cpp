#include "support/Secrets.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>
#include <openssl/sha.h>

#include <array>
#include <cstdint>
#include <span>

namespace quorvel::localbackend {

namespace {

Result<void> fillRandom(std::span<unsigned char> bytes)
{
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1)
        return failed(Fault::Unavailable, "The system's random generator failed.");
    return {};
}

} // namespace

Result<std::string> randomToken()
{
    constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    std::array<unsigned char, 32> bytes{};
    if (const auto filled = fillRandom(bytes); !filled)
        return std::unexpected(filled.error());
    std::string token;
    std::uint32_t bits = 0;
    int count = 0;
    for (const unsigned char byte : bytes) {
        bits = (bits << 8) | byte;
        count += 8;
        while (count >= 6) {
            count -= 6;
            token += alphabet[(bits >> count) & 63U];
        }
    }
    token += alphabet[(bits << (6 - count)) & 63U];
    return token;
}

Result<std::string> randomSixDigits()
{
    constexpr std::uint32_t codes = 1'000'000;
    // Values past the last whole multiple would make low codes likelier: draw again.
    constexpr std::uint32_t limit = UINT32_MAX - UINT32_MAX % codes;
    for (;;) {
        std::array<unsigned char, 4> bytes{};
        if (const auto filled = fillRandom(bytes); !filled)
            return std::unexpected(filled.error());
        std::uint32_t value = 0;
        for (const unsigned char byte : bytes)
            value = (value << 8) | byte;
        if (value >= limit)
            continue;
        std::string code = std::to_string(value % codes);
        code.insert(0, 6 - code.size(), '0');
        return code;
    }
}

std::string sha256Hex(std::string_view text)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::array<unsigned char, SHA256_DIGEST_LENGTH> digest{};
    const std::string copy{text};
    SHA256(reinterpret_cast<const unsigned char*>(copy.data()), copy.size(), digest.data());
    std::string hex;
    for (const unsigned char byte : digest) {
        hex += digits[byte >> 4];
        hex += digits[byte & 15U];
    }
    return hex;
}

bool equalInConstantTime(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && CRYPTO_memcmp(a.data(), b.data(), a.size()) == 0;
}

} // namespace quorvel::localbackend
