#pragma once

#include "platform/Clock.h"

#include <QFont>
#include <QObject>
#include <QSizeF>
#include <QString>

#include <optional>

namespace quorvel {

/// Whether the backend has reported sound so recently that it counts as arriving: less than 2.5 seconds ago.
[[nodiscard]] bool isAudioArriving(const std::optional<Timestamp>& lastAudioAt, Timestamp now);

/// What the overlay's content depends on.
struct OverlayInput
{
    /// Whether the current suggestion is to be shown; its text may be empty all the same.
    bool shouldRespond = false;
    QString suggestion = QString();
    bool isRunning = false; ///< the session
    bool isWorking = false; ///< on a suggestion
    std::optional<Timestamp> lastAudioAt = std::nullopt;
};

/// What the overlay shows, as its view binds to it. Its owner updates it whenever an input changes; it has no timer.
/// Main thread.
class OverlayViewState : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString overlayText READ overlayText NOTIFY changed)
    Q_PROPERTY(QString overlayIcon READ overlayIcon NOTIFY changed)
    Q_PROPERTY(bool shouldRespond READ shouldRespond NOTIFY changed)
    Q_PROPERTY(bool isWorking READ isWorking NOTIFY changed)

public:
    explicit OverlayViewState(QObject* parent = nullptr);

    void update(const OverlayInput& input, Timestamp now);

    [[nodiscard]] const QString& overlayText() const { return m_overlayText; }
    /// The name of a symbol.
    [[nodiscard]] const QString& overlayIcon() const { return m_overlayIcon; }
    [[nodiscard]] bool shouldRespond() const { return m_shouldRespond; }
    [[nodiscard]] bool isWorking() const { return m_isWorking; }

    /// The largest size in pixels, from the font's own down to 68 % of it, in which the wrapped text takes four lines
    /// and the room (points) at most; the smallest of them when none does. The toolkit's own way to fit a text looks at
    /// the lines that it keeps, not at those that it cuts off, and stops too early.
    [[nodiscard]] Q_INVOKABLE static int fittingPixelSize(const QString& text, QFont font, QSizeF room);

Q_SIGNALS:
    /// At most once for each update, and only if something is different.
    void changed();

private:
    QString m_overlayText;
    QString m_overlayIcon;
    bool m_shouldRespond = false;
    bool m_isWorking = false;
};

} // namespace quorvel
