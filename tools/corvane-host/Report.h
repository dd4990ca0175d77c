// What commands print: rows of fields, aligned for people or separated by tabs for scripts.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace Quorvant::Hosting {

std::string number(double value, int decimals);

class Report {
  public:
    using Row = std::vector<std::string>;
    explicit Report(bool plainRows) : plain(plainRows) {}

    // Only people get it.
    void heading(Row row) {
        if (!plain) rows.push_back(std::move(row));
    }
    void add(Row row) { rows.push_back(std::move(row)); }
    void print(std::ostream& out) const;

  private:
    bool plain;
    std::vector<Row> rows;
};

}  // namespace Quorvant::Hosting
