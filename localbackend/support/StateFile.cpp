#include "support/StateFile.h"

#include "support/FileDescriptor.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <system_error>

namespace quorvel::localbackend {

namespace {

constexpr std::uintmax_t mostBytes = std::uintmax_t{16} * 1024 * 1024;

std::unexpected<Failure> fault(std::string_view what, const std::filesystem::path& path, int error)
{
    return failed(Fault::Unavailable, std::string(what) + " " + path.string() + ": " +
                                          std::error_code(error, std::generic_category()).message() + ".");
}

bool writeAll(int descriptor, std::string_view content)
{
    while (!content.empty()) {
        const ssize_t written = ::write(descriptor, content.data(), content.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        content.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

} // namespace

Result<void> makePrivateDirectory(const std::filesystem::path& directory)
{
    std::error_code error;
    if (directory.has_parent_path())
        std::filesystem::create_directories(directory.parent_path(), error);
    if (error)
        return fault("Cannot make the directory", directory.parent_path(), error.value());
    if (::mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST)
        return fault("Cannot make the state directory", directory, errno);
    if (!std::filesystem::is_directory(directory, error))
        return fault("The state directory is not a directory:", directory, ENOTDIR);
    if (::access(directory.c_str(), R_OK | W_OK | X_OK) != 0)
        return fault("Cannot write to the state directory", directory, errno);
    return {};
}

Result<std::optional<std::string>> readStateFile(const std::filesystem::path& file)
{
    std::error_code error;
    const auto size = std::filesystem::file_size(file, error);
    if (error == std::errc::no_such_file_or_directory)
        return std::nullopt;
    if (error)
        return fault("Cannot read", file, error.value());
    if (size > mostBytes)
        return fault("Too large:", file, EFBIG);
    std::ifstream stream(file, std::ios::binary);
    std::string content(static_cast<std::size_t>(size), '\0');
    if (!stream.read(content.data(), static_cast<std::streamsize>(size)))
        return fault("Cannot read", file, EIO);
    return content;
}

Result<void> writeStateFile(const std::filesystem::path& file, std::string_view content)
{
    const auto fresh = std::filesystem::path(file).concat(".new");
    {
        ::unlink(fresh.c_str());
        const FileDescriptor descriptor(
            ::open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!descriptor.isOpen())
            return fault("Cannot write", fresh, errno);
        if (!writeAll(descriptor.get(), content) || ::fsync(descriptor.get()) != 0) {
            const int error = errno;
            ::unlink(fresh.c_str());
            return fault("Cannot write", fresh, error);
        }
    }
    if (::rename(fresh.c_str(), file.c_str()) != 0)
        return fault("Cannot replace", file, errno);
    // The rename itself has to survive a crash too.
    const FileDescriptor directory(::open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.isOpen())
        ::fsync(directory.get());
    return {};
}

} // namespace quorvel::localbackend
