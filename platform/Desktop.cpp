#include "platform/Desktop.h"

#include "platform/Utf8Path.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>
#endif

namespace Quorvant {
namespace {

using Path = std::filesystem::path;

// Empty when there is no such file.
Path absoluteIfThere(const Path& path) {
    std::error_code error;
    if (!std::filesystem::exists(path, error)) return {};
    Path absolute = std::filesystem::absolute(path, error);
    return error ? Path() : absolute.make_preferred();
}

bool isWebAddress(std::string_view address) {
    const bool web = address.starts_with("https://") || address.starts_with("http://");
    return web && address.find('\0') == std::string_view::npos;
}

#ifdef _WIN32

bool shellOpen(const wchar_t* what, const wchar_t* arguments) {
    const HINSTANCE result =
        ShellExecuteW(nullptr, L"open", what, arguments, nullptr, SW_SHOWNORMAL);
    return reinterpret_cast<INT_PTR>(result) > 32;  // the call's own measure of success
}

#else

// The program's full path, empty when the search path has none: looked up before the process is
// copied, since afterwards memory must not be allocated.
std::string findProgram(const std::string& name) {
    const char* variable = std::getenv("PATH");
    std::string_view search = variable ? variable : "/usr/bin:/bin";
    while (!search.empty()) {
        const auto end = search.find(':');
        const Path candidate = Path(search.substr(0, end)) / name;
        search.remove_prefix(end == std::string_view::npos ? search.size() : end + 1);
        if (candidate.is_absolute() && access(candidate.c_str(), X_OK) == 0) return candidate;
    }
    return {};
}

// A command whose strings outlive the copy of the process.
class Command {
  public:
    explicit Command(std::vector<std::string> line) : words(std::move(line)) {
        words.front() = findProgram(words.front());
        for (auto& word : words) pointers.push_back(word.data());
        pointers.push_back(nullptr);
    }
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    bool found() const { return !words.front().empty(); }
    [[noreturn]] void become() const {
        if (found()) execve(pointers.front(), pointers.data(), environ);
        _exit(127);
    }

  private:
    std::vector<std::string> words;
    std::vector<char*> pointers;
};

bool succeeded(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR) return false;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Starts from a clean slate what must not inherit the host's files, signals and terminal.
void leaveHost() {
    setsid();
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    signal(SIGCHLD, SIG_DFL);
    signal(SIGPIPE, SIG_DFL);
    const int null = open("/dev/null", O_RDWR);
    if (null >= 0) {
        for (const int standard : {0, 1, 2}) dup2(null, standard);
    }
    close_range(3, ~0u, 0);
}

// Runs `first` and, when that fails, `second`, in a process that the host is no parent of: no
// zombie stays, and no wait holds the editor up. Between the copy of the process and the start of
// the program only calls are made that are safe in a signal handler.
bool launch(const Command& first, const Command& second) {
    if (!first.found() && !second.found()) return false;
    const pid_t middle = fork();
    if (middle < 0) return false;
    if (middle == 0) {
        const pid_t runner = fork();
        if (runner != 0) _exit(runner < 0 ? 1 : 0);
        leaveHost();
        const pid_t attempt = fork();
        if (attempt == 0) first.become();
        if (attempt > 0 && succeeded(attempt)) _exit(0);
        second.become();
    }
    int status = 0;
    while (waitpid(middle, &status, 0) < 0) {
        // A host that ignores its children's end leaves nothing to wait for.
        if (errno != EINTR) return errno == ECHILD;
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

#endif

}  // namespace

std::string fileAddress(const Path& path) {
    constexpr std::string_view kPlain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    constexpr std::string_view kDigits = "0123456789ABCDEF";
#ifdef _WIN32
    const std::string text = "/" + utf8FromPath(path.generic_wstring());
#else
    const std::string& text = path.native();  // bytes as they are: the file's true name
#endif
    std::string address = "file://";
    for (const char c : text) {
        if (kPlain.find(c) != std::string_view::npos) {
            address += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        address += '%';
        address += kDigits[byte >> 4];
        address += kDigits[byte & 15];
    }
    return address;
}

bool openPath(const Path& path) {
    const Path there = absoluteIfThere(path);
    if (there.empty()) return false;
#ifdef _WIN32
    return shellOpen(there.c_str(), nullptr);
#else
    return launch(Command({"xdg-open", there.native()}), Command({"gio", "open", there.native()}));
#endif
}

bool revealFile(const Path& file) {
    const Path there = absoluteIfThere(file);
    if (there.empty()) return false;
#ifdef _WIN32
    return shellOpen(L"explorer.exe", (L"/select,\"" + there.native() + L"\"").c_str());
#else
    const Command select({"dbus-send", "--session", "--print-reply", "--reply-timeout=5000",
                          "--dest=org.freedesktop.FileManager1", "--type=method_call",
                          "/org/freedesktop/FileManager1", "org.freedesktop.FileManager1.ShowItems",
                          "array:string:" + fileAddress(there), "string:"});
    return launch(select, Command({"xdg-open", there.parent_path().native()}));
#endif
}

bool openLink(std::string_view address) {
    if (!isWebAddress(address)) return false;
#ifdef _WIN32
    return shellOpen(pathFromUtf8(address).c_str(), nullptr);
#else
    const std::string text(address);
    return launch(Command({"xdg-open", text}), Command({"gio", "open", text}));
#endif
}

}  // namespace Quorvant
