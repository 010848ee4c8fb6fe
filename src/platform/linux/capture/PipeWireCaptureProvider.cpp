#include "platform/linux/capture/PipeWireCaptureProvider.h"

#include "platform/linux/capture/PipeWireCaptureStream.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel::platform {

namespace {

/// Where the server listens, found as its own library finds it; empty when there is no such place.
std::filesystem::path serverSocket()
{
    const auto variable = [](const char* name) {
        const QByteArray value = qgetenv(name);
        return std::filesystem::path(value.toStdString());
    };
    std::filesystem::path directory = variable("PIPEWIRE_RUNTIME_DIR");
    if (directory.empty()) {
        directory = variable("XDG_RUNTIME_DIR");
    }
    std::filesystem::path remote = variable("PIPEWIRE_REMOTE");
    if (remote.is_absolute()) {
        return remote;
    }
    return directory.empty() ? directory : directory / (remote.empty() ? "pipewire-0" : remote);
}

/// Whether something listens there that we may not talk to. Does not wait.
bool isRefusedBy(const std::filesystem::path& socketPath)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string& path = socketPath.native();
    if (path.empty() || path.size() >= sizeof(address.sun_path)) {
        return false;
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0) {
        return false;
    }
    const int result = ::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    const bool isRefused = result < 0 && (errno == EACCES || errno == EPERM);
    ::close(descriptor);
    return isRefused;
}

Failure unknownProgram()
{
    return {.code = errorCode(PlatformError::failed),
            .description = u"It is not known which program this window belongs to. Choose the whole screen instead."_s};
}

Failure endedProgram()
{
    return {.code = errorCode(PlatformError::failed),
            .description = u"The program of this window has ended. Refresh the sources and choose again."_s};
}

std::int64_t processOf(const ShareableWindow& window)
{
    return window.owningApplication ? window.owningApplication->processId : 0;
}

Result<ProcessFilter> processFilter(const ContentFilter& filter, bool excludesCurrentProcessAudio)
{
    const ProcessTable table;
    std::vector<std::int64_t> excluded;
    if (excludesCurrentProcessAudio) {
        excluded.push_back(::getpid());
    }
    if (const auto* window = std::get_if<WindowFilter>(&filter)) {
        const std::int64_t root = processOf(*window->window);
        if (root <= 0) {
            return std::unexpected(unknownProgram());
        }
        if (!table.find(root)) {
            return std::unexpected(endedProgram());
        }
        return ProcessFilter(ProcessTree({root}, table), ProcessTree(excluded, table));
    }
    for (const auto& window : std::get<DisplayFilter>(filter).excludedWindows) {
        excluded.push_back(processOf(*window));
    }
    return ProcessFilter(std::nullopt, ProcessTree(excluded, table));
}

class PipeWireCaptureProvider final : public CaptureProvider
{
public:
    explicit PipeWireCaptureProvider(std::shared_ptr<MainThread> mainThread)
        : m_mainThread(std::move(mainThread))
    {
    }

    [[nodiscard]] bool preflightAccess() override { return !isRefusedBy(serverSocket()); }

    /// A sandbox is opened to the server from outside: no desktop portal hands out the sound of other applications.
    void requestAccess() override {}

    [[nodiscard]] std::shared_ptr<CaptureStream> makeStream(ContentFilter filter, CaptureConfiguration configuration,
                                                            std::weak_ptr<CaptureStreamDelegate> delegate) override
    {
        return std::make_shared<PipeWireCaptureStream>(m_mainThread,
                                                       processFilter(filter, configuration.excludesCurrentProcessAudio),
                                                       configuration, std::move(delegate));
    }

private:
    std::shared_ptr<MainThread> m_mainThread;
};

} // namespace

std::shared_ptr<CaptureProvider> makePipeWireCaptureProvider(std::shared_ptr<MainThread> mainThread)
{
    return std::make_shared<PipeWireCaptureProvider>(std::move(mainThread));
}

} // namespace quorvel::platform
