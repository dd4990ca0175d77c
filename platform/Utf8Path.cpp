#include "platform/Utf8Path.h"

#include <algorithm>
#include <cstdint>

#ifdef _WIN32
#include <windows.h>
#endif

namespace Quorvant {
namespace {

bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// Length of the well-formed character at the text's front, 0 when there is none.
std::size_t characterLength(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    if (lead < 0x80) return 1;
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return 0;
    uint32_t code = lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if (!isContinuation(text[i])) return 0;
        code = (code << 6) | (static_cast<unsigned char>(text[i]) & 0x3Fu);
    }
    const bool overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return overlong || surrogate || code > 0x10FFFF ? 0 : length;
}

}  // namespace

std::filesystem::path pathFromUtf8(std::string_view text) {
#ifdef _WIN32
    if (validUtf8(text) != text) return {};
    return std::filesystem::path(std::u8string(text.begin(), text.end()));
#else
    return std::filesystem::path(text);
#endif
}

std::string utf8FromPath(const std::filesystem::path& path) {
#ifdef _WIN32
    // The system's own conversion: the standard library's throws on a name with a lone surrogate.
    const std::wstring& wide = path.native();
    const int length = static_cast<int>(wide.size());
    const int bytes =
        WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
    std::string text(static_cast<std::size_t>(bytes > 0 ? bytes : 0), '\0');
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, text.data(), bytes, nullptr, nullptr);
    return validUtf8(text);
#else
    return validUtf8(path.native());
#endif
}

std::string validUtf8(std::string_view text) {
    std::string valid;
    valid.reserve(text.size());
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        if (length > 0) {
            valid += text.substr(0, length);
        } else {
            const auto code = static_cast<unsigned char>(text.front());
            valid += static_cast<char>(0xC0 | (code >> 6));
            valid += static_cast<char>(0x80 | (code & 0x3F));
        }
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return valid;
}

std::string shownText(std::string_view text) {
    std::string shown = validUtf8(text);
    for (std::size_t i = 0; i < shown.size(); ++i) {
        const auto byte = static_cast<unsigned char>(shown[i]);
        if (byte < 0x20 || byte == 0x7F) shown[i] = ' ';
        // U+0080 to U+009F
        if (byte == 0xC2 && static_cast<unsigned char>(shown[i + 1]) < 0xA0)
            shown.replace(i, 2, " ");
    }
    return shown;
}

std::string_view cutUtf8(std::string_view text, std::size_t bytes) {
    if (text.size() <= bytes) return text;
    while (bytes > 0 && isContinuation(text[bytes])) --bytes;
    return text.substr(0, bytes);
}

}  // namespace Quorvant
