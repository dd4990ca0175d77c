// What the fuzzers share: the check that ends a run, and an engine to play what was read.
#pragma once

#include "dsp/Engine.h"

#include <array>
#include <cmath>
#include <cstdlib>

namespace Quorvant::Fuzzing {

inline void require(bool condition) {
    if (!condition) std::abort();
}

constexpr int kFrames = 64;  // one chunk of the engine

using Frames = std::array<std::array<float, kFrames>, 2>;

// The same noise every time, so that a finding comes again.
inline const Frames& noise() {
    static const Frames frames = [] {
        Frames made{};
        uint32_t seed = 1;
        for (auto& channel : made) {
            for (float& sample : channel) {
                seed = seed * 1664525u + 1013904223u;
                sample = static_cast<float>(static_cast<int32_t>(seed)) * 0x1p-32f;
            }
        }
        return made;
    }();
    return frames;
}

inline void requireFinite(const Frames& heard) {
    for (const auto& channel : heard)
        for (const float sample : channel) require(std::isfinite(sample));
}

// One engine for the whole run: making one costs more than all that is played through it.
class Player final : QVXHostLink {
  public:
    // Plays some frames with these values in force.
    template <typename Values>
    void play(const Values& values) {
        engine.setParameter(kInfRepeat, 0.0);
        uint32_t index = 0;
        for (const double value : values) engine.setParameter(index++, value);
        const float* in[4] = {noise()[0].data(), noise()[1].data(), nullptr, nullptr};
        Frames heard{};
        float* out[2] = {heard[0].data(), heard[1].data()};
        engine.process32(in, out, kFrames);
        requireFinite(heard);
    }

  private:
    HostTransport transport() const override { return {}; }

    QVXCorvane77x_v2Effect engine{*this};
};

inline Player& player() {
    static Player made;
    return made;
}

}  // namespace Quorvant::Fuzzing
