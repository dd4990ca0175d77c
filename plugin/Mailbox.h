// Hands values from one thread to another without locks or allocation; only the newest counts.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

namespace Quorvant {

// One writing and one reading thread. Of the three slots one is being written, one being read, and
// one lies between; a side gives its slot away by exchanging it for the one between.
template <typename Value>
class Mailbox {
  public:
    // Replaces a value that was not taken yet. Writing thread.
    void put(const Value& value) {
        slots[writeSlot] = value;
        writeSlot = between.exchange(writeSlot | kFresh, std::memory_order_acq_rel) & kSlotMask;
    }

    // The newest value, valid until the next take(); null when there is none since the last take.
    // Reading thread.
    const Value* take() {
        if ((between.load(std::memory_order_relaxed) & kFresh) == 0) return nullptr;
        readSlot = between.exchange(readSlot, std::memory_order_acq_rel) & kSlotMask;
        return &slots[readSlot];
    }

  private:
    static constexpr uint32_t kSlotMask = 3;
    static constexpr uint32_t kFresh = 4;

    std::array<Value, 3> slots{};
    uint32_t writeSlot = 0;
    uint32_t readSlot = 1;
    std::atomic<uint32_t> between{2};
};

}  // namespace Quorvant
