// The processor's state: its bytes, bad streams, and how it gets to the engine.
#include "plugin/Mailbox.h"
#include "plugin/StateMessages.h"
#include "tests/plugin/WrapperRig.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <limits>
#include <thread>

namespace Quorvant {
namespace {

using namespace Steinberg;
using Handed = FakeEffect::Handed;
using List = std::vector<Handed>;

// 38 different values and a suspend control.
std::vector<double> wholeState(double first, double suspend) {
    std::vector<double> values(39);
    for (std::size_t i = 0; i < 38; ++i) values[i] = first + static_cast<double>(i) / 100.0;
    values[38] = suspend;
    return values;
}

// A stream that moves at most a few bytes a call.
class StingyStream : public Hosting::StateStream {
  public:
    using StateStream::StateStream;
    tresult PLUGIN_API read(void* buffer, int32 bytes, int32* moved) override {
        return MemoryStream::read(buffer, std::min(bytes, 5), moved);
    }
    tresult PLUGIN_API write(void* buffer, int32 bytes, int32* moved) override {
        return MemoryStream::write(buffer, std::min(bytes, 7), moved);
    }
};

class RefusingStream : public Hosting::StateStream {
  public:
    tresult PLUGIN_API write(void*, int32, int32*) override { return kResultFalse; }
};

TEST(State, ComesBackByteForByteAndIsHandedOverInOrderWithTheLoopReleasedFirst) {
    const auto values = wholeState(0.1, 1.0);
    const auto bytes = stateBytes(values);
    WrapperRig rig;
    StingyStream in(bytes);
    EXPECT_EQ(rig.wrapper->setState(&in), kResultOk);
    StingyStream out;
    EXPECT_EQ(rig.wrapper->getState(&out), kResultOk);
    EXPECT_EQ(out.bytes(), bytes);
    List expected = {{kInfRepeat, 0.0}};
    for (uint32_t i = 0; i < 38; ++i) expected.push_back({i, values[i]});
    expected.push_back({kSuspend, 1.0});
    EXPECT_EQ(rig.effect->takeHanded(), expected);
}

TEST(State, ShortStreamsAndValuesOutsideTheRangeChangeNothing) {
    WrapperRig rig;
    std::vector<double> empty(39, -1.0);
    empty.back() = 0.0;
    EXPECT_EQ(stateDoubles(rig.state()), empty) << "a new instance holds no values";
    rig.flush({{kMix, 0.75}});
    rig.effect->takeHanded();
    const auto before = rig.state();
    auto whole = stateBytes(wholeState(0.1, 1.0));
    const auto part = [&](std::ptrdiff_t size) {
        return Hosting::Bytes(whole.begin(), whole.begin() + size);
    };
    for (const int size : {0, 1, 152, 303}) EXPECT_NE(rig.setState(part(size)), kResultOk) << size;
    RefusingStream refusing;
    EXPECT_NE(rig.wrapper->getState(&refusing), kResultOk);
    EXPECT_NE(rig.wrapper->getState(nullptr), kResultOk);
    EXPECT_NE(rig.wrapper->setState(nullptr), kResultOk);
    EXPECT_TRUE(rig.effect->handed.empty());
    for (const double odd : {-1.0, 1.5, std::numeric_limits<double>::quiet_NaN()}) {
        std::vector<double> values(38, odd);
        values.push_back(-3.0);
        EXPECT_EQ(rig.setState(stateBytes(values)), kResultOk);
        EXPECT_EQ(rig.state(), before) << "what sounds is what is stored";
    }
    EXPECT_EQ(rig.effect->takeHanded(), List(3, {kSuspend, 0.0}));

    for (const int size : {304, 311}) {
        EXPECT_EQ(rig.setState(part(size)), kResultOk);
        EXPECT_EQ(stateDoubles(rig.state()).back(), 0.0) << "no suspend control reads as 0";
    }
    const auto expected = whole;
    whole.resize(1000, 0xEE);
    EXPECT_EQ(rig.setState(whole), kResultOk);
    EXPECT_EQ(rig.state(), expected);
}

TEST(StateWhileActive, WaitsForTheNextBlockAndComesBeforeItsEdits) {
    ActiveRig rig;
    const auto older = stateBytes(wholeState(0.1, 0.0));
    const auto newer = stateBytes(wholeState(0.4, 0.0));
    rig.setState(older);
    rig.setState(newer);
    EXPECT_TRUE(rig.effect->handed.empty()) << "the engine belongs to the audio thread";
    EXPECT_EQ(rig.state(), newer) << "a host that reads it back gets what it set";
    rig.flush({{kMix, 0.99}});
    const List handed = rig.effect->takeHanded();
    ASSERT_EQ(handed.size(), 41u) << "the newer state alone, then the edit";
    EXPECT_EQ(handed[1], (Handed{0, 0.4}));
    EXPECT_EQ(handed.back(), (Handed{kMix, 0.99}));
    rig.flush({});
    EXPECT_TRUE(rig.effect->handed.empty()) << "once is enough";
}

TEST(StateWhileActive, IsNotLostWhenProcessingStops) {
    for (const bool terminate : {false, true}) {
        ActiveRig rig;
        rig.setState(stateBytes(wholeState(0.3, 0.0)));
        terminate ? rig.wrapper->terminate() : rig.wrapper->setActive(false);
        EXPECT_EQ(rig.effect->takeHanded().size(), 40u);
    }
}

TEST(StateWhileActive, TakesWhatItLeftOutFromAnOfferAlone) {
    WrapperRig rig;
    rig.setState(stateBytes(std::vector<double>(39, -1.0)));
    rig.effect->takeHanded();
    const auto bytes = stateBytes(wholeState(0.1, 0.0));
    const auto offer = [&](const char* kind, uint32 size) {
        Vst::HostMessage message;
        message.setMessageID(kind);
        if (size > 0) message.getAttributes()->setBinary("State", bytes.data(), size);
        return rig.wrapper->notify(&message);
    };
    EXPECT_NE(rig.wrapper->notify(nullptr), kResultOk);
    EXPECT_NE(offer("Other", 312), kResultOk);
    for (const uint32 size : {0u, 311u}) EXPECT_NE(offer(kOfferedValues, size), kResultOk);
    EXPECT_TRUE(rig.effect->handed.empty());
    EXPECT_EQ(offer(kOfferedValues, 312), kResultOk);
    EXPECT_EQ(rig.state(), bytes);
}

// For the thread sanitizer above all: a main thread sets and reads states while audio runs, and
// changes the set-up, which it had better not.
TEST(StateWhileActive, MainAndAudioThreadsWorkAtTheSameTime) {
    ActiveRig rig;
    std::atomic<bool> stop{false};
    std::atomic<int> blocks{0};
    rig.effect->duringProcess = [&] {
        rig.effect->takeHanded();
        rig.effect->calls.clear();
        ++blocks;
    };
    std::thread audio([&] {
        std::array<float, 32> memory{};
        while (!stop) {
            TestBlock<float> block(32);
            block.input({memory.data()}).output({memory.data()});
            // Only what no state touches, so that a torn state would show.
            block.point(kResetCommand, 0.0).run(*rig.wrapper);
        }
    });
    Vst::SpeakerArrangement arrangement[] = {Vst::SpeakerArr::kStereo, Vst::SpeakerArr::kMono};
    for (int i = 0; i < 400 || blocks < 400; ++i) {
        const auto bytes = stateBytes(wholeState((i % 60) / 100.0, i % 2));
        ASSERT_EQ(rig.setState(bytes), kResultOk);
        ASSERT_EQ(rig.state(), bytes) << "neither torn nor overtaken by an older one";
        rig.wrapper->activateBus(Vst::kAudio, Vst::kInput, 1, i % 2);
        Vst::ProcessSetup setup{Vst::kRealtime, Vst::kSample32, 512, 48000.0 + i};
        if (i % 3 == 0) rig.wrapper->setupProcessing(setup);
        if (i % 5 == 0) rig.wrapper->setActive(i % 2 == 0);
        if (i % 7 == 0) rig.wrapper->setBusArrangements(arrangement, 1 + i % 2, arrangement, 1);
        ASSERT_EQ(rig.state(), bytes);
    }
    stop = true;
    audio.join();
}

TEST(Mailbox, ValuesArriveWholeAndInOrder) {
    constexpr uint64 kLast = 200000;
    Mailbox<std::array<uint64, 40>> box;
    std::thread writer([&] {
        std::array<uint64, 40> value;
        for (uint64 i = 1; i <= kLast; ++i) {
            value.fill(i);
            box.put(value);
        }
    });
    uint64 last = 0;
    bool sound = true;
    while (last < kLast && sound) {
        const auto* value = box.take();
        if (!value) continue;
        for (const uint64 part : *value) sound = sound && part == value->front();
        sound = sound && value->front() > last;
        last = value->front();
    }
    writer.join();
    EXPECT_EQ(box.take(), nullptr) << "once is enough";
    EXPECT_TRUE(sound) << "at " << last;
}

}  // namespace
}  // namespace Quorvant
