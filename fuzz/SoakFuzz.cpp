// Any bytes as a random host's choices.
#include "fuzz/soak/Soak.h"

#include <cstdlib>

// No user's folders: what they hold would make a run another one.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return setenv("HOME", "/dev/null", 1);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr int kMostSteps = 50;
    Quorvant::Soak::run(Quorvant::Soak::Dice(std::span(data, size)), {"this input", kMostSteps});
    return 0;
}
