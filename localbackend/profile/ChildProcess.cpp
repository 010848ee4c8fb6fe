#include "profile/ChildProcess.h"

#include "support/FileDescriptor.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

namespace quorvel::localbackend {

namespace {

constexpr int startFailed = 127;

void limit(__rlimit_resource resource, rlim_t value)
{
    const rlimit both{.rlim_cur = value, .rlim_max = value};
    ::setrlimit(resource, &both);
}

/// Runs in the child between fork and exec: only calls that are safe after a fork of a program with threads.
[[noreturn]] void becomeProgram(char* const* arguments, char* const* environment, const char* directory, int output,
                                int nothing, const ChildLimits& limits)
{
    ::setsid();
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    limit(RLIMIT_CPU, limits.processorSeconds);
    limit(RLIMIT_AS, limits.memoryBytes);
    limit(RLIMIT_FSIZE, limits.fileBytes);
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_NOFILE, 32);
    const bool ready = ::chdir(directory) == 0 && ::dup2(nothing, STDIN_FILENO) >= 0 &&
                       ::dup2(output, STDOUT_FILENO) >= 0 && ::dup2(nothing, STDERR_FILENO) >= 0;
    if (ready)
        ::execve(arguments[0], arguments, environment);
    ::_exit(startFailed);
}

void collect(ChildOutcome& outcome, int output, std::chrono::steady_clock::time_point deadline,
             const ChildLimits& limits)
{
    std::array<char, 16384> buffer{};
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            outcome.timedOut = true;
            return;
        }
        pollfd readable{.fd = output, .events = POLLIN, .revents = 0};
        if (::poll(&readable, 1, static_cast<int>(left.count())) <= 0)
            continue;
        const ssize_t count = ::read(output, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return;
        outcome.output.append(buffer.data(), static_cast<std::size_t>(count));
        if (outcome.output.size() > limits.outputBytes) {
            outcome.outputCut = true;
            return;
        }
    }
}

/// Waits for the child's end, which follows that of its output shortly, without giving its number free yet.
bool endsBefore(pid_t child, std::chrono::steady_clock::time_point deadline)
{
    constexpr int step = 5; // milliseconds
    while (std::chrono::steady_clock::now() < deadline) {
        siginfo_t information{};
        if (::waitid(P_PID, static_cast<id_t>(child), &information, WEXITED | WNOHANG | WNOWAIT) == 0 &&
            information.si_pid == child)
            return true;
        ::poll(nullptr, 0, step);
    }
    return false;
}

} // namespace

Result<ChildOutcome> runChild(std::vector<std::string> command, const std::filesystem::path& directory,
                              const ChildLimits& limits)
{
    const auto fault = [] { return failed(Fault::Unavailable, "A helper program cannot be started."); };
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return fault();
    const FileDescriptor readEnd(ends[0]);
    FileDescriptor writeEnd(ends[1]);
    const FileDescriptor nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
    if (!nothing.isOpen())
        return fault();
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (auto& argument : command)
        arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    std::string locale = "LC_ALL=C.UTF-8";
    const std::array<char*, 2> environment{locale.data(), nullptr};

    const auto deadline = std::chrono::steady_clock::now() + limits.wallClock;
    const pid_t child = ::fork();
    if (child < 0)
        return fault();
    if (child == 0) {
        becomeProgram(arguments.data(), environment.data(), directory.c_str(), writeEnd.get(), nothing.get(), limits);
    }
    writeEnd.reset();

    ChildOutcome outcome;
    collect(outcome, readEnd.get(), deadline, limits);
    if (!outcome.timedOut && !outcome.outputCut)
        outcome.timedOut = !endsBefore(child, deadline);
    // Whatever it started goes with it. It is not yet reaped, so the number is still its own.
    ::kill(-child, SIGKILL);
    ::kill(child, SIGKILL);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status))
        outcome.exitCode = WEXITSTATUS(status);
    if (outcome.exitCode == startFailed)
        return fault();
    return outcome;
}

} // namespace quorvel::localbackend
