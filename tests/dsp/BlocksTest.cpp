// Each block of the engine by itself, against the law that it follows, written out in the plainest
// way.
#include "dsp/ControlSmoother.h"
#include "dsp/DelayMemory.h"
#include "dsp/Envelope.h"
#include "dsp/InputFilter.h"
#include "dsp/LegacyStage.h"
#include "dsp/Lfo.h"
#include "dsp/Limiter.h"
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

#include <complex>
#include <vector>

namespace Quorvant::Test {
namespace {

constexpr double kRate = 48000.0;
constexpr double kPi = std::numbers::pi;

// A memory of 2001 cells that has come to rest on a course.
class MemoryRig {
  public:
    MemoryRig(DirectionMode mode, int span) : cells(2001) {
        memory.attach(cells.data(), static_cast<int>(cells.size()), kRate);
        memory.setCourse(mode, span);
        for (int i = 0; i < 4000; ++i) tick();
    }
    // Records the number of the tick and returns which one is read: on the left, and, by a coding
    // that knows no order, on the right.
    Pair tick() {
        ++now;
        const Pair input = makePair(now, coded(now));
        return memory.isPlain() ? plainTick(input) : memory.tick(input);
    }
    // How many ticks ago the next one recorded what it returns, which it read a tick before.
    int late() {
        const double heard = left(tick());
        return now - static_cast<int>(heard);
    }
    static double coded(int tick) { return std::fmod(tick * (tick % 1009) * 0.6180339887, 1.0); }

    std::vector<Pair> cells;
    DelayMemory memory;
    int now = 0;

  private:
    Pair plainTick(Pair input) {
        PlainTicks ticks(memory);
        const Pair heard = ticks.tick(input);
        ticks.storeTo(memory);
        return heard;
    }
};

// Outside the crossfades exactly one cell is read, so that both lanes belong to the same tick.
bool isOneTick(Pair heard) {
    const double tick = std::round(left(heard));
    return std::abs(left(heard) - tick) < 1e-9 &&
           std::abs(right(heard) - MemoryRig::coded(static_cast<int>(tick))) < 1e-9;
}

TEST(DelayMemory, ForwardReadsASpanBehindAndBackwardTheMemoryLessThat) {
    for (const int span : {3, 4, 100, 777, 1501, 1998, 1999}) {
        MemoryRig forward(DirectionMode::Forward, span), backward(DirectionMode::Backward, span);
        for (int i = 0; i < 4500; ++i) {
            // A start below cell 0 counts the top cell, too.
            ASSERT_EQ(forward.late(), span) << "tick " << i;
            ASSERT_EQ(backward.late(), 2001 - span + 1) << "tick " << i;
        }
    }
}

// Reverse reads segments of half a span backwards, each from a span behind; Bounce from what is
// recorded to a span behind and back. They keep their places and their distance for ever, with odd
// spans, too, and over the top of the memory.
TEST(DelayMemory, ReverseAndBounceKeepTheirDistanceAndTheirPlaceInTheSong) {
    for (const auto mode : {DirectionMode::Reverse, DirectionMode::Bounce}) {
        for (const int span : {400, 401, 333}) {
            MemoryRig rig(mode, span);
            int lowest = 1 << 30, highest = 0, forwards = 0, backwards = 0;
            std::vector<int> segments;  // where they start
            double before = left(rig.tick());
            for (int i = 0, beforeFade = 0; i < 400 * span; ++i) {
                const Pair heard = rig.tick();
                if (!isOneTick(heard)) continue;
                const int late = rig.now - static_cast<int>(left(heard));
                lowest = std::min(lowest, late);
                highest = std::max(highest, late);
                (left(heard) == before + 1.0 ? forwards : backwards) += 1;
                if (left(heard) > before + span / 8.0) segments.push_back(beforeFade);
                before = left(heard);
                beforeFade = i;
            }
            SCOPED_TRACE(span);
            if (mode == DirectionMode::Bounce) {
                EXPECT_LE(lowest, span / 2 + 4);  // the first ticks after a turn are faded
                EXPECT_NEAR(highest, span, 3);
                EXPECT_NEAR(forwards, backwards, 400 * span * 0.05);
            } else {
                EXPECT_GE(lowest, span);
                EXPECT_LE(highest, 2 * span + 8);
                EXPECT_EQ(forwards, 0);
                ASSERT_GT(segments.size(), 700u);
                const int distance = segments.back() - segments.front();
                EXPECT_NEAR(std::remainder(distance, span / 2.0), 0.0, 4.0);
            }
        }
    }
}

TEST(DelayMemory, TheTopCellMirrorsTheFirst) {
    for (const int span : {100, 2}) {  // a lean memory, and one that the input goes past
        MemoryRig rig(DirectionMode::Forward, span);
        for (int i = 0; i < 2000; ++i) {
            rig.tick();
            ASSERT_EQ(left(rig.cells.back()), left(rig.cells.front()));
        }
    }
}

TEST(DelayMemory, ALoopOfAnySpanKeepsItsSound) {
    for (const auto mode : {DirectionMode::Forward, DirectionMode::Backward}) {
        MemoryRig rig(mode, 700);
        const int length = rig.late();
        rig.memory.setLooping(true);
        for (int i = 0; i < 6000; ++i) rig.tick();
        std::vector<double> once, again;
        for (int i = 0; i < length; ++i) once.push_back(left(rig.tick()));
        for (int i = 0; i < length; ++i) again.push_back(left(rig.tick()));
        EXPECT_EQ(once, again);
    }
}

TEST(Lfo, ItsSquareTurnsWithinAMillisecond) {
    for (const double hz : {0.1, 10.0, 240.0}) {
        Lfo lfo;
        lfo.setFrequency(hz, kRate);
        std::vector<double> square(static_cast<size_t>(2.0 * kRate / hz));
        for (double& x : square) x = lfo.squareAt(lfo.next());
        EXPECT_LE(largestStep(square), 2.0 / (0.00099 * kRate)) << hz;
        EXPECT_NEAR(mean(square), 0.0, 0.01) << hz;
        EXPECT_GE(rms(square), 0.75) << hz;
        EXPECT_EQ(lfo.squareAt(1.5), -1.0);
        EXPECT_EQ(lfo.squareAt(-1.5), 1.0);
    }
}

TEST(InputFilter, HasItsResponseAtEveryCornerAndRate) {
    constexpr double kFrequencies[] = {0.0, 1000.0, 7000.0, 17000.0};
    const struct {
        double rate, corner;
        double gains[std::size(kFrequencies)];  // linear
    } responses[] = {
        {44100.0, InputFilter::kCorner, {0.979425, 0.979623, 0.989976, 1.126578}},
        {48000.0, InputFilter::kCorner, {1.008380, 1.008569, 1.016540, 1.020280}},
        {192000.0, InputFilter::kCorner, {2.401355, 2.404251, 2.429979, 1.426987}},
        {44100.0, InputFilter::kDoubledCorner, {1.499967, 1.516514, 0.940848, 0.000042}},
        {96000.0, InputFilter::kDoubledCorner, {5.448121, 5.098601, 0.747344, 0.001438}},
    };
    for (const auto& [rate, corner, gains] : responses) {
        InputFilter filter;
        filter.setCorner(corner, rate);
        std::complex<double> sums[std::size(kFrequencies)];
        for (int i = 0; i < 20000; ++i) {
            const double response = left(filter.process(makePair(i == 0 ? 1.0 : 0.0, 0.0)));
            for (size_t f = 0; f < std::size(sums); ++f)
                sums[f] += response * std::polar(1.0, -2.0 * kPi * kFrequencies[f] * i / rate);
        }
        for (size_t f = 0; f < std::size(sums); ++f)
            EXPECT_NEAR(std::abs(sums[f]), gains[f], 1e-6) << corner << " at " << rate;
    }
}

TEST(EnvelopeFollower, ItsRootFollowsItsLevel) {
    EnvelopeFollower follower;
    follower.setSampleRate(kRate);
    const double levelFactor = 3.0;
    const double weight = 1.0 - std::exp(-2.0 * kPi * 5.0 / kRate);
    const double decay = std::exp(-2.0 * kPi * 10.0 / kRate);
    double level = 0.0;
    Dice dice(2);
    for (int i = 0; i < 20000; ++i) {
        if (i % 64 == 0) follower.beginBending(levelFactor);
        const double input = i / 3000 % 2 ? 0.0 : dice.unit();
        level = input * weight + decay * level;
        follower.followBending(input);
        ASSERT_NEAR(follower.bendingRoot(), std::pow(level * levelFactor * 0.363082, 0.3), 1e-11);
    }
}

TEST(LegacyStage, ItsGainFallsWithTheMeanOfTheLastLevels) {
    for (const auto& [rate, window] : {std::pair{48000.0, 4}, {96000.0, 8}, {384000.0, 32}}) {
        LegacyStage stage;
        stage.setSampleRate(rate);
        std::vector<double> levels(static_cast<size_t>(window), 0.0);
        Dice dice(9);
        for (size_t i = 0; i < 1000; ++i) {
            const double x = dice.between(-1.0, 1.0) * (i < 500 ? 0.2 : 2.0), levelFactor = 5.0;
            levels[i % levels.size()] = std::abs(x) * levelFactor;
            double mean = 0.0;
            for (const double each : levels) mean += each * 0.363082 / window;
            const double expected = mean <= 2.0 ? 1.0 - 0.25 * mean : 1.0 / mean;
            Pair frame = makePair(0.1, x);
            stage.process(&frame, 1, levelFactor);
            ASSERT_NEAR(right(frame), x * expected, 1e-12);
        }
    }
}

TEST(Limiter, NothingPassesTheCeilingAndSoftSoundsStayAsTheyAre) {
    Limiter limiter;
    limiter.setSampleRate(kRate);
    Dice dice(4);
    for (int i = 0; i < 48000; ++i) {
        const Pair x = makePair(dice.between(-20.0, 20.0), dice.between(-0.7, 0.7));
        const Pair gain = limiter.gain(x, 1.0);
        ASSERT_LE(std::abs(left(x) * left(gain)), 1.0);
        ASSERT_EQ(right(gain), 1.0);  // below the knee, and a channel of its own
    }
    for (int i = 0; i < 4 * 48000; ++i) limiter.gain(Pair{}, 1.0);
    EXPECT_NEAR(left(limiter.gain(makePair(0.1, 0.0), 1.0)), 1.0, 1e-3);
}

TEST(ControlSmoother, MovesByThirtyHertzOrWithinMillisecondsAndComesToRest) {
    ControlSmoother controls;
    controls.setSampleRate(kRate);
    controls.jumpToTargets();
    for (size_t c = 0; c < kControlCount; ++c) controls.setTarget(static_cast<Control>(c), 1.0);
    const auto expectAll = [&](size_t from, size_t to, double lowest, double highest) {
        for (size_t c = from; c < to; ++c) {
            EXPECT_GE(controls[static_cast<Control>(c)], lowest) << c;
            EXPECT_LE(controls[static_cast<Control>(c)], highest) << c;
        }
    };
    const double law = 1.0 - std::exp(-2.0 * kPi * 30.0 * 100 / kRate);
    for (int i = 1; i <= 48000; ++i) {
        controls.step();
        if (i == 12) expectAll(kFastControls, kControlCount, 0.0, 0.1);  // no corner at the start
        if (i == 100) expectAll(0, kFastControls, law - 1e-12, law + 1e-12);
        if (i == 480) expectAll(kFastControls, kControlCount, 0.9, 1.0);
    }
    EXPECT_TRUE(controls.isSettled());
    expectAll(0, kControlCount, 1.0, 1.0);
}

}  // namespace
}  // namespace Quorvant::Test
