// What a plug-in reports of itself while it runs, over time.
#pragma once

#include "tools/hosting/HostedPlugin.h"

#include <optional>
#include <string>
#include <vector>

namespace Quorvant::Hosting {

class Readings {
  public:
    struct Column {
        ParamID id;
        std::string title;  // of the parameter, else the identifier
        bool isPeak;        // by its title: the highest value of an interval counts, not the last
    };
    struct Row {
        double seconds;  // the interval's end
        // Normalised, by column; none before the first report. A row may lack the last columns.
        std::vector<std::optional<double>> values;
    };

    // `seconds` is the length of an interval; 0: nothing is taken.
    explicit Readings(double seconds) : interval(seconds) {}

    // The first frame after `position` at which an interval ends.
    int64_t nextEnd(int64_t position, double rate) const;
    // Takes what the plug-in reported of the block that ends at `seconds`.
    void take(const HostedPlugin& plugin, double seconds);

    std::vector<Column> columns;  // in order of the identifiers' first report
    std::vector<Row> rows;

  private:
    size_t columnOf(const HostedPlugin& plugin, ParamID id);
    double interval;
    bool rowIsWhole = true;
};

}  // namespace Quorvant::Hosting
