#pragma once

#include <pipewire/pipewire.h>

#include <memory>

namespace quorvel::platform {

/// Keeps the library initialised as long as it exists.
class PipeWireLibrary
{
public:
    PipeWireLibrary() { pw_init(nullptr, nullptr); }
    ~PipeWireLibrary() { pw_deinit(); }
    PipeWireLibrary(const PipeWireLibrary&) = delete;
    PipeWireLibrary(PipeWireLibrary&&) = delete;
    PipeWireLibrary& operator=(const PipeWireLibrary&) = delete;
    PipeWireLibrary& operator=(PipeWireLibrary&&) = delete;
};

/// One registration of callbacks. To be destroyed before the object that calls back.
class PipeWireListener
{
public:
    PipeWireListener() = default;
    ~PipeWireListener()
    {
        if (m_hook.link.next != nullptr) {
            spa_hook_remove(&m_hook);
        }
    }
    PipeWireListener(const PipeWireListener&) = delete;
    PipeWireListener(PipeWireListener&&) = delete;
    PipeWireListener& operator=(const PipeWireListener&) = delete;
    PipeWireListener& operator=(PipeWireListener&&) = delete;

    [[nodiscard]] spa_hook* hook() { return &m_hook; }

private:
    spa_hook m_hook{};
};

template <auto Release>
struct PipeWireDeleter
{
    template <typename Handle>
    void operator()(Handle* handle) const
    {
        Release(handle);
    }
};

using PipeWireThreadLoop = std::unique_ptr<pw_thread_loop, PipeWireDeleter<pw_thread_loop_destroy>>;
using PipeWireContext = std::unique_ptr<pw_context, PipeWireDeleter<pw_context_destroy>>;
using PipeWireCore = std::unique_ptr<pw_core, PipeWireDeleter<pw_core_disconnect>>;
using PipeWireProxy = std::unique_ptr<pw_proxy, PipeWireDeleter<pw_proxy_destroy>>;
using PipeWireStream = std::unique_ptr<pw_stream, PipeWireDeleter<pw_stream_destroy>>;

} // namespace quorvel::platform
