#include "overlay/OverlayViewState.h"

#include <QTextLayout>

#include <chrono>
#include <cmath>
#include <tuple>
#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

constexpr int mostLines = 4;

QString textFor(const OverlayInput& input, Timestamp now)
{
    if (input.shouldRespond && !input.suggestion.isEmpty()) {
        return input.suggestion;
    }
    if (!input.isRunning) {
        return u"Quorvel ready"_s;
    }
    return isAudioArriving(input.lastAudioAt, now) ? u"Listening..."_s : u"Waiting for audio..."_s;
}

QString iconFor(const OverlayInput& input, Timestamp now)
{
    if (input.shouldRespond) {
        return u"text.bubble.fill"_s;
    }
    // The session's status plays no part: sound that was heard just now still shows after a stop.
    return isAudioArriving(input.lastAudioAt, now) ? u"waveform"_s : u"pause.circle"_s;
}

bool fits(const QString& text, const QFont& font, QSizeF room)
{
    QTextLayout layout(text, font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    int lines = 0;
    double height = 0;
    for (QTextLine line = layout.createLine(); line.isValid() && lines <= mostLines; line = layout.createLine()) {
        line.setLeadingIncluded(true);
        line.setLineWidth(room.width());
        height += std::ceil(line.height());
        ++lines;
    }
    layout.endLayout();
    return lines <= mostLines && height <= room.height();
}

} // namespace

bool isAudioArriving(const std::optional<Timestamp>& lastAudioAt, Timestamp now)
{
    using namespace std::chrono_literals;
    return lastAudioAt && now - *lastAudioAt < 2500ms;
}

OverlayViewState::OverlayViewState(QObject* parent)
    : QObject(parent)
    , m_overlayText(textFor({}, {}))
    , m_overlayIcon(iconFor({}, {}))
{
}

void OverlayViewState::update(const OverlayInput& input, Timestamp now)
{
    QString text = textFor(input, now);
    QString icon = iconFor(input, now);
    if (std::tie(text, icon, input.shouldRespond, input.isWorking) ==
        std::tie(m_overlayText, m_overlayIcon, m_shouldRespond, m_isWorking)) {
        return;
    }
    m_overlayText = std::move(text);
    m_overlayIcon = std::move(icon);
    m_shouldRespond = input.shouldRespond;
    m_isWorking = input.isWorking;
    Q_EMIT changed();
}

int OverlayViewState::fittingPixelSize(const QString& text, QFont font, QSizeF room)
{
    // No display shows more in four lines, and a server may send a megabyte.
    const QString lines = text.left(4096).replace(u'\n', QChar::LineSeparator);
    const int largest = font.pixelSize();
    const int smallest = static_cast<int>(std::ceil(largest * 0.68));
    for (int size = largest; size > smallest; --size) {
        font.setPixelSize(size);
        if (fits(lines, font, room)) {
            return size;
        }
    }
    return smallest;
}

} // namespace quorvel
