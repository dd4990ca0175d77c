// How loud it was during the last minutes.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Quorvant {

// Times in milliseconds of a wrapping counter, levels linear. What nobody noted was silent.
class LevelHistory {
  public:
    void note(uint32_t now, double level) {
        const uint32_t slot = now / kSlotMs;
        const uint32_t gone = slot - last;
        if (gone >= kSlots) {
            std::fill(levels.begin(), levels.end(), 0.0F);
        } else {
            for (uint32_t i = 1; i <= gone; ++i) levels[(last + i) % kSlots] = 0.0F;
        }
        last = slot;
        float& there = levels[slot % kSlots];
        there = std::max(there, static_cast<float>(level));
    }
    // The loudest within a slot around that long before the last note.
    double before(double ms) const {
        const double slots = std::floor(ms / kSlotMs);
        if (!(slots >= 0.0 && slots < kSlots - 1.0)) return 0.0;
        const uint32_t slot = last - static_cast<uint32_t>(slots);
        return std::max(levels[slot % kSlots], levels[(slot - 1) % kSlots]);
    }

  private:
    static constexpr uint32_t kSlotMs = 32;  // a power of two, as the counter's wrap wants
    static constexpr uint32_t kSlots = 8192;

    std::vector<float> levels = std::vector<float>(kSlots, 0.0F);
    uint32_t last = 0;
};

}  // namespace Quorvant
