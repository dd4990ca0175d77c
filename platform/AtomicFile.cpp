#include "platform/AtomicFile.h"

#include <atomic>
#include <string>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#endif

namespace Quorvant {
namespace {

using Path = std::filesystem::path;

unsigned long processNumber();

// In the target's own folder, so that taking its name is one step of the file system. Another
// process, instance or call never meets the same name; a name left behind by a crash is passed over
// by the next number.
Path temporaryBeside(const Path& file) {
    static std::atomic<unsigned> next{0};
    return file.parent_path() /
           (".corvane-" + std::to_string(processNumber()) + "-" + std::to_string(next++) + ".tmp");
}

#ifdef _WIN32

using File = HANDLE;

std::error_code lastError() {
    const std::error_code error(static_cast<int>(GetLastError()), std::system_category());
    if (error.value() == ERROR_DISK_FULL || error.value() == ERROR_HANDLE_DISK_FULL)
        return std::make_error_code(std::errc::no_space_on_device);
    return error;
}

unsigned long processNumber() {
    return GetCurrentProcessId();
}

std::error_code createNew(const Path& path, File& file) {
    file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL,
                       nullptr);
    return file == INVALID_HANDLE_VALUE ? lastError() : std::error_code();
}

std::error_code openToRead(const Path& path, File& file) {
    file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                       OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    return file == INVALID_HANDLE_VALUE ? lastError() : std::error_code();
}

std::error_code writeSome(File file, std::span<const std::byte> bytes, std::size_t& written) {
    DWORD count = 0;
    if (!WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr))
        return lastError();
    written = count;
    return {};
}

std::error_code readSome(File file, std::span<std::byte> bytes, std::size_t& taken) {
    DWORD count = 0;
    if (!ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr))
        return lastError();
    taken = count;
    return {};
}

std::error_code reachDisk(File file) {
    return FlushFileBuffers(file) ? std::error_code() : lastError();
}

std::error_code closeFile(File file) {
    return CloseHandle(file) ? std::error_code() : lastError();
}

std::error_code mayReplace(const Path& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_READONLY)) return {};
    return std::make_error_code(std::errc::permission_denied);
}

std::error_code move(const Path& from, const Path& to, DWORD replacing) {
    const DWORD flags = replacing | MOVEFILE_WRITE_THROUGH;
    return MoveFileExW(from.c_str(), to.c_str(), flags) ? std::error_code() : lastError();
}

std::error_code takeName(const Path& from, const Path& to) {
    return move(from, to, MOVEFILE_REPLACE_EXISTING);
}

std::error_code takeFreeName(const Path& from, const Path& to) {
    std::error_code error;
    if (!std::filesystem::equivalent(from, to, error)) return move(from, to, 0);
    // A change of case: not every system takes that for a change.
    const Path between = temporaryBeside(to);
    if ((error = move(from, between, 0))) return error;
    error = move(between, to, 0);
    if (error) move(between, from, 0);
    return error;
}

#else

using File = int;

std::error_code lastError() {
    // A quota or a limit on file sizes is a full disk to whoever wanted to save.
    const bool noRoom = errno == ENOSPC || errno == EDQUOT || errno == EFBIG;
    return {noRoom ? ENOSPC : errno, std::generic_category()};
}

unsigned long processNumber() {
    return static_cast<unsigned long>(getpid());
}

std::error_code createNew(const Path& path, File& file) {
    file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    return file < 0 ? lastError() : std::error_code();
}

std::error_code openToRead(const Path& path, File& file) {
    // Not blocking, so that a pipe under a preset's name can't hold the editor up.
    file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    return file < 0 ? lastError() : std::error_code();
}

std::error_code writeSome(File file, std::span<const std::byte> bytes, std::size_t& written) {
    const ssize_t count = write(file, bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR) return lastError();
    written = count < 0 ? 0 : static_cast<std::size_t>(count);
    return {};
}

std::error_code readSome(File file, std::span<std::byte> bytes, std::size_t& taken) {
    ssize_t count = -1;
    do {
        count = read(file, bytes.data(), bytes.size());
    } while (count < 0 && errno == EINTR);
    if (count < 0) return lastError();
    taken = static_cast<std::size_t>(count);
    return {};
}

std::error_code reachDisk(File file) {
    return fsync(file) == 0 ? std::error_code() : lastError();
}

std::error_code closeFile(File file) {
    return close(file) == 0 ? std::error_code() : lastError();
}

std::error_code mayReplace(const Path& path) {
    // Taking a name asks for no right to the file that has it, but its owner may have meant one.
    return access(path.c_str(), W_OK) == 0 || errno == ENOENT ? std::error_code() : lastError();
}

std::error_code takeName(const Path& from, const Path& to) {
    if (rename(from.c_str(), to.c_str()) != 0) return lastError();
    // The new name is safe once the folder is; a system that can't do that has done all it can.
    const int folder = open(to.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0) {
        fsync(folder);
        close(folder);
    }
    return {};
}

std::error_code takeFreeName(const Path& from, const Path& to) {
    std::error_code error;
    // A change of case names the same file where the system doesn't tell cases apart.
    const bool taken = std::filesystem::exists(std::filesystem::symlink_status(to, error)) &&
                       !std::filesystem::equivalent(from, to, error);
    return taken ? std::make_error_code(std::errc::file_exists) : takeName(from, to);
}

#endif

std::error_code writeAll(File file, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        std::size_t written = 0;
        if (const auto error = writeSome(file, bytes, written)) return error;
        bytes = bytes.subspan(written);
    }
    return reachDisk(file);
}

}  // namespace

std::error_code replaceFile(const Path& file, std::span<const std::byte> bytes) {
    std::error_code error;
    Path target = std::filesystem::absolute(file, error);
    if (error) return error;
    // A link goes on pointing where its owner pointed it.
    if (std::filesystem::is_symlink(target, error)) {
        const Path linked = std::filesystem::weakly_canonical(target, error);
        if (!error) target = linked;
    }

    if ((error = mayReplace(target))) return error;

    File handle{};
    Path temporary;
    constexpr int kAttempts = 100;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        temporary = temporaryBeside(target);
        error = createNew(temporary, handle);
        if (error != std::errc::file_exists) break;
    }
    if (error) return error;

    error = writeAll(handle, bytes);
    const auto closeError = closeFile(handle);
    if (!error) error = closeError;
    if (!error) error = takeName(temporary, target);
    if (error) {
        std::error_code ignored;
        std::filesystem::remove(temporary, ignored);
    }
    return error;
}

std::error_code renameFile(const Path& file, const Path& target) {
    return takeFreeName(file, target);
}

std::error_code readFile(const Path& file, std::size_t most, std::vector<std::byte>& bytes) {
    bytes.clear();
    std::error_code error;
    if (std::filesystem::is_directory(file, error))
        return std::make_error_code(std::errc::is_a_directory);
    File handle{};
    if (const auto openError = openToRead(file, handle)) return openError;
    constexpr std::size_t kPiece = 16384;
    std::size_t filled = 0;
    while (filled < most) {
        bytes.resize(std::min(most, filled + kPiece));
        std::size_t taken = 0;
        error = readSome(handle, std::span(bytes).subspan(filled), taken);
        filled += taken;
        if (error || taken == 0) break;
    }
    bytes.resize(filled);
    closeFile(handle);
    return error;
}

}  // namespace Quorvant
