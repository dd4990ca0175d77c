// One piece of sound through a plug-in, block by block, and what the plug-in reports meanwhile.
#pragma once

#include "tools/corvane-host/AudioFile.h"
#include "tools/corvane-host/PluginChoice.h"

#include <optional>
#include <string>
#include <vector>

namespace Quorvant::Hosting {

// What a plug-in reports of itself while it runs, over time.
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

struct RenderOptions {
    std::string input, output, automation, sideChain, format, plot;
    std::optional<double> tempo;  // BPM
    std::optional<double> tail;   // seconds; none: until the output has died away
    int block = 512;              // frames
    int bits = 32;                // of the samples that the plug-in processes
};

struct RenderOutcome {
    HostedPlugin::Ptr plugin;
    std::vector<ParameterPoint> settings;  // that the command line gave, in order
    Audio input, output;                   // the output's latency is taken away
    bool endedQuiet = true;                // false: it was still sounding at its end
    size_t pointsBeyondEnd = 0;            // of the automation
    double secondsTaken = 0.0;
};

// Blocks end where the readings' intervals do.
RenderOutcome runRender(const PluginChoice& choice, const RenderOptions& options,
                        Readings& readings);

}  // namespace Quorvant::Hosting
