// How texts are compared when values are read from them: without the blanks around and without
// regard to the case of ASCII letters, whatever the locale.
#pragma once

#include <cstddef>
#include <string_view>

namespace Quorvant {

constexpr std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

constexpr char lowerCase(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr bool equalIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (lowerCase(a[i]) != lowerCase(b[i])) return false;
    }
    return true;
}

constexpr bool endsWithIgnoringCase(std::string_view text, std::string_view end) {
    return text.size() >= end.size() &&
           equalIgnoringCase(text.substr(text.size() - end.size()), end);
}

}  // namespace Quorvant
