#pragma once

#include "app/AppState.h"
#include "platform/MainThread.h"

#include <QObject>

#include <memory>

namespace quorvel {

/// Hears of the end of the program. It reaches the state as long as that exists and never keeps it. Main thread.
class AppDelegate final : public QObject
{
public:
    explicit AppDelegate(std::shared_ptr<platform::MainThread> mainThread);

    std::weak_ptr<AppState> appState;

    /// Schedules the shutdown of the state and does not wait for it.
    void applicationWillTerminate();

private:
    std::shared_ptr<platform::MainThread> m_mainThread;
};

} // namespace quorvel
