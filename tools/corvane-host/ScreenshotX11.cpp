#include "tools/corvane-host/PartialFile.h"
#include "tools/corvane-host/Screenshot.h"
#include "tools/hosting/Text.h"

#include <cairo/cairo.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace Quorvant::Hosting {

namespace {

constexpr int kStartMilliseconds = 20000;
constexpr int kNumberFd = 3;

// Room for three times the size of most editors.
[[noreturn]] void becomeServer(int numberPipe) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    const int nowhere = open("/dev/null", O_RDWR);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nowhere, stream);
    if (numberPipe == kNumberFd)
        fcntl(numberPipe, F_SETFD, 0);
    else
        dup2(numberPipe, kNumberFd);
    execlp("Xvfb", "Xvfb", "-displayfd", "3", "-screen", "0", "4096x3072x24", "-nolisten", "tcp",
           "-noreset", static_cast<char*>(nullptr));
    _exit(127);
}

// The number that the server writes once it is ready; empty where it never does.
std::string readNumber(int pipe) {
    std::string text;
    pollfd ready{pipe, POLLIN, 0};
    char letter = 0;
    while (poll(&ready, 1, kStartMilliseconds) > 0 && read(pipe, &letter, 1) == 1) {
        if (letter == '\n') return text;
        text += letter;
    }
    return {};
}

}  // namespace

void openPrivateDisplay() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw Failure{"no display could be made"};
    const pid_t server = fork();
    if (server == 0) becomeServer(ends[1]);
    close(ends[1]);
    const std::string number = server > 0 ? readNumber(ends[0]) : std::string();
    close(ends[0]);
    if (!number.empty()) {
        setenv("DISPLAY", (":" + number).c_str(), 1);
        return;
    }
    if (server > 0) {
        kill(server, SIGTERM);
        waitpid(server, nullptr, 0);
    }
    throw Failure{"a picture needs the program Xvfb, which is not installed or does not start"};
}

void writePng(const Pixels& pixels, const std::string& path) {
    PartialFile file(path);
    // Rows of 32 bits leave no gaps in cairo's pictures.
    auto* values = reinterpret_cast<unsigned char*>(const_cast<uint32_t*>(pixels.values.data()));
    auto* surface = cairo_image_surface_create_for_data(values, CAIRO_FORMAT_RGB24, pixels.width,
                                                        pixels.height, pixels.width * 4);
    const auto status = cairo_surface_write_to_png(surface, file.temporaryPath().c_str());
    cairo_surface_destroy(surface);
    if (status != CAIRO_STATUS_SUCCESS)
        throw Failure{inQuotes(path) + " can't be written: " + cairo_status_to_string(status)};
    file.keep();
}

}  // namespace Quorvant::Hosting
