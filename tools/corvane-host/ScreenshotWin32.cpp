#include "tools/corvane-host/PartialFile.h"
#include "tools/corvane-host/Screenshot.h"

#include <windows.h>

#include <filesystem>
// Needs the types of windows.h.
#include <wincodec.h>

namespace Quorvant::Hosting {

namespace {

template <typename Interface>
struct Com {
    ~Com() {
        if (object != nullptr) object->Release();
    }
    Interface* operator->() const { return object; }
    Interface* object = nullptr;
};

bool encode(const Pixels& pixels, const std::filesystem::path& path) {
    Com<IWICImagingFactory> factory;
    Com<IWICStream> stream;
    Com<IWICBitmapEncoder> encoder;
    Com<IWICBitmapFrameEncode> frame;
    WICPixelFormatGUID format = GUID_WICPixelFormat32bppBGR;
    const auto width = static_cast<UINT>(pixels.width), height = static_cast<UINT>(pixels.height);
    Com<IWICBitmap> bitmap;
    auto* bytes = reinterpret_cast<BYTE*>(const_cast<uint32_t*>(pixels.values.data()));
    const auto ok = [](HRESULT result) { return SUCCEEDED(result); };
    return ok(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                               IID_IWICImagingFactory,
                               reinterpret_cast<void**>(&factory.object))) &&
           ok(factory->CreateStream(&stream.object)) &&
           ok(stream->InitializeFromFilename(path.c_str(), GENERIC_WRITE)) &&
           ok(factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, &encoder.object)) &&
           ok(encoder->Initialize(stream.object, WICBitmapEncoderNoCache)) &&
           ok(encoder->CreateNewFrame(&frame.object, nullptr)) && ok(frame->Initialize(nullptr)) &&
           ok(frame->SetSize(width, height)) &&
           ok(factory->CreateBitmapFromMemory(width, height, format, width * 4, width * height * 4,
                                              bytes, &bitmap.object)) &&
           ok(frame->WriteSource(bitmap.object, nullptr)) && ok(frame->Commit()) &&
           ok(encoder->Commit());
}

}  // namespace

Result<> openPrivateDisplay() {
    return {};
}

Result<> writePng(const Pixels& pixels, const std::string& path) {
    PartialFile file(path);
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const bool written = encode(pixels, std::filesystem::path(file.temporaryPath()));
    CoUninitialize();
    if (!written) return Error{"'" + path + "' can't be written"};
    return file.keep();
}

}  // namespace Quorvant::Hosting
