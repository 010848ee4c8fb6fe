#include "platform/MainThread.h"

#include <QCoreApplication>
#include <QEvent>

namespace quorvel::platform {

namespace {

class CallEvent final : public QEvent
{
public:
    explicit CallEvent(std::move_only_function<void()> call)
        : QEvent(type())
        , m_call(std::move(call))
    {
    }

    static Type type()
    {
        static const auto registered = static_cast<Type>(registerEventType());
        return registered;
    }

    void run() { m_call(); }

private:
    std::move_only_function<void()> m_call;
};

} // namespace

void MainThread::post(std::move_only_function<void()> call)
{
    QCoreApplication::postEvent(this, new CallEvent(std::move(call)));
}

bool MainThread::event(QEvent* event)
{
    if (event->type() == CallEvent::type()) {
        static_cast<CallEvent*>(event)->run();
        return true;
    }
    return QObject::event(event);
}

} // namespace quorvel::platform
