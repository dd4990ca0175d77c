// What is told to users: failures in a sentence, and small helpers for names and sentences.
#pragma once

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Quorvant::Hosting {

// Its text is one sentence for people, without a full stop.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Without regard to case, ASCII only.
inline bool sameText(std::string_view left, std::string_view right) {
    const auto lower = [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    };
    return std::ranges::equal(left, right, {}, lower, lower);
}

inline std::string inQuotes(std::string_view text) {
    std::string result = "'";
    result += text;
    result += '\'';
    return result;
}

inline void appendItem(std::string& list, std::string_view item,
                       std::string_view separator = ", ") {
    if (!list.empty()) list += separator;
    list += item;
}

}  // namespace Quorvant::Hosting
