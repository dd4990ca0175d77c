// Buffers for every bus of a plug-in, as a host lends them block by block.
#pragma once

#include "tools/hosting/HostedPlugin.h"
#include "tools/hosting/Text.h"

#include <vector>

namespace Quorvant::Hosting {

template <typename Sample>
class BlockBuffers {
  public:
    // All buses get channels, the inactive ones silent. `maxFrames` is the largest block.
    BlockBuffers(HostedPlugin& hosted, int maxFrames) : plugin(hosted) {
        block.inputs = channelsOf(plugin.buses(Steinberg::Vst::kInput), maxFrames);
        block.outputs = channelsOf(plugin.buses(Steinberg::Vst::kOutput), maxFrames);
    }
    BlockBuffers(const BlockBuffers&) = delete;
    BlockBuffers& operator=(const BlockBuffers&) = delete;

    void process() {
        if (plugin.process(block) != Steinberg::kResultOk)
            throw Failure{inQuotes(plugin.name()) + " failed to process a block"};
    }

    Block<Sample> block;

  private:
    std::vector<std::vector<Sample*>> channelsOf(const std::vector<Bus>& buses, int maxFrames) {
        std::vector<std::vector<Sample*>> result;
        for (const Bus& bus : buses) {
            std::vector<Sample*>& channels = result.emplace_back();
            for (int channel = 0; channel < bus.channels; ++channel)
                channels.push_back(
                    storage.emplace_back(static_cast<size_t>(maxFrames), Sample{}).data());
        }
        return result;
    }

    HostedPlugin& plugin;
    std::vector<std::vector<Sample>> storage;
};

}  // namespace Quorvant::Hosting
