#include "tools/corvane-host/Commands.h"
#include "tools/corvane-host/Report.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <sstream>

#ifndef _WIN32
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#endif

namespace Quorvant::Hosting {

namespace fs = std::filesystem;

namespace {

std::vector<std::string> modulesBelow(const std::string& folder, std::error_code& failure) {
    std::vector<std::string> modules;
    auto entry = fs::recursive_directory_iterator(
        folder, fs::directory_options::skip_permission_denied, failure);
    for (; !failure && entry != fs::recursive_directory_iterator(); entry.increment(failure)) {
        if (entry->path().extension() != ".vst3") continue;
        modules.push_back(entry->path().string());
        entry.disable_recursion_pending();
    }
    std::ranges::sort(modules);
    return modules;
}

// One line for each effect of the module: name, version, vendor, categories, what it has.
std::string describeModule(const std::string& path) {
    auto classes = HostedPlugin::listClasses(path);
    if (!classes) return "error\t" + classes.error() + "\n";
    std::string lines;
    for (const ClassDescription& one : *classes) {
        if (one.category != kVstAudioEffectClass) continue;
        auto plugin = HostedPlugin::load(path, one.name);
        if (!plugin)
            lines += "error\t" + plugin.error() + "\n";
        else
            lines += one.name + "\t" + one.version + "\t" + one.vendor + "\t" + one.subCategories +
                     "\t" + std::to_string((*plugin)->parameters().size()) + " parameters\n";
    }
    return lines.empty() ? "error\t'" + path + "' holds no audio effect\n" : lines;
}

#ifdef _WIN32

std::string examine(const std::string& path) {
    return describeModule(path);
}

#else

constexpr int kPatienceMs = 30000;

// In the child: nothing that the module prints or does to its process reaches the scan.
[[noreturn]] void describeInto(int pipe, const std::string& path) {
    for (const int signal : {SIGSEGV, SIGABRT, SIGFPE, SIGILL, SIGBUS})
        std::signal(signal, SIG_DFL);
    if (const int null = open("/dev/null", O_RDWR); null >= 0) {
        dup2(null, 1);
        dup2(null, 2);
    }
    const std::string lines = describeModule(path);
    for (size_t sent = 0; sent < lines.size();) {
        const ssize_t now = write(pipe, lines.data() + sent, lines.size() - sent);
        if (now <= 0) _exit(1);
        sent += static_cast<size_t>(now);
    }
    _exit(0);
}

// A process for each module, so that one that crashes or hangs costs its own line only.
std::string examine(const std::string& path) {
    const std::string who = "error\t'" + path + "' ";
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0) return who + "could not be examined\n";
    const pid_t child = fork();
    if (child == 0) describeInto(pipeEnds[1], path);
    close(pipeEnds[1]);
    if (child < 0) {
        close(pipeEnds[0]);
        return who + "could not be examined\n";
    }

    std::string lines;
    char buffer[4096];
    bool inTime = true;
    while (true) {
        pollfd waiting{pipeEnds[0], POLLIN, 0};
        inTime = poll(&waiting, 1, kPatienceMs) > 0;
        const ssize_t got = inTime ? read(pipeEnds[0], buffer, sizeof buffer) : 0;
        if (got <= 0) break;
        lines.append(buffer, static_cast<size_t>(got));
    }
    close(pipeEnds[0]);
    if (!inTime) kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    if (!inTime) return who + "did not answer in time\n";
    // A crash on the way out, after a full description, is a fault as well.
    if (WIFSIGNALED(status)) return who + "crashed: " + strsignal(WTERMSIG(status)) + "\n";
    if (lines.empty()) return who + "ended the process that loaded it\n";
    return lines;
}

#endif

}  // namespace

Result<> scanFolder(const std::string& folder, bool plain) {
    std::error_code failure;
    const auto modules = modulesBelow(folder, failure);
    if (failure) return Error{"cannot read '" + folder + "': " + failure.message()};
    if (modules.empty()) return Error{"there is no .vst3 plug-in below '" + folder + "'"};
    Report report(plain);
    for (const std::string& path : modules) {
        std::istringstream lines(examine(path));
        for (std::string line; std::getline(lines, line);) {
            Report::Row row{path};
            std::istringstream fields(line);
            for (std::string field; std::getline(fields, field, '\t');) row.push_back(field);
            report.add(std::move(row));
        }
    }
    report.print(std::cout);
    return {};
}

}  // namespace Quorvant::Hosting
