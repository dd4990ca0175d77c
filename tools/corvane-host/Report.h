// What commands print: rows of fields, for people or for scripts.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace Quorvant::Hosting {

std::string number(double value, int decimals);

// Aligned columns, or fields separated by tabs where it is plain.
class Report {
  public:
    using Row = std::vector<std::string>;
    explicit Report(bool wantedPlain) : plain(wantedPlain) {}

    // For people alone.
    void heading(Row row) {
        if (!plain) add(std::move(row));
    }
    void add(Row row) { rows.push_back(std::move(row)); }
    void print(std::ostream& out) const;

  private:
    bool plain;
    std::vector<Row> rows;
};

}  // namespace Quorvant::Hosting
