#include "backend/RealtimeMessages.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using namespace quorvel;

namespace {

/// What must hold of every event, whatever the bytes were.
class Check
{
public:
    explicit Check(std::size_t size)
        : m_size(static_cast<qsizetype>(size))
    {
    }

    void operator()(const realtime::Status& status) const
    {
        require(status.backend == BackendConnectionStatus::connected);
        fits(status.state);
        fits(status.message.value_or(QString()));
    }
    void operator()(const realtime::TranscriptDelta& delta) const
    {
        fits(delta.text);
        fits(delta.partial);
    }
    void operator()(const realtime::TranscriptFinal& final) const { fits(final.text); }
    void operator()(const ResponseSuggestion& suggestion) const
    {
        fits(suggestion.suggestion);
        const Result<ResponseSuggestion> again = ResponseSuggestion::fromJson(suggestion.toJson());
        require(again && *again == suggestion);
    }
    void operator()(const BackendDiagnostics& /*diagnostics*/) const {}
    void operator()(const realtime::Error& error) const
    {
        fits(error.severity);
        fits(error.message);
    }

private:
    static void require(bool holds)
    {
        if (!holds) {
            std::abort();
        }
    }
    /// No text is longer than the message that it came in; the defaults are shorter than any message without them.
    void fits(const QString& text) const { require(text.size() <= m_size); }

    qsizetype m_size;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray message(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    if (const auto event = realtime::decode(message)) {
        std::visit(Check(size), *event);
    }
    return 0;
}
