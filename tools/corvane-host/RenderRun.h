// One piece of sound through a plug-in, block by block.
#pragma once

#include "tools/corvane-host/AudioFile.h"
#include "tools/corvane-host/Meter.h"
#include "tools/corvane-host/PluginChoice.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Quorvant::Hosting {

struct RenderOptions {
    std::string input, output, automation, sideChain, format, plot;
    std::optional<double> tempo;  // BPM
    std::optional<double> rate;   // Hz; none: the input's
    std::optional<double> tail;   // seconds; none: until the output has died away
    int block = 512;              // frames
    int bits = 32;                // of the samples that the plug-in processes
};
// Looks on while a piece is rendered.
struct RenderWatch {
    double every = 0.0;  // seconds; blocks end at its multiples; 0: blocks as they come
    std::function<void(const HostedPlugin&, double seconds)> afterBlock;  // the block's end
};

struct RenderOutcome {
    HostedPlugin::Ptr plugin;
    std::vector<ParameterPoint> settings;  // that the command line gave, in order
    double rate = 0.0;                     // Hz
    int inputChannels = 0, outputChannels = 0;
    std::unique_ptr<Meter> input, output;
    int64_t tailFrames = 0;
    bool endedQuiet = true;      // false: it was still sounding at its end
    size_t pointsBeyondEnd = 0;  // of the automation
    double secondsTaken = 0.0;
};

// Without a format nothing is written.
Result<RenderOutcome> runRender(const PluginChoice& choice, const RenderOptions& options,
                                const std::optional<SampleFormat>& format,
                                const RenderWatch& watch);

}  // namespace Quorvant::Hosting
