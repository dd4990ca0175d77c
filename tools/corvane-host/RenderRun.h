// One piece of sound through a plug-in, block by block.
#pragma once

#include "tools/corvane-host/AudioFile.h"
#include "tools/corvane-host/PluginChoice.h"
#include "tools/corvane-host/Readings.h"

#include <optional>
#include <string>
#include <vector>

namespace Quorvant::Hosting {

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
