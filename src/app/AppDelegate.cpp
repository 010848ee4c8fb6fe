#include "app/AppDelegate.h"

#include <utility>

namespace quorvel {

AppDelegate::AppDelegate(std::shared_ptr<platform::MainThread> mainThread)
    : m_mainThread(std::move(mainThread))
{
}

void AppDelegate::applicationWillTerminate()
{
    m_mainThread->post([state = appState] {
        if (const std::shared_ptr<AppState> alive = state.lock()) {
            alive->shutdown();
        }
    });
}

} // namespace quorvel
