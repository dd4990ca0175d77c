// Where all choices of a run come from: an input's bytes, which a fuzzer can bend, or a seed.
#pragma once

#include <cstdint>
#include <iterator>
#include <optional>
#include <random>
#include <span>

namespace Quorvant::Soak {

// The standard's distributions differ from library to library, so only its engine is used.
class Dice {
  public:
    explicit Dice(uint64_t seed) : engine(seed) {}
    // Once the input is used up, every draw is 0.
    explicit Dice(std::span<const uint8_t> bytes) : input(bytes) {}

    bool usedUp() const { return !engine && input.empty(); }
    uint32_t bits(int byteCount) {
        if (engine) return static_cast<uint32_t>((*engine)() >> (64 - 8 * byteCount));
        uint32_t value = 0;
        for (; byteCount > 0 && !input.empty(); --byteCount, input = input.subspan(1))
            value = value << 8 | input.front();
        return value;
    }
    // 0 … count - 1; count is at least 1.
    int below(int count) {
        return static_cast<int>(bits(count <= 256 ? 1 : 4) % static_cast<uint32_t>(count));
    }
    int between(int lowest, int highest) { return lowest + below(highest - lowest + 1); }
    bool oneIn(int count) { return below(count) == 0; }
    // 0 up to but not 1.
    double unit() { return bits(4) * 0x1p-32; }
    template <typename Choices>
    const auto& of(const Choices& choices) {
        return std::data(choices)[below(static_cast<int>(std::size(choices)))];
    }
    // For another thread, or for what would use up an input.
    Dice fork() { return Dice(uint64_t{bits(4)}); }

  private:
    std::optional<std::mt19937_64> engine;
    std::span<const uint8_t> input;
};

}  // namespace Quorvant::Soak
