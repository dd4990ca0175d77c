#include "platform/DebugText.h"

#ifdef _WIN32
#include "platform/Utf8Path.h"

#include <windows.h>
#else
#include <cstdio>
#endif

namespace Quorvant {

void writeDebugText(std::string_view text) {
#ifdef _WIN32
    OutputDebugStringW(pathFromUtf8(text).c_str());
#else
    std::fwrite(text.data(), 1, text.size(), stderr);
#endif
}

}  // namespace Quorvant
