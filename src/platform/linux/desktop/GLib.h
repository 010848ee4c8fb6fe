#pragma once

#include <gio/gio.h>

#include <memory>

namespace quorvel::platform {

/// Gives back what a C library counts the references of.
template <auto release>
struct Releaser
{
    template <typename T>
    void operator()(T* object) const
    {
        release(object);
    }
};

template <typename T>
using Object = std::unique_ptr<T, Releaser<&g_object_unref>>;

/// Where a call leaves the reason of its failure.
class Error
{
public:
    Error() = default;
    ~Error() { g_clear_error(&m_error); }
    Error(const Error&) = delete;
    Error(Error&&) = delete;
    Error& operator=(const Error&) = delete;
    Error& operator=(Error&&) = delete;

    /// For the next call; forgets the one before.
    [[nodiscard]] GError** out()
    {
        g_clear_error(&m_error);
        return &m_error;
    }

    [[nodiscard]] explicit operator bool() const { return m_error != nullptr; }
    [[nodiscard]] bool isOf(GQuark domain) const { return m_error != nullptr && m_error->domain == domain; }
    [[nodiscard]] bool is(GQuark domain, int code) const { return g_error_matches(m_error, domain, code) != FALSE; }

private:
    GError* m_error = nullptr;
};

} // namespace quorvel::platform
