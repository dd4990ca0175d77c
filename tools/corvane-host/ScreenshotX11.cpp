#include "tools/corvane-host/PartialFile.h"
#include "tools/corvane-host/Screenshot.h"
#include "tools/hosting/Text.h"

#include <cairo/cairo.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Quorvant::Hosting {

namespace {

// It tells its number once it is ready, ends with its last client, and has room for three times the
// size of most editors.
constexpr const char* kServer =
    "exec Xvfb -displayfd 1 -screen 0 4096x3072x24 -nolisten tcp -terminate 2>/dev/null";

}  // namespace

void openPrivateDisplay() {
    FILE* server = popen(kServer, "r");  // to be closed by nobody: that would wait for its end
    char number[16] = ":";
    if (server == nullptr || std::fgets(number + 1, sizeof number - 1, server) == nullptr)
        throw Failure{"a picture needs the program Xvfb, which is not installed or does not start"};
    number[std::strcspn(number, "\n")] = '\0';
    setenv("DISPLAY", number, 1);
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
