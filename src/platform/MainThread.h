#pragma once

#include <QObject>

#include <functional>
#include <memory>
#include <utility>

namespace quorvel::platform {

/// The way back to the main thread. One object, made on the main thread before any service and shared by all of them.
class MainThread final : public QObject
{
public:
    /// Queues `call`; calls run on the main thread in the order in which they were posted, never inside post(). Any
    /// thread.
    void post(std::move_only_function<void()> call);

protected:
    bool event(QEvent* event) override;
};

/// Makes a callback that any thread may call. A call only queues `function(target, arguments...)` on the main thread,
/// and does nothing there once the target is gone; the target is locked on the main thread alone, so that its last
/// reference never ends on another one.
template <typename Target, typename Function>
[[nodiscard]] auto weakCallback(std::shared_ptr<MainThread> mainThread, std::weak_ptr<Target> target, Function function)
{
    return [mainThread = std::move(mainThread), target = std::move(target), function](auto... arguments) {
        mainThread->post([target, function, ... arguments = std::move(arguments)]() mutable {
            if (const std::shared_ptr<Target> alive = target.lock()) {
                std::invoke(function, *alive, std::move(arguments)...);
            }
        });
    };
}

} // namespace quorvel::platform
