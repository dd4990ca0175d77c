// Process calls: memory, buses, signals, parameters and transport at random, and what is checked
// of them.
#include "params/ParameterIndex.h"
#include "tests/module/soak/Guest.h"
#include "tests/module/soak/HostileLists.h"

#include <xmmintrin.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <deque>
#include <limits>
#include <numbers>

namespace Quorvant::Soak {

using namespace Steinberg;
using Vst::AudioBusBuffers;
using Vst::ProcessContext;
using Vst::ProcessData;

namespace {

constexpr double kLoudest = 1e6;  // linear gain; more than any setting can make of the input
constexpr int kLargestFrames = 10000;

enum class Signal { Silence, Noise, Sine, Clicks, Constant, Garbage, kCount };

double garbage(Chance& chance) {
    constexpr double kWorst[] = {std::numeric_limits<double>::quiet_NaN(),
                                 std::numeric_limits<double>::signaling_NaN(),
                                 std::numeric_limits<double>::infinity(),
                                 -std::numeric_limits<double>::infinity(),
                                 std::numeric_limits<double>::denorm_min(),
                                 std::numeric_limits<double>::max(),
                                 1e-310,
                                 1e-40,
                                 -1e30,
                                 2000.0,
                                 0.3};
    return chance.of(kWorst);
}

double sampleOf(Signal signal, int frame, Chance& chance) {
    switch (signal) {
        case Signal::Noise:
            return chance.unit() - 0.5;
        case Signal::Sine:
            return 0.5 * std::sin(frame * 0.05 * std::numbers::pi);
        case Signal::Clicks:
            return chance.oneIn(100) ? 1.0 : 0.0;
        case Signal::Constant:
            return 0.7;
        case Signal::Garbage:
            return garbage(chance);
        default:
            return 0.0;
    }
}

// Samples between two strips that nobody may touch.
template <typename Sample>
class Channel {
  public:
    Channel(int frames, Signal signal, Chance& chance)
        : memory(static_cast<size_t>(frames) + 2 * kStrip, kMark) {
        for (int i = 0; i < frames; ++i)
            data()[i] = static_cast<Sample>(sampleOf(signal, i, chance));
        before.assign(data(), data() + frames);
    }
    Sample* data() { return memory.data() + kStrip; }
    // As it was before the call.
    Sample was(int frame) const { return before[static_cast<size_t>(frame)]; }
    bool unchanged() const {
        return before.empty() || std::memcmp(memory.data() + kStrip, before.data(),
                                             before.size() * sizeof(Sample)) == 0;
    }
    bool stripsIntact() const {
        for (size_t i = 0; i < kStrip; ++i)
            if (memory[i] != kMark || memory[memory.size() - 1 - i] != kMark) return false;
        return true;
    }

  private:
    static constexpr size_t kStrip = 64;
    static constexpr Sample kMark = Sample(0.123456789);
    std::vector<Sample> memory, before;
};

// The buses of one direction. Memory may be missing, or be fewer or more channels than there are.
template <typename Sample>
struct Buses {
    std::deque<Channel<Sample>> channels;
    std::deque<std::vector<Sample*>> pointers;
    std::vector<AudioBusBuffers> buffers;

    void add(int channelCount, int frames, Signal signal, Chance& chance) {
        const bool odd = chance.oneIn(12);
        if (odd) channelCount = chance.below(5);
        auto& list = pointers.emplace_back();
        for (int i = 0; i < channelCount; ++i) {
            auto& channel = channels.emplace_back(frames, signal, chance);
            list.push_back(chance.oneIn(odd ? 3 : 100) ? nullptr : channel.data());
        }
        AudioBusBuffers bus;
        bus.numChannels = channelCount;
        bus.silenceFlags = signal == Signal::Silence ? ~uint64{0} : 0;
        bus.channelBuffers32 = nullptr;
        Sample** const given = odd && chance.oneIn(3) ? nullptr : list.data();
        if constexpr (std::is_same_v<Sample, float>)
            bus.channelBuffers32 = given;
        else
            bus.channelBuffers64 = given;
        buffers.push_back(bus);
    }
    void addAll(const std::vector<Hosting::Bus>& wanted, int frames, Signal signal,
                Chance& chance) {
        for (const auto& bus : wanted) add(bus.channels, frames, signal, chance);
        if (chance.oneIn(25)) add(2, frames, signal, chance);
        if (chance.oneIn(25) && !buffers.empty()) buffers.pop_back();
    }
    AudioBusBuffers* list() { return buffers.empty() ? nullptr : buffers.data(); }
    // Every channel that the plug-in is given.
    template <typename Visit>
    void forEachGiven(Visit visit) {
        for (const auto& bus : buffers) {
            Sample** given = nullptr;
            if constexpr (std::is_same_v<Sample, float>)
                given = bus.channelBuffers32;
            else
                given = bus.channelBuffers64;
            for (int32 i = 0; given != nullptr && i < bus.numChannels; ++i)
                if (given[i] != nullptr) visit(given[i]);
        }
    }
};

int randomFrames(const Guest& guest, Chance& chance) {
    constexpr int kSizes[] = {0, 0, 1, 2, 3, 17, 63, 64, 65, 100, 441, 480, 511, 1000, 8192, -1};
    if (chance.oneIn(3)) return chance.of(kSizes);
    if (chance.oneIn(30)) return kLargestFrames;  // more than announced
    return chance.oneIn(3) ? 1 + chance.below(guest.setup.maxFrames) : guest.setup.maxFrames;
}

ProcessContext randomContext(Guest& guest, int frames, Chance& chance) {
    const double rate = guest.setup.sampleRate;
    if (chance.oneIn(15)) guest.beats = chance.oneIn(4) ? garbage(chance) : chance.unit() * 1e4 - 8;
    if (chance.oneIn(20)) guest.playing = !guest.playing;
    double tempo = 120.0;
    if (chance.oneIn(10)) tempo = chance.unit() * 400.0;
    if (chance.oneIn(25)) tempo = chance.oneIn(2) ? garbage(chance) : -60.0;
    Hosting::Transport transport;
    transport.tempoBpm = tempo;
    transport.positionBeats = guest.beats;
    transport.playing = guest.playing;
    ProcessContext context = Hosting::makeContext(transport, rate);
    if (chance.oneIn(8)) context.state = static_cast<uint32>(chance.bits());
    if (guest.playing && std::isfinite(guest.beats) && std::isfinite(tempo) && rate > 0.0)
        guest.beats += frames * tempo / 60.0 / rate;
    return context;
}

double randomValue(Chance& chance) {
    if (chance.oneIn(30)) return garbage(chance);
    if (chance.oneIn(20)) return chance.unit() * 20.0 - 10.0;
    if (chance.oneIn(4)) return chance.below(2);
    return chance.unit();
}

Vst::ParamID randomId(Chance& chance) {
    if (chance.oneIn(40)) return static_cast<Vst::ParamID>(chance.bits());
    // Those of the table most of the time, and all that lie above it.
    return static_cast<Vst::ParamID>(chance.below(chance.oneIn(3) ? 170 : int{kParameterCount}));
}

void fill(Changes& changes, Guest& guest, int frames, bool flood, Chance& chance) {
    for (const auto& [id, offset, value] : guest.pending)
        changes.queues.emplace_back(id).points.push_back({offset, value});
    guest.pending.clear();
    const int queues = flood ? chance.below(200) : chance.oneIn(3) ? chance.below(4) : 0;
    for (int i = 0; i < queues; ++i) {
        Queue& queue = changes.queues.emplace_back(randomId(chance));
        queue.lies = chance.oneIn(40);
        const int points = chance.oneIn(5) ? chance.below(50) : 1;
        for (int point = 0; point < points; ++point) {
            const int offset = chance.oneIn(8) ? chance.between(-1000, 1000000)
                                               : chance.below(std::max(frames, 1));
            queue.points.push_back({offset, randomValue(chance)});
        }
    }
    if (chance.oneIn(30) && !changes.queues.empty())
        changes.missing = chance.below(static_cast<int>(changes.queues.size()));
}

// Rounding, flushing of denormals and unmasked exceptions as a host may have them. Nobody lives
// with the inexact result as an exception.
unsigned randomControlWord(unsigned usual, Chance& chance) {
    if (!chance.oneIn(2)) return usual;
    unsigned word = usual & ~static_cast<unsigned>(_MM_ROUND_MASK | 0x8040);
    word |= static_cast<unsigned>(chance.below(4)) << 13;
    if (chance.oneIn(2)) word |= 0x8040;
    if (chance.oneIn(2)) word &= ~static_cast<unsigned>(_MM_MASK_INVALID | _MM_MASK_DIV_ZERO);
    if (chance.oneIn(4)) word &= ~static_cast<unsigned>(_MM_MASK_OVERFLOW | _MM_MASK_DENORM);
    return word;
}

tresult callUnderControlWord(Hosting::HostedPlugin& plugin, ProcessData& data, Chance& chance,
                             Journal& journal) {
    const unsigned usual = _mm_getcsr();
    const unsigned word = randomControlWord(usual & ~0x3Fu, chance);
    Vst::IAudioProcessor* const processor = plugin.processor();
    _mm_setcsr(word);
    const tresult result = processor->process(data);
    const unsigned after = _mm_getcsr();
    _mm_setcsr(usual);
    if (after != word) journal.complain("the floating-point control word is not as it was");
    return result;
}

void checkReports(const Changes& reported, Journal& journal) {
    for (const Queue& queue : reported.queues) {
        const auto id = const_cast<Queue&>(queue).getParameterId();
        if (id > kLastOutputIndex && id != kHeartbeat) journal.complain("reports an unknown id");
        for (const Point& point : queue.points) {
            if (!(point.value >= 0.0 && point.value <= 1.0))
                journal.complain("reports a value beyond 0 ... 1 for " + std::to_string(id));
            if (point.offset != 0) journal.complain("reports a point outside the block");
        }
    }
}

template <typename Sample>
class Call {
  public:
    Call(Guest& calledGuest, Chance& random, int frameCount)
        : guest(calledGuest), chance(random), frames(frameCount) {
        const int memory = std::max(frames, 0);
        const auto signal = [&] {
            return chance.oneIn(2) ? Signal::Noise
                                   : static_cast<Signal>(chance.below(int(Signal::kCount)));
        };
        inputs.addAll(guest.plugin->buses(Vst::kInput), memory, signal(), chance);
        // What isn't written shows as not-a-number.
        outputs.addAll(guest.plugin->buses(Vst::kOutput), memory, Signal::Garbage, chance);
        for (auto& channel : outputs.channels)
            std::fill_n(channel.data(), memory, std::numeric_limits<Sample>::quiet_NaN());
        if (chance.oneIn(3)) processInPlace();
    }

    tresult run(bool flood, Journal& journal) {
        fill(changes, guest, frames, flood, chance);
        for (const Queue& queue : changes.queues)
            journal.points += static_cast<int64_t>(queue.points.size());
        reported.refuses = chance.oneIn(20);
        context = randomContext(guest, frames, chance);
        ProcessData data;
        data.processMode = guest.setup.mode;
        data.symbolicSampleSize = std::is_same_v<Sample, float> ? Vst::kSample32 : Vst::kSample64;
        data.numSamples = frames;
        data.inputs = inputs.list();
        data.outputs = outputs.list();
        data.numInputs = static_cast<int32>(inputs.buffers.size());
        data.numOutputs = static_cast<int32>(outputs.buffers.size());
        data.inputParameterChanges = chance.oneIn(30) ? nullptr : &changes;
        data.outputParameterChanges = chance.oneIn(8) ? nullptr : &reported;
        data.processContext = chance.oneIn(6) ? nullptr : &context;
        const tresult result = callUnderControlWord(*guest.plugin, data, chance, journal);
        journal.frames += std::max(frames, 0);
        return result;
    }

    void check(Journal& journal) {
        checkReports(reported, journal);
        for (auto& channel : outputs.channels)
            if (!channel.stripsIntact()) journal.complain("writes beside the output's memory");
        for (auto& channel : inputs.channels) {
            if (!channel.stripsIntact()) journal.complain("writes beside the input's memory");
            if (!inPlace && !channel.unchanged()) journal.complain("writes into the input");
        }
        outputs.forEachGiven([&](const Sample* samples) {
            for (int i = 0; i < frames; ++i) {
                if (std::abs(samples[i]) <= kLoudest || isCopied(samples[i], i)) continue;
                journal.complain("output sample " + std::to_string(i) + " of " +
                                 std::to_string(frames) + " is " + std::to_string(samples[i]));
                return;
            }
        });
    }

    void report() {
        for (const Queue& queue : reported.queues)
            for (const Point& point : queue.points)
                guest.reported.push_back(
                    {const_cast<Queue&>(queue).getParameterId(), point.offset, point.value});
    }

    uint64_t hash() {
        uint64_t sum = 14695981039346656037u;
        outputs.forEachGiven([&](const Sample* samples) {
            for (int i = 0; i < frames; ++i)
                sum = (sum ^ std::bit_cast<uint64_t>(static_cast<double>(samples[i]))) *
                      1099511628211u;
        });
        return sum;
    }

  private:
    void processInPlace() {
        inPlace = true;
        for (size_t bus = 0; bus < std::min(inputs.pointers.size(), outputs.pointers.size()); ++bus)
            for (size_t i = 0;
                 i < std::min(inputs.pointers[bus].size(), outputs.pointers[bus].size()); ++i)
                outputs.pointers[bus][i] = inputs.pointers[bus][i];
    }
    // Suspended, it hands on whatever it gets.
    bool isCopied(Sample sample, int frame) const {
        for (const auto& channel : inputs.channels) {
            const Sample was = channel.was(frame);
            if (std::memcmp(&was, &sample, sizeof was) == 0) return true;
        }
        return false;
    }

    Guest& guest;
    Chance& chance;
    const int frames;
    bool inPlace = false;
    Buses<Sample> inputs, outputs;
    Changes changes, reported;
    ProcessContext context{};
};

template <typename Sample>
void callOnce(Guest& guest, Chance& chance, Journal& journal, int frames, bool flood,
              bool deterministic) {
    Call<Sample> call(guest, chance, frames);
    if (call.run(flood, journal) != kResultOk) journal.complain("process failed");
    call.check(journal);
    if (guest.window) call.report();
    if (deterministic) journal.sound += call.hash();
}

void callEither(Guest& guest, Chance& chance, Journal& journal, int frames, bool flood,
                bool deterministic) {
    // Now and then of the other size than was set up.
    if (guest.setup.doublePrecision != chance.oneIn(40))
        callOnce<double>(guest, chance, journal, frames, flood, deterministic);
    else
        callOnce<float>(guest, chance, journal, frames, flood, deterministic);
}

}  // namespace

void processBlock(Guest& guest, Chance& chance, Journal& journal, bool deterministic) {
    callEither(guest, chance, journal, randomFrames(guest, chance), chance.oneIn(20),
               deterministic);
}

void flushParameters(Guest& guest, Chance& chance, Journal& journal) {
    callEither(guest, chance, journal, 0, true, true);
}

}  // namespace Quorvant::Soak
