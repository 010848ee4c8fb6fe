#pragma once

#include "speech/PhraseDecoder.h"

#include <filesystem>

namespace quorvel::localbackend {

/// The files of an acoustic model, a language model and a pronouncing dictionary.
struct SphinxModel
{
    std::filesystem::path acoustic = "/usr/share/pocketsphinx/model/en-us/en-us";
    std::filesystem::path language = "/usr/share/pocketsphinx/model/en-us/en-us.lm.bin";
    std::filesystem::path dictionary = "/usr/share/pocketsphinx/model/en-us/cmudict-en-us.dict";
};

/// Checks that the model's files are there: the library ends the process over some of them. Fails with Unavailable and
/// a sentence that names the missing file.
[[nodiscard]] Result<void> checkModel(const SphinxModel& model);

/// Decoders on PocketSphinx. Those of one source share the language model (33 MB); each adds 58 MB of its own for
/// dictionary and search. The language model keeps a cache that is not safe to share among threads, so every thread has
/// a source of its own.
[[nodiscard]] std::unique_ptr<DecoderSource> makeSphinxSource(SphinxModel model);

} // namespace quorvel::localbackend
