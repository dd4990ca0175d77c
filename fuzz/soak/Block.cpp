// One process call: memory, buses, parameters and transport by lot, and what is demanded of it.
#include "fuzz/soak/Soak.h"
#include "params/ParameterIndex.h"

#include "public.sdk/source/vst/hosting/parameterchanges.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <deque>
#include <functional>
#include <utility>

namespace Quorvant::Soak {

using namespace Steinberg;

namespace {

constexpr double kLoudest = 1e6;  // linear gain; more than any setting can make of the input
constexpr double kWorst[] = {NAN, INFINITY, -INFINITY, DBL_MAX, 1e-310, 1e-40, -1e30, 1e18, 2e3};

// Samples between two strips that nobody may touch.
template <typename Sample>
class Channel {
  public:
    Channel(size_t frames, const std::function<double()>& content) : memory(frames + 2 * kStrip) {
        for (Sample& sample : memory) sample = static_cast<Sample>(content());
        before = memory;
    }
    Sample* data() { return memory.data() + kStrip; }
    bool stripsUntouched() const { return same(0, kStrip) && same(memory.size() - kStrip, kStrip); }
    bool untouched() const { return same(0, memory.size()); }

  private:
    bool same(size_t from, size_t count) const {
        return std::memcmp(&memory[from], &before[from], count * sizeof(Sample)) == 0;
    }
    static constexpr size_t kStrip = 64;
    std::vector<Sample> memory, before;
};

// The buses of one direction. Memory may be missing, or be fewer or more channels than there are.
template <typename Sample>
struct Buses {
    std::deque<Channel<Sample>> channels;
    std::deque<std::vector<Sample*>> pointers;
    std::vector<Vst::AudioBusBuffers> buffers;

    Buses(const std::vector<Hosting::Bus>& wanted, size_t frames, Dice& dice,
          const std::function<double()>& content) {
        std::vector<int> counts;
        for (const auto& bus : wanted) counts.push_back(bus.channels);
        if (dice.oneIn(12)) counts.resize(static_cast<size_t>(dice.below(4)), 2);
        for (const int usual : counts) {
            const bool odd = dice.oneIn(12);
            auto& list = pointers.emplace_back(static_cast<size_t>(odd ? dice.below(5) : usual));
            for (Sample*& pointer : list) {
                auto& channel = channels.emplace_back(frames, content);
                pointer = dice.oneIn(odd ? 3 : 100) ? nullptr : channel.data();
            }
            auto& bus = buffers.emplace_back();
            bus.numChannels = static_cast<int32>(list.size());
            memoryOf(bus) = odd && dice.oneIn(3) ? nullptr : list.data();
        }
    }
    static Sample**& memoryOf(Vst::AudioBusBuffers& bus) {
        if constexpr (std::is_same_v<Sample, float>)
            return bus.channelBuffers32;
        else
            return bus.channelBuffers64;
    }
};

struct Changes final : Vst::ParameterChanges {
    int missing = -1;      // index of a queue that isn't handed out
    bool refuses = false;  // to take new queues

    void add(Vst::ParamID id, int32 offset, double value) {
        int32 index = 0;
        addParameterData(id, index)->addPoint(offset, value, index);
    }
    Vst::IParamValueQueue* PLUGIN_API getParameterData(int32 index) override {
        return index == missing ? nullptr : ParameterChanges::getParameterData(index);
    }
    Vst::IParamValueQueue* PLUGIN_API addParameterData(const Vst::ParamID& id,
                                                       int32& index) override {
        return refuses ? nullptr : ParameterChanges::addParameterData(id, index);
    }
};

void fill(Changes& changes, Guest& guest, int frames, Dice& dice) {
    for (const auto& [id, offset, value] : std::exchange(guest.pending, {}))
        changes.add(id, offset, value);
    for (int queues = dice.below(dice.oneIn(20) ? 200 : 3); queues > 0; --queues) {
        // Those of the table most of the time, and all that lie above it.
        const int id = dice.below(dice.oneIn(3) ? 170 : int{kParameterCount});
        const double value = dice.oneIn(30)  ? dice.of(kWorst)
                             : dice.oneIn(4) ? dice.between(-1, 2)
                                             : dice.unit();
        changes.add(static_cast<Vst::ParamID>(dice.oneIn(40) ? -id : id),
                    dice.between(-1000, frames + 1000), value);
    }
    if (dice.oneIn(30)) changes.missing = dice.below(4);
}

Vst::ProcessContext makeContext(Guest& guest, int frames, Dice& dice) {
    if (dice.oneIn(15)) guest.beats = dice.oneIn(4) ? dice.of(kWorst) : dice.unit() * 1e4 - 8.0;
    const double tempo = dice.oneIn(25)   ? dice.of(kWorst)
                         : dice.oneIn(10) ? dice.unit() * 400.0 - 60.0
                                          : 120.0;
    auto context = Hosting::makeContext({tempo, guest.beats}, guest.setup.sampleRate);
    if (dice.oneIn(8)) context.state = dice.bits(4);
    const double next = guest.beats + frames * tempo / 60.0 / guest.setup.sampleRate;
    if (std::isfinite(next)) guest.beats = next;
    return context;
}

void takeReports(Changes& reports, Guest& guest) {
    for (int32 i = 0; i < reports.getParameterCount(); ++i) {
        auto& queue = *reports.getParameterData(i);
        Hosting::ParameterPoint point{queue.getParameterId(), -1, -1.0};
        queue.getPoint(queue.getPointCount() - 1, point.offset, point.value);
        require(point.value >= 0.0 && point.value <= 1.0, "reports a value beyond 0 ... 1");
        guest.reported.push_back(point);
    }
}

template <typename Sample>
void processBlockOf(Guest& guest, int frames, Dice& dice) {
    const auto memory = static_cast<size_t>(std::max(frames, 0));
    Dice noise = dice.fork();
    const bool garbage = dice.oneIn(6);
    Buses<Sample> inputs(guest.plugin->buses(Vst::kInput), memory, dice,
                         [&] { return garbage ? noise.of(kWorst) : noise.unit() - 0.5; });
    // Where nothing has been written, that shows.
    Buses<Sample> outputs(guest.plugin->buses(Vst::kOutput), memory, dice, [] { return NAN; });
    const bool inPlace = dice.oneIn(3) && !inputs.pointers.empty() && !outputs.pointers.empty();
    for (size_t i = 0; inPlace && i < outputs.pointers[0].size(); ++i)
        if (i < inputs.pointers[0].size()) outputs.pointers[0][i] = inputs.pointers[0][i];

    Changes changes, reports;
    fill(changes, guest, frames, dice);
    reports.refuses = dice.oneIn(20);
    auto context = makeContext(guest, frames, dice);
    Vst::ProcessData data;
    data.processMode = guest.setup.mode;
    data.symbolicSampleSize = std::is_same_v<Sample, float> ? Vst::kSample32 : Vst::kSample64;
    data.numSamples = frames;
    data.numInputs = static_cast<int32>(inputs.buffers.size());
    data.numOutputs = static_cast<int32>(outputs.buffers.size());
    data.inputs = inputs.buffers.empty() ? nullptr : inputs.buffers.data();
    data.outputs = outputs.buffers.empty() ? nullptr : outputs.buffers.data();
    data.inputParameterChanges = dice.oneIn(30) ? nullptr : &changes;
    data.outputParameterChanges = dice.oneIn(8) ? nullptr : &reports;
    data.processContext = dice.oneIn(6) ? nullptr : &context;

    require(guest.plugin->processor()->process(data) == kResultOk, "process fails");
    takeReports(reports, guest);
    for (const auto& channel : outputs.channels)
        require(channel.stripsUntouched(), "writes beside the output");
    for (const auto& channel : inputs.channels)
        require(inPlace ? channel.stripsUntouched() : channel.untouched(), "writes into the input");
    for (auto& bus : outputs.buffers) {
        for (int32 i = 0; outputs.memoryOf(bus) && i < bus.numChannels; ++i) {
            const Sample* const samples = outputs.memoryOf(bus)[i];
            // Suspended, it hands on whatever it gets.
            for (int frame = 0; samples && !garbage && frame < frames; ++frame)
                require(std::abs(samples[frame]) <= kLoudest, "a sample is beyond all bounds");
        }
    }
}

}  // namespace

void processBlock(Guest& guest, Dice& dice) {
    constexpr int kSizes[] = {-1, 0, 0, 1, 2, 3, 17, 63, 64, 65, 441, 511, 1000, 8192, 10000};
    // Also more than announced, and now and then of the other sample size than was set up.
    const int most = guest.setup.maxFrames;
    const int frames = dice.oneIn(3)   ? dice.of(kSizes)
                       : dice.oneIn(3) ? dice.between(1, most)
                                       : most;
    if (guest.setup.doublePrecision != dice.oneIn(40))
        processBlockOf<double>(guest, frames, dice);
    else
        processBlockOf<float>(guest, frames, dice);
}

}  // namespace Quorvant::Soak
