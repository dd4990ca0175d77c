// The audio thread's calls must not touch the heap. Own program: it replaces the allocator.
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<long> heapCalls{0};
}

// The linker leads the program's calls of malloc and its kin here.
extern "C" {
void* __real_malloc(size_t);
void* __real_calloc(size_t, size_t);
void* __real_realloc(void*, size_t);
void __real_free(void*);
void* __wrap_malloc(size_t size) {
    ++heapCalls;
    return __real_malloc(size);
}
void* __wrap_calloc(size_t count, size_t size) {
    ++heapCalls;
    return __real_calloc(count, size);
}
void* __wrap_realloc(void* block, size_t size) {
    ++heapCalls;
    return __real_realloc(block, size);
}
void __wrap_free(void* block) {
    ++heapCalls;
    __real_free(block);
}
}

void* operator new(size_t size) {
    if (void* block = std::malloc(size ? size : 1)) return block;
    throw std::bad_alloc();
}
void* operator new(size_t size, std::align_val_t alignment) {
    const auto align = static_cast<size_t>(alignment);
    // Room to align by hand: systems differ in how aligned blocks are had and freed.
    char* const raw = static_cast<char*>(std::malloc(size + align + sizeof(void*)));
    if (!raw) throw std::bad_alloc();
    const auto from = reinterpret_cast<uintptr_t>(raw + sizeof(void*));
    char* const block = raw + sizeof(void*) + (align - from % align) % align;
    reinterpret_cast<void**>(block)[-1] = raw;
    return block;
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, size_t) noexcept {
    std::free(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
    if (block) std::free(reinterpret_cast<void**>(block)[-1]);
}
void operator delete(void* block, size_t, std::align_val_t alignment) noexcept {
    operator delete(block, alignment);
}

namespace Quorvant::Test {
namespace {

TEST(EngineAllocation, TheCountersSeeTheHeap) {
    const long before = heapCalls;
    void* volatile block = operator new(1000);
    operator delete(block);
    block = std::malloc(100);
    std::free(block);
    EXPECT_EQ(heapCalls - before, 4);
}

TEST(EngineAllocation, NoAudioCallTouchesTheHeap) {
    constexpr int32_t kFrames = 500;
    EngineRig rig(96000.0);
    Dice dice(1);
    std::array<std::array<double, kFrames>, 4> in{};
    std::array<std::array<float, kFrames>, 4> narrowIn{};
    std::array<std::array<double, kFrames>, 2> out{};
    std::array<std::array<float, kFrames>, 2> narrowOut{};
    double* outs[2] = {out[0].data(), out[1].data()};
    float* narrowOuts[2] = {narrowOut[0].data(), narrowOut[1].data()};
    rig.host.giveTempo(120.0);
    rig.host.play(0.0);

    const long before = heapCalls;
    for (int block = 0; block < 3000; ++block) {
        for (size_t c = 0; c < 4; ++c) {
            for (size_t i = 0; i < kFrames; i += 7) {
                narrowIn[c][i] = static_cast<float>(in[c][i] = dice.between(-1.0, 1.0));
            }
        }
        for (uint32_t index = 0; index < kParameterCount; ++index) rig.set(index, dice.unit());
        rig.set(kSuspend, dice.unit());
        if (block % 100 == 0) rig.set(kResetCommand, 1.0);
        rig.host.now.tempoBpm = dice.between(20.0, 600.0);
        const bool side = dice.chance(0.5);
        const double* ins[4] = {in[0].data(), in[1].data(), side ? in[2].data() : nullptr,
                                side ? in[3].data() : nullptr};
        const float* narrowIns[4] = {narrowIn[0].data(), narrowIn[1].data(),
                                     side ? narrowIn[2].data() : nullptr, nullptr};
        switch (dice.below(4)) {
            case 0:
                rig.engine.process64(ins, outs, kFrames);
                break;
            case 1:
                rig.engine.process32(narrowIns, narrowOuts, kFrames);
                break;
            case 2:
                rig.engine.processSuspended64(ins, outs, kFrames);
                break;
            default:
                rig.engine.processSuspended32(narrowIns, narrowOuts, kFrames);
        }
        for (uint32_t index = 42; index <= kLastOutputIndex; ++index) rig.read(index);
    }
    EXPECT_EQ(heapCalls - before, 0);
}

}  // namespace
}  // namespace Quorvant::Test
