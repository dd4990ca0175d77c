#include "tools/corvane-host/Screenshot.h"
#include "tools/corvane-host/WholeFile.h"
#include "tools/hosting/Text.h"

#include <windows.h>

#include <algorithm>
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

// Empty where it fails.
FileBytes encode(const Pixels& pixels) {
    auto* values = reinterpret_cast<BYTE*>(const_cast<uint32_t*>(pixels.values.data()));
    Gdiplus::Bitmap bitmap(pixels.width, pixels.height, pixels.width * 4, PixelFormat32bppRGB,
                           values);
    FileBytes bytes;
    IStream* stream = nullptr;
    STATSTG content{};
    if (CreateStreamOnHGlobal(nullptr, TRUE, &stream) != S_OK) return bytes;
    if (bitmap.Save(stream, &kPngEncoder, nullptr) == Gdiplus::Ok &&
        stream->Stat(&content, STATFLAG_NONAME) == S_OK) {
        bytes.resize(content.cbSize.LowPart);
        stream->Seek({}, STREAM_SEEK_SET, nullptr);
        stream->Read(bytes.data(), content.cbSize.LowPart, nullptr);
    }
    stream->Release();
    return bytes;
}

}  // namespace

void openPrivateDisplay() {}

void writePng(const Pixels& pixels, const std::string& path) {
    ULONG_PTR library = 0;
    const Gdiplus::GdiplusStartupInput input;
    if (Gdiplus::GdiplusStartup(&library, &input, nullptr) != Gdiplus::Ok)
        throw Failure{"this system draws no pictures"};
    const FileBytes bytes = encode(pixels);
    Gdiplus::GdiplusShutdown(library);
    if (bytes.empty()) throw Failure{inQuotes(path) + " can't be written"};
    writeWhole(path, bytes);
}

}  // namespace Quorvant::Hosting
