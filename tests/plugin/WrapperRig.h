// A processor wrapper with an engine behind it that only remembers, and blocks to drive it with.
#pragma once

#include "plugin/EffectWrapper.h"
#include "tools/hosting/HostSide.h"

#include "public.sdk/source/vst/hosting/parameterchanges.h"

#include <array>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Quorvant {

using Steinberg::int32;
namespace Vst = Steinberg::Vst;

// One process call's data. Buses hold whatever channel pointers they are given.
template <typename Sample>
class TestBlock {
  public:
    explicit TestBlock(int32 frames) {
        data.numSamples = frames;
        data.symbolicSampleSize = std::is_same_v<Sample, float> ? Vst::kSample32 : Vst::kSample64;
        data.inputParameterChanges = &inputChanges;
        data.outputParameterChanges = &outputChanges;
    }

    TestBlock& input(std::vector<Sample*> channels) { return add(inputs, std::move(channels)); }
    TestBlock& output(std::vector<Sample*> channels) { return add(outputs, std::move(channels)); }
    TestBlock& point(Vst::ParamID id, double value, int32 offset = 0) {
        int32 index = 0;
        inputChanges.addParameterData(id, index)->addPoint(offset, value, index);
        return *this;
    }

    // Until another bus is added.
    Vst::ProcessData& prepared() {
        fill(inputs, inputBuses);
        fill(outputs, outputBuses);
        data.numInputs = static_cast<int32>(inputBuses.size());
        data.numOutputs = static_cast<int32>(outputBuses.size());
        data.inputs = inputBuses.empty() ? nullptr : inputBuses.data();
        data.outputs = outputBuses.empty() ? nullptr : outputBuses.data();
        return data;
    }
    Steinberg::tresult run(QVXVST3EffectWrapper& wrapper) { return wrapper.process(prepared()); }

    // The single point that was reported for the identifier.
    std::optional<double> reported(Vst::ParamID id) {
        for (int32 i = 0; i < outputChanges.getParameterCount(); ++i) {
            Vst::IParamValueQueue* queue = outputChanges.getParameterData(i);
            if (queue->getParameterId() != id || queue->getPointCount() != 1) continue;
            int32 offset = -1;
            double value = 0.0;
            queue->getPoint(0, offset, value);
            if (offset == 0) return value;
        }
        return std::nullopt;
    }

    Vst::ProcessData data;
    Vst::ParameterChanges inputChanges;
    Vst::ParameterChanges outputChanges{200};  // room for all, since a list that grows allocates
    std::vector<Vst::AudioBusBuffers> inputBuses, outputBuses;

  private:
    using Channels = std::vector<std::vector<Sample*>>;

    TestBlock& add(Channels& to, std::vector<Sample*> channels) {
        to.push_back(std::move(channels));
        return *this;
    }
    static void fill(Channels& from, std::vector<Vst::AudioBusBuffers>& to) {
        to.assign(from.size(), {});
        for (std::size_t i = 0; i < from.size(); ++i) {
            to[i].numChannels = static_cast<int32>(from[i].size());
            to[i].silenceFlags = ~Steinberg::uint64{0};
            if constexpr (std::is_same_v<Sample, float>) {
                to[i].channelBuffers32 = from[i].data();
            } else {
                to[i].channelBuffers64 = from[i].data();
            }
        }
    }

    Channels inputs, outputs;
};

// Remembers how it was driven.
class FakeEffect final : public QVXEffect {
  public:
    explicit FakeEffect(const QVXHostLink& hostLink) : link(hostLink) {}

    struct Handed {
        uint32_t index;
        double value;
        bool operator==(const Handed&) const = default;
    };

    std::vector<std::string> calls;  // names of the calls other than parameters and readings
    std::vector<Handed> handed;      // every setParameter, oldest first
    std::map<uint32_t, double> readings;
    std::array<const void*, 4> in{};
    std::array<void*, 2> out{};
    int32_t frames = -1;
    double sampleRate = 0.0;
    HostTransport transport;
    int32_t tail = 441000;
    int32_t latency = 0;
    bool offers64 = true;
    double outputLevel = 0.25;  // written to every output sample
    std::function<void()> duringProcess, duringReset;

    void process32(const float* const* i, float* const* o, int32_t n) override {
        take("process32", i, o, n);
    }
    void process64(const double* const* i, double* const* o, int32_t n) override {
        take("process64", i, o, n);
    }
    void processSuspended32(const float* const* i, float* const* o, int32_t n) override {
        take("processSuspended32", i, o, n);
    }
    void processSuspended64(const double* const* i, double* const* o, int32_t n) override {
        take("processSuspended64", i, o, n);
    }
    int32_t getLatency() override { return latency; }
    int32_t getTail() override { return tail; }
    bool setSampleRate(double rate) override {
        calls.push_back("setSampleRate");
        sampleRate = rate;
        return rate >= 44100.0 && rate <= 384000.0;
    }
    void reset() override {
        calls.push_back("reset");
        if (duringReset) duringReset();
    }
    bool supports32() override { return true; }
    bool supports64() override { return offers64; }
    void setParameter(uint32_t index, double value) override { handed.push_back({index, value}); }
    bool getOutputValue(uint32_t index, double& value) override {
        const auto found = readings.find(index);
        if (found == readings.end()) return false;
        value = found->second;
        return true;
    }

    std::vector<Handed> takeHanded() { return std::exchange(handed, {}); }

  private:
    template <typename Sample>
    void take(const char* name, const Sample* const* i, Sample* const* o, int32_t n) {
        calls.push_back(name);
        for (std::size_t c = 0; c < in.size(); ++c) in[c] = i[c];
        for (std::size_t c = 0; c < out.size(); ++c) {
            out[c] = o[c];
            for (int32_t f = 0; o[c] && f < n; ++f) o[c][f] = static_cast<Sample>(outputLevel);
        }
        frames = n;
        transport = link.transport();
        if (duringProcess) duringProcess();
    }

    const QVXHostLink& link;
};

struct WrapperRig {
    WrapperRig() {
        wrapper = Steinberg::owned(new QVXVST3EffectWrapper([this](const QVXHostLink& link) {
            auto made = std::make_unique<FakeEffect>(link);
            effect = made.get();
            return made;
        }));
        wrapper->initialize(&Hosting::hostApplication());
    }
    ~WrapperRig() { wrapper->terminate(); }

    void setUp(double rate = 48000.0, int32 sampleSize = Vst::kSample32) {
        Vst::ProcessSetup setup{Vst::kRealtime, sampleSize, 512, rate};
        wrapper->setupProcessing(setup);
        wrapper->setActive(true);
        effect->calls.clear();
    }

    // Parameters alone: no buses, no samples.
    void flush(std::vector<FakeEffect::Handed> points) {
        TestBlock<float> block(0);
        for (const auto& point : points) block.point(point.index, point.value);
        block.run(*wrapper);
    }

    Hosting::Bytes state() {
        Hosting::StateStream stream;
        return wrapper->getState(&stream) == Steinberg::kResultOk ? stream.bytes()
                                                                  : Hosting::Bytes{};
    }
    Steinberg::tresult setState(const Hosting::Bytes& bytes) {
        Hosting::StateStream stream(bytes);
        return wrapper->setState(&stream);
    }

    FakeEffect* effect = nullptr;
    Steinberg::IPtr<QVXVST3EffectWrapper> wrapper;
};

// At work, as a host has it while it plays.
struct ActiveRig : WrapperRig {
    ActiveRig() { setUp(); }
};

// 39 doubles as a project stores them; the tests run on little-endian machines.
inline Hosting::Bytes stateBytes(const std::vector<double>& values) {
    Hosting::Bytes bytes(values.size() * sizeof(double));
    std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}

inline std::vector<double> stateDoubles(const Hosting::Bytes& bytes) {
    std::vector<double> values(bytes.size() / sizeof(double));
    std::memcpy(values.data(), bytes.data(), values.size() * sizeof(double));
    return values;
}

}  // namespace Quorvant
