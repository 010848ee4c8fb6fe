#include "speech/SphinxDecoder.h"

#include <pocketsphinx/pocketsphinx.h>
#include <sphinxbase/cmn.h>
#include <sphinxbase/err.h>
#include <sphinxbase/ngram_model.h>

#include <array>
#include <system_error>
#include <utility>

namespace quorvel::localbackend {

namespace {

constexpr const char* searchName = "speech";

struct FreeDecoder
{
    void operator()(ps_decoder_t* decoder) const { ps_free(decoder); }
};
struct FreeConfiguration
{
    void operator()(cmd_ln_t* configuration) const { cmd_ln_free_r(configuration); }
};
struct FreeLanguageModel
{
    void operator()(ngram_model_t* model) const { ngram_model_free(model); }
};
using DecoderHandle = std::unique_ptr<ps_decoder_t, FreeDecoder>;
using ConfigurationHandle = std::unique_ptr<cmd_ln_t, FreeConfiguration>;
using LanguageModelHandle = std::unique_ptr<ngram_model_t, FreeLanguageModel>;

class SphinxDecoder : public PhraseDecoder
{
public:
    explicit SphinxDecoder(DecoderHandle decoder)
        : m_decoder(std::move(decoder))
        , m_normalisation(ps_get_feat(m_decoder.get())->cmn_struct)
    {
        // A stream that comes after another one starts from what the model itself assumes.
        m_initialState.resize(static_cast<std::size_t>(m_normalisation->veclen));
        cmn_live_get(m_normalisation, m_initialState.data());
    }

    Result<void> begin(const ChannelState& state) override
    {
        if (state.stream != m_lastStream) {
            m_lastStream = state.stream;
            cmn_live_set(m_normalisation, state.values.empty() ? m_initialState.data() : state.values.data());
            // The noise level is kept by the decoder, per stream, and cannot be carried over.
            ps_start_stream(m_decoder.get());
        }
        return check(ps_start_utt(m_decoder.get()));
    }

    Result<void> process(std::span<const std::int16_t> samples) override
    {
        return check(ps_process_raw(m_decoder.get(), samples.data(), samples.size(), 0, 0));
    }

    std::string partial() override
    {
        const char* text = ps_get_hyp(m_decoder.get(), nullptr);
        return text == nullptr ? std::string() : std::string(text);
    }

    Result<std::string> finish(ChannelState& state) override
    {
        if (const auto ended = check(ps_end_utt(m_decoder.get())); !ended)
            return std::unexpected(ended.error());
        state.values.resize(m_initialState.size());
        cmn_live_get(m_normalisation, state.values.data());
        return partial();
    }

private:
    static Result<void> check(int code)
    {
        if (code < 0)
            return failed(Fault::Unavailable, "Speech recognition failed.");
        return {};
    }

    DecoderHandle m_decoder;
    cmn_t* m_normalisation;
    std::vector<float> m_initialState;
    std::uint64_t m_lastStream = 0;
};

class SphinxSource : public DecoderSource
{
public:
    explicit SphinxSource(SphinxModel model)
        : m_model(std::move(model))
    {
    }

    Result<std::unique_ptr<PhraseDecoder>> make() override
    {
        constexpr auto fault = "The speech model cannot be loaded.";
        // The second, exact pass over each phrase is left out: on speech of this length it costs accuracy and doubles
        // the time to the final text. A language weight below the packaged 6.5 takes questions better, whose first
        // words the model finds unlikely (docs/backend.md has the figures).
        const ConfigurationHandle configuration(cmd_ln_init(nullptr, ps_args(), 1, "-hmm", m_model.acoustic.c_str(),
                                                            "-dict", m_model.dictionary.c_str(), "-fwdflat", "no",
                                                            "-lw", "5", "-logfn", "/dev/null", nullptr));
        if (!configuration)
            return failed(Fault::Unavailable, fault);
        DecoderHandle decoder(ps_init(configuration.get()));
        if (!decoder)
            return failed(Fault::Unavailable, fault);
        if (!m_languageModel) {
            m_languageModel.reset(ngram_model_read(configuration.get(), m_model.language.c_str(), NGRAM_AUTO,
                                                   ps_get_logmath(decoder.get())));
        }
        if (!m_languageModel || ps_set_lm(decoder.get(), searchName, m_languageModel.get()) != 0 ||
            ps_set_search(decoder.get(), searchName) != 0)
            return failed(Fault::Unavailable, fault);
        return std::make_unique<SphinxDecoder>(std::move(decoder));
    }

private:
    SphinxModel m_model;
    LanguageModelHandle m_languageModel;
};

} // namespace

Result<void> checkModel(const SphinxModel& model)
{
    const std::array files{model.acoustic / "mdef",
                           model.acoustic / "means",
                           model.acoustic / "variances",
                           model.acoustic / "sendump",
                           model.acoustic / "transition_matrices",
                           model.acoustic / "feat.params",
                           model.language,
                           model.dictionary};
    for (const auto& file : files) {
        std::error_code error;
        if (!std::filesystem::is_regular_file(file, error)) {
            return failed(Fault::Unavailable, "The speech model is not installed: " + file.string() +
                                                  " is missing (Debian package pocketsphinx-en-us).");
        }
    }
    return {};
}

std::unique_ptr<DecoderSource> makeSphinxSource(SphinxModel model)
{
    return std::make_unique<SphinxSource>(std::move(model));
}

} // namespace quorvel::localbackend
