#pragma once

#include "platform/Clock.h"
#include "platform/ObservableList.h"
#include "transcript/TranscriptTurn.h"

#include <QObject>
#include <QString>

#include <memory>

namespace quorvel {

/// What has been said in the current meeting: the newest finished lines and the line that is still being revised.
/// Nothing of it is kept on disk. Main thread.
class TranscriptStore final : public QObject
{
    Q_OBJECT
    /// Rows with the roles "kind" and "text", oldest first.
    Q_PROPERTY(QObject* turns READ turnsModel CONSTANT)
    Q_PROPERTY(QString partialText READ partialText WRITE setPartialText NOTIFY partialTextChanged)

public:
    /// More than a screen can show and less than a long meeting would pile up.
    static constexpr std::size_t maximumTurns = 200;

    explicit TranscriptStore(std::shared_ptr<platform::Clock> clock);

    /// Oldest first, at most maximumTurns.
    [[nodiscard]] const std::deque<TranscriptTurn>& turns() const { return m_turns.values(); }
    [[nodiscard]] QAbstractItemModel* turnsModel() { return &m_turns; }

    /// The interim line, exactly as written; empty when there is none.
    [[nodiscard]] const QString& partialText() const { return m_partialText; }
    void setPartialText(const QString& text);

    /// Adds a line without the white space at its ends; blank text is ignored. Leaves the interim line alone.
    void append(const QString& text, TranscriptTurn::Kind kind);

    /// Empties the turns, then the interim line.
    Q_INVOKABLE void clear();

Q_SIGNALS:
    void partialTextChanged();

private:
    std::shared_ptr<platform::Clock> m_clock;
    ObservableList<TranscriptTurn> m_turns;
    QString m_partialText;
};

} // namespace quorvel
