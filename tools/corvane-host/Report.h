// What commands print: rows of fields, for people or for scripts.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace Quorvant::Hosting {

std::string number(double value, int decimals);

class Report {
  public:
    using Row = std::vector<std::string>;
    enum class Style {
        Columns,  // aligned, for people
        Tabs,     // without a heading
        Csv,
    };
    explicit Report(Style wanted) : style(wanted) {}
    explicit Report(bool plain) : Report(plain ? Style::Tabs : Style::Columns) {}

    void heading(Row row) {
        if (style != Style::Tabs) rows.push_back(std::move(row));
    }
    void add(Row row) { rows.push_back(std::move(row)); }
    void print(std::ostream& out) const;

  private:
    Style style;
    std::vector<Row> rows;
};

}  // namespace Quorvant::Hosting
