#pragma once

#include "support/Result.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace quorvel::localbackend {

/// What a decoder learnt of one stream's channel and speaker, carried from phrase to phrase: phrases of one stream may
/// be decoded by different decoders. The content is the decoder's own.
struct ChannelState
{
    std::uint64_t stream = 0;  ///< tells streams apart
    std::vector<float> values; ///< empty before the first phrase
};

/// Recognises one phrase after another. Used on one thread.
class PhraseDecoder
{
public:
    PhraseDecoder() = default;
    PhraseDecoder(const PhraseDecoder&) = delete;
    PhraseDecoder(PhraseDecoder&&) = delete;
    PhraseDecoder& operator=(const PhraseDecoder&) = delete;
    PhraseDecoder& operator=(PhraseDecoder&&) = delete;
    virtual ~PhraseDecoder() = default;

    /// Begins a phrase of the stream.
    [[nodiscard]] virtual Result<void> begin(const ChannelState& state) = 0;

    /// The next samples of the phrase: 16-bit, mono, 16,000 a second.
    [[nodiscard]] virtual Result<void> process(std::span<const std::int16_t> samples) = 0;

    /// The best guess so far, words in lower case with single blanks, possibly empty.
    [[nodiscard]] virtual std::string partial() = 0;

    /// Ends the phrase: its text, and what was learnt goes to the state.
    [[nodiscard]] virtual Result<std::string> finish(ChannelState& state) = 0;
};

/// Makes the decoders of one thread; what they can share, they share. Used on that thread only.
class DecoderSource
{
public:
    DecoderSource() = default;
    DecoderSource(const DecoderSource&) = delete;
    DecoderSource(DecoderSource&&) = delete;
    DecoderSource& operator=(const DecoderSource&) = delete;
    DecoderSource& operator=(DecoderSource&&) = delete;
    virtual ~DecoderSource() = default;

    /// A further decoder, which must not outlive this source. Takes a part of a second.
    [[nodiscard]] virtual Result<std::unique_ptr<PhraseDecoder>> make() = 0;
};

/// Makes the source of a recognition thread; called on that thread.
using DecoderSourceFactory = std::function<std::unique_ptr<DecoderSource>()>;

} // namespace quorvel::localbackend
