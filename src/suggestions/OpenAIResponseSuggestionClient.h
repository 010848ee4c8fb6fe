#pragma once

#include "platform/UrlSession.h"

#include <memory>
#include <utility>

namespace quorvel {

/// Holds the URL session that a direct suggestion request would use. It offers no request: suggestions come from the
/// service backend.
class OpenAIResponseSuggestionClient
{
public:
    explicit OpenAIResponseSuggestionClient(std::shared_ptr<platform::UrlSession> session)
        : m_session(std::move(session))
    {
    }

    [[nodiscard]] const std::shared_ptr<platform::UrlSession>& session() const { return m_session; }

private:
    std::shared_ptr<platform::UrlSession> m_session;
};

} // namespace quorvel
