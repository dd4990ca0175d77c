#include "tools/corvane-host/WholeFile.h"

#include "platform/AtomicFile.h"
#include "platform/Utf8Path.h"
#include "tools/hosting/Text.h"

#include <csignal>

namespace Quorvant::Hosting {

FileBytes readWhole(const std::filesystem::path& path, size_t most) {
    FileBytes bytes;
    if (const auto error = readFile(path, most, bytes))
        throw Failure{"cannot read " + inQuotes(utf8FromPath(path)) + ": " + error.message()};
    return bytes;
}

void writeWhole(const std::filesystem::path& path, std::span<const std::byte> bytes) {
    // An interruption would leave a part of the file under its temporary name.
    constexpr int kInterruptions[] = {SIGINT, SIGTERM};
    for (const int signal : kInterruptions) std::signal(signal, SIG_IGN);
    const auto error = replaceFile(path, bytes);
    for (const int signal : kInterruptions) std::signal(signal, SIG_DFL);
    if (error)
        throw Failure{"cannot write " + inQuotes(utf8FromPath(path)) + ": " + error.message()};
}

void checkFolder(const std::filesystem::path& path) {
    const auto folder = path.parent_path();
    std::error_code failure;
    if (folder.empty() || std::filesystem::is_directory(folder, failure)) return;
    throw Failure{"there is no folder " + inQuotes(utf8FromPath(folder))};
}

}  // namespace Quorvant::Hosting
