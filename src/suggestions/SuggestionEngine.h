#pragma once

#include "platform/Clock.h"
#include "platform/MainThread.h"
#include "platform/ObservableList.h"
#include "suggestions/Debouncer.h"
#include "suggestions/OpenAIResponseSuggestionClient.h"
#include "suggestions/RateLimiter.h"
#include "suggestions/ResponseSuggestion.h"
#include "suggestions/SuggestionHistoryItem.h"

#include <QObject>

#include <memory>
#include <optional>
#include <stop_token>

namespace quorvel {

/// Holds the answer that is suggested now and a short history of earlier ones. Nothing of it is kept on disk.
/// Main thread.
class SuggestionEngine final : public QObject
{
    Q_OBJECT
    /// Rows with the roles "suggestion", "intent", "confidencePercent" and "sourceLabel", newest first.
    Q_PROPERTY(QObject* history READ historyModel CONSTANT)
    Q_PROPERTY(bool isWorking READ isWorking WRITE setWorking NOTIFY isWorkingChanged)

public:
    static constexpr std::size_t maximumHistory = 60;
    /// From this confidence on a suggestion counts as refined.
    static constexpr double refinedConfidence = 0.75;
    /// Seconds between two local requests.
    static constexpr double minimumRequestInterval = 1.2;

    SuggestionEngine(std::shared_ptr<OpenAIResponseSuggestionClient> client, std::shared_ptr<platform::Clock> clock,
                     std::shared_ptr<platform::MainThread> mainThread);

    [[nodiscard]] const ResponseSuggestion& currentSuggestion() const { return m_currentSuggestion; }
    void setCurrentSuggestion(const ResponseSuggestion& suggestion);

    /// Newest first, at most maximumHistory.
    [[nodiscard]] const std::deque<SuggestionHistoryItem>& history() const { return m_history.values(); }
    [[nodiscard]] QAbstractItemModel* historyModel() { return &m_history; }

    /// Whether a locally requested suggestion is in flight.
    [[nodiscard]] bool isWorking() const { return m_isWorking; }
    void setWorking(bool isWorking);

    /// Shows a suggestion that has arrived and records it if it is worth it.
    void takeIn(const ResponseSuggestion& suggestion);
    /// Records a suggestion that asks for a response, has a text, and does not repeat the newest one.
    void appendHistory(const ResponseSuggestion& suggestion);
    /// Makes the empty suggestion current, then empties the history.
    void clear();
    /// Withdraws what was requested locally. The debouncer follows in a call of its own.
    void cancel();

Q_SIGNALS:
    void currentSuggestionChanged();
    void isWorkingChanged();

private:
    std::shared_ptr<OpenAIResponseSuggestionClient> m_client;
    std::shared_ptr<platform::Clock> m_clock;
    std::shared_ptr<platform::MainThread> m_mainThread;
    /// Shared with the call that cancels it, which may outlive the engine.
    std::shared_ptr<Debouncer> m_debouncer;
    RateLimiter m_limiter;
    std::optional<std::stop_source> m_activeTask;
    ResponseSuggestion m_currentSuggestion;
    ObservableList<SuggestionHistoryItem> m_history;
    bool m_isWorking = false;
};

} // namespace quorvel
