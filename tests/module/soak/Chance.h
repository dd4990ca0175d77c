// Random numbers that come the same from one seed on every system.
#pragma once

#include <cstdint>
#include <iterator>
#include <random>

namespace Quorvant::Soak {

// The standard's distributions differ from library to library, so only its engine is used.
class Chance {
  public:
    explicit Chance(uint64_t seed) : engine(seed) {}

    uint64_t bits() { return engine(); }
    // 0 … count - 1; count is at least 1.
    int below(int count) { return static_cast<int>(bits() % static_cast<uint64_t>(count)); }
    int between(int lowest, int highest) { return lowest + below(highest - lowest + 1); }
    bool oneIn(int count) { return below(count) == 0; }
    // 0 up to but not 1.
    double unit() { return static_cast<double>(bits() >> 11) * 0x1p-53; }
    template <typename Choices>
    const auto& of(const Choices& choices) {
        return std::data(choices)[below(static_cast<int>(std::size(choices)))];
    }
    // For another thread, or for a part whose length must not change what follows.
    Chance fork() { return Chance(bits()); }

  private:
    std::mt19937_64 engine;
};

}  // namespace Quorvant::Soak
