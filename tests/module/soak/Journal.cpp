#include "tests/module/soak/Journal.h"

#include <cstdlib>
#include <iostream>

namespace Quorvant::Soak {

namespace {
constexpr int kMostTold = 20;  // complaints; those that follow are counted only
}

Journal::Journal(uint64_t runSeed, const std::string& name, std::chrono::seconds patience)
    : seed(runSeed), file(name), watcher([this, patience] { watch(patience); }) {
    file << "seed " << seed << std::endl;
}

Journal::~Journal() {
    {
        const std::lock_guard lock(mutex);
        done = true;
    }
    ended.notify_all();
    watcher.join();
}

void Journal::begin(int step, const std::string& action, const std::string& detail) {
    const std::lock_guard lock(mutex);
    ++actionCounts[action];
    current = "step " + std::to_string(step) + ", " + action + " " + detail;
    file << current << std::endl;
    stepNumber = step;
}

void Journal::note(const std::string& detail) {
    const std::lock_guard lock(mutex);
    file << "    " << detail << std::endl;
}

void Journal::complain(const std::string& sentence) {
    const std::lock_guard lock(mutex);
    file << "    COMPLAINT: " << sentence << std::endl;
    if (++complaintCount > kMostTold) return;
    std::cerr << "seed " << seed << ", " << current << ": " << sentence << std::endl;
}

void Journal::watch(std::chrono::seconds patience) {
    std::unique_lock lock(mutex);
    int seen = -1;
    while (!done) {
        seen = stepNumber;
        if (ended.wait_for(lock, patience, [this] { return done; })) return;
        if (stepNumber != seen) continue;
        std::cerr << "seed " << seed << ", " << current << ": hangs" << std::endl;
        std::abort();
    }
}

}  // namespace Quorvant::Soak
