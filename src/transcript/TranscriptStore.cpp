#include "transcript/TranscriptStore.h"

using namespace Qt::StringLiterals;

namespace quorvel {

TranscriptStore::TranscriptStore(std::shared_ptr<platform::Clock> clock)
    : m_clock(std::move(clock))
    , m_turns({
          {.name = "kind", .read = [](const TranscriptTurn& turn) { return QVariant(rawValue(turn.kind)); }},
          {.name = "text", .read = [](const TranscriptTurn& turn) { return QVariant(turn.text); }},
      })
{
}

void TranscriptStore::setPartialText(const QString& text)
{
    if (m_partialText != text) {
        m_partialText = text;
        Q_EMIT partialTextChanged();
    }
}

void TranscriptStore::append(const QString& text, TranscriptTurn::Kind kind)
{
    const QString line = text.trimmed();
    if (line.isEmpty()) {
        return;
    }
    m_turns.append({.id = QUuid::createUuid(), .kind = kind, .text = line, .createdAt = m_clock->now()});
    while (m_turns.values().size() > maximumTurns) {
        m_turns.removeFirst();
    }
}

void TranscriptStore::clear()
{
    m_turns.clear();
    setPartialText({});
}

} // namespace quorvel
