// What a run did and what it complains of, so that it can be told and done again.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <fstream>
#include <map>
#include <mutex>
#include <string>
#include <thread>

namespace Quorvant::Soak {

// Any thread, apart from begin(), which only one calls.
class Journal {
  public:
    // Every step is in the file before it is taken.
    Journal(uint64_t seed, const std::string& file, std::chrono::seconds patience);
    // Ends the watch.
    ~Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    void begin(int step, const std::string& action, const std::string& detail);
    void note(const std::string& detail);
    // A fault of the plug-in's; told on the standard error stream, too.
    void complain(const std::string& sentence);

    int complaints() const { return complaintCount; }
    // How often each action was taken.
    const std::map<std::string, int>& actions() const { return actionCounts; }

    std::atomic<int64_t> frames{0};  // processed
    std::atomic<uint64_t> sound{0};  // sum of what all blocks of the deterministic part hash to
    std::atomic<int64_t> points{0};  // parameter points sent
    std::atomic<int> instances{0};   // made

  private:
    // Ends the process when no step begins for too long: a hang leaves its trace, too.
    void watch(std::chrono::seconds patience);

    const uint64_t seed;
    std::mutex mutex;
    std::ofstream file;
    std::string current = "before the first step";
    std::map<std::string, int> actionCounts;
    std::atomic<int> complaintCount{0};
    std::atomic<int> stepNumber{0};
    bool done = false;
    std::condition_variable ended;
    std::thread watcher;
};

}  // namespace Quorvant::Soak
