#include "tools/corvane-host/PartialFile.h"

#include "tools/hosting/Text.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#ifdef _WIN32
#include <io.h>
#include <process.h>
#else
#include <unistd.h>
#endif

namespace Quorvant::Hosting {

namespace {

// Plain memory, since a signal handler reads it.
char unfinished[4096];
std::atomic<bool> isUnfinished = false;

extern "C" void onSignal(int signal) {
#ifdef _WIN32
    _fcloseall();  // Windows removes no file that is open
#endif
    if (isUnfinished) std::remove(unfinished);
    if (signal != SIGINT && signal != SIGTERM) {
        static const char sentence[] = "corvane-host: the plug-in crashed\n";
        [[maybe_unused]] const auto written = write(2, sentence, sizeof sentence - 1);
    }
    std::_Exit(1);
}

}  // namespace

PartialFile::PartialFile(std::string finalPath)
    : path(std::move(finalPath)), temporary(path + ".part" + std::to_string(getpid())) {
    if (temporary.size() < sizeof unfinished) {
        std::strcpy(unfinished, temporary.c_str());
        isUnfinished = true;
    }
}

PartialFile::~PartialFile() {
    isUnfinished = false;
    if (!temporary.empty()) std::remove(temporary.c_str());
}

void PartialFile::keep() {
    std::error_code failure;
    std::filesystem::rename(temporary, path, failure);
    if (failure) throw Failure{"cannot write " + inQuotes(path) + ": " + failure.message()};
    isUnfinished = false;
    temporary.clear();
}

void checkFolder(const std::string& path) {
    const auto folder = std::filesystem::path(path).parent_path();
    std::error_code failure;
    if (folder.empty() || std::filesystem::is_directory(folder, failure)) return;
    throw Failure{"there is no folder " + inQuotes(folder.string())};
}

void tidyUpOnSignals() {
    for (const int signal : {SIGINT, SIGTERM, SIGSEGV, SIGABRT, SIGFPE, SIGILL})
        std::signal(signal, onSignal);
#ifdef SIGBUS
    std::signal(SIGBUS, onSignal);
#endif
}

}  // namespace Quorvant::Hosting
