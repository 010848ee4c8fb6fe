#pragma once

#include <QTimer>

#include <chrono>
#include <functional>
#include <utility>

namespace quorvel::platform {

/// Decides when a silent peer is asked for a sign of life and when it is given up. Any received byte is a sign of life,
/// so that a long message on a slow line does not look like silence.
class Heartbeat
{
public:
    struct Handlers
    {
        std::function<void()> ask;
        std::function<void()> giveUp;
        std::function<qint64()> bytesReceived;
    };

    Heartbeat(std::chrono::milliseconds interval, std::chrono::milliseconds patience, Handlers handlers)
        : m_handlers(std::move(handlers))
    {
        m_interval.setSingleShot(true);
        m_interval.setInterval(interval);
        m_patience.setSingleShot(true);
        m_patience.setInterval(patience);
        QObject::connect(&m_interval, &QTimer::timeout, [this] {
            m_bytesBefore = m_handlers.bytesReceived();
            m_patience.start();
            m_handlers.ask();
        });
        QObject::connect(&m_patience, &QTimer::timeout, [this] {
            if (m_handlers.bytesReceived() == m_bytesBefore) {
                m_handlers.giveUp();
            } else {
                start();
            }
        });
    }

    void start()
    {
        m_patience.stop();
        m_interval.start();
    }

    void stop()
    {
        m_patience.stop();
        m_interval.stop();
    }

private:
    Handlers m_handlers;
    QTimer m_interval;
    QTimer m_patience;
    qint64 m_bytesBefore = 0;
};

} // namespace quorvel::platform
