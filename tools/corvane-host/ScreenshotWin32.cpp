#include "tools/corvane-host/PartialFile.h"
#include "tools/corvane-host/Screenshot.h"
#include "tools/hosting/Text.h"

#include <windows.h>

#include <algorithm>
#include <filesystem>
// Both need what stands above.
#include <objidl.h>

namespace Gdiplus {
using std::max;
using std::min;
}  // namespace Gdiplus
#include <gdiplus.h>

namespace Quorvant::Hosting {

namespace {

constexpr CLSID kPngEncoder = {
    0x557cf406, 0x1a04, 0x11d3, {0x9a, 0x73, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e}};

bool encode(const Pixels& pixels, const std::filesystem::path& path) {
    auto* bytes = reinterpret_cast<BYTE*>(const_cast<uint32_t*>(pixels.values.data()));
    Gdiplus::Bitmap bitmap(pixels.width, pixels.height, pixels.width * 4, PixelFormat32bppRGB,
                           bytes);
    return bitmap.Save(path.c_str(), &kPngEncoder, nullptr) == Gdiplus::Ok;
}

}  // namespace

void openPrivateDisplay() {}

void writePng(const Pixels& pixels, const std::string& path) {
    PartialFile file(path);
    ULONG_PTR library = 0;
    const Gdiplus::GdiplusStartupInput input;
    if (Gdiplus::GdiplusStartup(&library, &input, nullptr) != Gdiplus::Ok)
        throw Failure{"this system draws no pictures"};
    const bool written = encode(pixels, std::filesystem::path(file.temporaryPath()));
    Gdiplus::GdiplusShutdown(library);
    if (!written) throw Failure{inQuotes(path) + " can't be written"};
    file.keep();
}

}  // namespace Quorvant::Hosting
