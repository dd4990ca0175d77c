// Lends the engine to one thread at a time, so that a host that changes the set-up while it
// processes, against the rules, finds silence and no crash.
#pragma once

#include <atomic>
#include <chrono>
#include <thread>

namespace Quorvant {

// Named as the standard library's locks want it.
class EngineGate {
  public:
    // False while another thread has the engine or waits for it. Lock-free, for the audio thread.
    bool try_lock() { return waiting.load(std::memory_order_relaxed) == 0 && take(); }

    // Waits for the block that runs, and has the following ones be silent. Main thread, and never
    // where heldHere().
    void lock() {
        waiting.fetch_add(1, std::memory_order_relaxed);
        while (!take()) std::this_thread::sleep_for(std::chrono::microseconds(50));
        waiting.fetch_sub(1, std::memory_order_relaxed);
    }

    void unlock() { holder.store({}, std::memory_order_release); }

    // Whether the calling thread has the engine: the call comes from within a block.
    bool heldHere() const {
        return holder.load(std::memory_order_relaxed) == std::this_thread::get_id();
    }

  private:
    bool take() {
        std::thread::id nobody;
        return holder.compare_exchange_strong(nobody, std::this_thread::get_id(),
                                              std::memory_order_acquire, std::memory_order_relaxed);
    }

    std::atomic<std::thread::id> holder{};
    static_assert(std::atomic<std::thread::id>::is_always_lock_free);
    std::atomic<int> waiting{0};
};

}  // namespace Quorvant
