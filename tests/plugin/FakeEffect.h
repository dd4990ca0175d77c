// An engine that only remembers how it was driven.
#pragma once

#include "dsp/Effect.h"
#include "dsp/HostLink.h"
#include "params/ParameterIndex.h"

#include <array>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Quorvant {

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

}  // namespace Quorvant
