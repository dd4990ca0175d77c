#include "platform/DebugText.h"

#ifdef _WIN32
#include "platform/Utf8Path.h"

#include <windows.h>
#endif

namespace Quorvant {

#ifdef _WIN32
void writeDebugText(std::string_view text) {
    OutputDebugStringW(pathFromUtf8(text).c_str());
}
#else
void writeDebugText(std::string_view) {}
#endif

}  // namespace Quorvant
