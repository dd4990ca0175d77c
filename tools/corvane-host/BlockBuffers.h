// Buffers for every bus of a plug-in, as a host lends them block by block.
#pragma once

#include "tools/corvane-host/AudioFile.h"
#include "tools/hosting/HostedPlugin.h"
#include "tools/hosting/Text.h"

#include <algorithm>
#include <cstdint>
#include <optional>
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

    // While a song plays, from its frame `position` on; without a tempo it has no beats.
    void process(int64_t position, double rate, std::optional<double> tempo) {
        Transport transport;
        transport.tempoBpm = tempo;
        transport.positionFrames = position;
        if (tempo) transport.positionBeats = static_cast<double>(position) / rate * *tempo / 60.0;
        const auto context = makeContext(transport, rate);
        block.context = &context;
        process();
        block.context = nullptr;
    }

    // Fills the block's inputs of a bus from frame `position` on. Silence follows the recording's
    // end; a mono recording serves every channel.
    void setInput(size_t bus, const Audio& audio, size_t position) {
        const auto channels = static_cast<size_t>(audio.channels);
        for (size_t channel = 0; channel < block.inputs[bus].size(); ++channel)
            for (size_t frame = 0; frame < static_cast<size_t>(block.frames); ++frame) {
                const size_t at = (position + frame) * channels + std::min(channel, channels - 1);
                block.inputs[bus][channel][frame] =
                    at < audio.samples.size() ? audio.samples[at] : 0.0f;
            }
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
