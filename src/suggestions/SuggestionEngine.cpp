#include "suggestions/SuggestionEngine.h"

#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

/// Whole per cent for the screen. The value comes from outside, so it may be anything a double can be.
int confidencePercent(double confidence)
{
    constexpr double limit = 1'000'000.0;
    const double percent = std::round(confidence * 100.0);
    return std::isnan(percent) ? 0 : static_cast<int>(std::clamp(percent, -limit, limit));
}

} // namespace

SuggestionEngine::SuggestionEngine(std::shared_ptr<OpenAIResponseSuggestionClient> client,
                                   std::shared_ptr<platform::Clock> clock,
                                   std::shared_ptr<platform::MainThread> mainThread)
    : m_client(std::move(client))
    , m_clock(std::move(clock))
    , m_mainThread(std::move(mainThread))
    , m_debouncer(std::make_shared<Debouncer>(m_clock))
    , m_limiter(minimumRequestInterval, m_clock)
    , m_history({
          {.name = "suggestion", .read = [](const auto& item) { return QVariant(item.suggestion.suggestion); }},
          {.name = "intent",
           .read = [](const auto& item) { return QVariant(rawValue(item.suggestion.detectedIntent)); }},
          {.name = "confidencePercent",
           .read = [](const auto& item) { return QVariant(confidencePercent(item.suggestion.confidence)); }},
          {.name = "sourceLabel", .read = [](const auto& item) { return QVariant(item.sourceLabel); }},
      })
{
}

void SuggestionEngine::setCurrentSuggestion(const ResponseSuggestion& suggestion)
{
    if (m_currentSuggestion != suggestion) {
        m_currentSuggestion = suggestion;
        Q_EMIT currentSuggestionChanged();
    }
}

void SuggestionEngine::setWorking(bool isWorking)
{
    if (m_isWorking != isWorking) {
        m_isWorking = isWorking;
        Q_EMIT isWorkingChanged();
    }
}

void SuggestionEngine::takeIn(const ResponseSuggestion& suggestion)
{
    setCurrentSuggestion(suggestion);
    appendHistory(suggestion);
    setWorking(false);
}

void SuggestionEngine::appendHistory(const ResponseSuggestion& suggestion)
{
    const bool repeatsNewest = !history().empty() && history().front().suggestion.suggestion == suggestion.suggestion;
    if (!suggestion.shouldRespond || suggestion.suggestion.trimmed().isEmpty() || repeatsNewest) {
        return;
    }
    m_history.prepend({
        .id = QUuid::createUuid(),
        .suggestion = suggestion,
        .createdAt = m_clock->now(),
        .sourceLabel = suggestion.confidence < refinedConfidence ? u"Quick"_s : u"Refined"_s,
    });
    while (history().size() > maximumHistory) {
        m_history.removeLast();
    }
}

void SuggestionEngine::clear()
{
    setCurrentSuggestion({});
    m_history.clear();
}

void SuggestionEngine::cancel()
{
    if (m_activeTask) {
        m_activeTask->request_stop();
    }
    m_mainThread->post([debouncer = m_debouncer] { debouncer->cancel(); });
    setWorking(false);
}

} // namespace quorvel
