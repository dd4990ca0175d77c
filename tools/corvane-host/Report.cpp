#include "tools/corvane-host/Report.h"

#include <algorithm>
#include <cstdio>

namespace Quorvant::Hosting {

namespace {

// Characters, not bytes, of UTF-8.
size_t widthOf(const std::string& text) {
    return static_cast<size_t>(
        std::ranges::count_if(text, [](char c) { return (c & 0xC0) != 0x80; }));
}

// A plug-in's texts must not break the rows.
std::string oneField(std::string text) {
    std::ranges::replace_if(
        text, [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
    return text;
}

std::string inCsv(const std::string& text) {
    if (text.find_first_of(",\"") == std::string::npos) return text;
    std::string field;
    for (const char c : text) field.append(c == '"' ? 2 : 1, c);
    return '"' + field + '"';
}

}  // namespace

std::string number(double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

void Report::print(std::ostream& out) const {
    std::vector<size_t> widths;
    for (const Row& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (size_t column = 0; column + 1 < row.size(); ++column)
            widths[column] = std::max(widths[column], widthOf(row[column]));
    }
    for (const Row& row : rows) {
        for (size_t column = 0; column < row.size(); ++column) {
            const std::string field = oneField(row[column]);
            const bool last = column + 1 == row.size();
            out << (style == Style::Csv ? inCsv(field) : field);
            if (style == Style::Columns && !last)
                out << std::string(widths[column] - widthOf(field) + 2, ' ');
            else if (!last)
                out << (style == Style::Csv ? ',' : '\t');
        }
        out << '\n';
    }
}

}  // namespace Quorvant::Hosting
