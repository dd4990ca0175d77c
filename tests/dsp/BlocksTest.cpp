// Each block of the engine by itself, against the law that it follows, written out in the plainest
// way.
#include "dsp/ControlSmoother.h"
#include "dsp/DelayMemory.h"
#include "dsp/Envelope.h"
#include "dsp/InputFilter.h"
#include "dsp/LegacyStage.h"
#include "dsp/Lfo.h"
#include "dsp/Limiter.h"
#include "dsp/MemoryClock.h"
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

#include <complex>
#include <vector>

namespace Quorvant::Test {
namespace {

constexpr double kRate = 48000.0;
constexpr double kPi = std::numbers::pi;

// A memory, usually of 2001 cells, that has come to rest on a course.
class MemoryRig {
  public:
    MemoryRig(DirectionMode mode, int span, size_t cellCount = 2001) : cells(cellCount) {
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

TEST(DelayMemory, ForwardReadsASpanBehind) {
    for (const int span : {3, 4, 777, 1998, 1999}) {
        MemoryRig rig(DirectionMode::Forward, span);
        for (int i = 0; i < 4500; ++i) {
            // A start below cell 0 counts the top cell, too.
            ASSERT_EQ(rig.late(), span) << "tick " << i;
        }
    }
}

TEST(DelayMemory, BackwardReadsTheMemoryLessASpanBehind) {
    for (const int span : {100, 1501, 1900}) {
        MemoryRig rig(DirectionMode::Backward, span);
        for (int i = 0; i < 4500; ++i) ASSERT_EQ(rig.late(), 2001 - span + 1) << "tick " << i;
    }
}

// Segments of half a span that are read backwards, each from a span behind; they keep their places
// and their distance for ever, with odd spans, too, and over the top of the memory.
TEST(DelayMemory, ReverseKeepsItsDistanceAndItsPlaceInTheSong) {
    for (const int span : {400, 401, 333}) {
        MemoryRig rig(DirectionMode::Reverse, span, 20001);
        int lowest = 1 << 30, highest = 0, segments = 0, lastStart = 0, firstStart = 0;
        int beforeFade = 0;
        double before = 1e9;
        for (int i = 0; i < 400 * span; ++i) {
            const Pair heard = rig.tick();
            if (!isOneTick(heard)) continue;
            if (left(heard) > before + span / 8.0) {
                if (segments++ == 0) firstStart = beforeFade;
                lastStart = beforeFade;
            }
            before = left(heard);
            beforeFade = i;
            lowest = std::min(lowest, rig.now - static_cast<int>(left(heard)));
            highest = std::max(highest, rig.now - static_cast<int>(left(heard)));
        }
        EXPECT_GE(lowest, span) << span;
        EXPECT_LE(highest, 2 * span + 8) << span;
        EXPECT_GT(segments, 700);
        EXPECT_NEAR(std::remainder(lastStart - firstStart, span / 2.0), 0.0, 1.0) << span;
    }
}

TEST(DelayMemory, BounceTurnsAtWhatIsRecordedAndASpanBehind) {
    for (const int span : {400, 401}) {
        MemoryRig rig(DirectionMode::Bounce, span);
        int lowest = 1 << 30, highest = 0, forwards = 0, backwards = 0;
        double before = left(rig.tick());
        for (int i = 0; i < 40 * span; ++i) {
            const Pair heard = rig.tick();
            if (isOneTick(heard)) {
                const int late = rig.now - static_cast<int>(left(heard));
                lowest = std::min(lowest, late);
                highest = std::max(highest, late);
                (left(heard) > before ? forwards : backwards) += 1;
            }
            before = left(heard);
        }
        EXPECT_LE(lowest, span / 2 + 4);  // the first ticks after a turn are faded
        EXPECT_NEAR(highest, span, 3);
        EXPECT_NEAR(forwards, backwards, 40 * span * 0.05);
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

TEST(MemoryClock, KeepsTheComingTickInItsPlaceWhenItsPaceChanges) {
    MemoryClock clock;
    clock.reset(1.0);
    Dice dice(5);
    double phase = 0.0, previousStep = 1.0;
    for (int i = 0; i < 20000; ++i) {
        const double factor = i % 7 ? 1.0 + 0.5 * std::sin(i * 0.001) : dice.between(0.25, 4.0);
        // The law in its own terms: an accumulator that gains a step each frame and ticks at 1.
        const double step = 1.0 / factor;
        const double d = 1.0 - (1.0 - phase) * step / previousStep;
        std::vector<double> expected, got;
        phase = d + step;
        previousStep = step;
        for (int k = 0; phase >= 1.0; ++k, phase -= 1.0) expected.push_back((1.0 - d + k) * factor);
        clock.advance(factor, [&](double t) { got.push_back(t); });
        if (got.size() != expected.size()) {  // a tick on the very edge of a frame
            ASSERT_TRUE(phase < 1e-6 || phase > 1.0 - 1e-6);
            continue;
        }
        for (size_t k = 0; k < got.size(); ++k) ASSERT_NEAR(got[k], expected[k], 1e-6) << i;
        ASSERT_NEAR(clock.outputPosition(step), std::max(0.0, phase), 1e-6) << i;
    }
}

TEST(Lfo, WrapsAsSoonAsItReachesHalfATurn) {
    Lfo lfo;
    lfo.setFrequency(1.0, kRate);
    lfo.setPosition(7.0, 0.5);  // at once when a position sets it ...
    EXPECT_DOUBLE_EQ(lfo.currentPhase(), -kPi);
    lfo.reset();  // ... and when it runs
    for (int i = 0; i < 24001; ++i) EXPECT_LT(lfo.next(), kPi);
    EXPECT_LT(lfo.currentPhase(), -kPi + 0.001);
}

TEST(Lfo, SinesAndSquares) {
    for (const double hz : {0.1, 10.0, 240.0}) {
        Lfo lfo;
        lfo.setFrequency(hz, kRate);
        double filled[1000];
        Lfo other = lfo;
        other.fillSine(filled, 1000, -0.7);
        double before = lfo.squareAt(lfo.currentPhase()), steepest = 0.0, sum = 0.0;
        int onTop = 0;
        const int period = static_cast<int>(kRate / hz);
        for (int i = 0; i < 2 * period; ++i) {
            const double phase = lfo.next(), square = lfo.squareAt(phase);
            if (i < 1000) {
                ASSERT_NEAR(filled[i], -0.7 * std::sin(phase), 1e-12);
            }
            steepest = std::max(steepest, std::abs(square - before));
            onTop += std::abs(square) == 1.0;
            sum += square;
            before = square;
        }
        EXPECT_LE(steepest, 2.0 / (0.00099 * kRate)) << hz;  // an edge takes a millisecond or more
        EXPECT_GE(onTop, 0.49 * 2 * period) << hz;
        EXPECT_NEAR(sum / (2 * period), 0.0, 0.01) << hz;
        EXPECT_EQ(lfo.squareAt(1.5), -1.0);
        EXPECT_EQ(lfo.squareAt(-1.5), 1.0);
    }
}

// The response of the three sections as they are told, third normalisation included.
double filterLaw(double corner, double rate, double hz) {
    const double offset = corner / rate + 0.095;
    const double frequencies[] = {corner, corner * (offset * offset + 0.65), 1.2 * corner};
    const double divisors[] = {4.4, 1.24, 1.6};
    const std::complex<double> z = std::polar(1.0, -2.0 * kPi * hz / rate);
    std::complex<double> response = 1.0;
    double firstA0 = 0.0;
    for (int s = 0; s < 3; ++s) {
        const double w = 2.0 * kPi * frequencies[s] / rate, alpha = std::sin(w) / divisors[s];
        const double a0 = 1.0 + alpha;
        if (s == 0) firstA0 = a0;
        const double n = s == 2 ? firstA0 : a0, b = (1.0 - std::cos(w)) / 2.0;
        response *= b / n * (1.0 + 2.0 * z + z * z) /
                    (1.0 - 2.0 * std::cos(w) / n * z + (1.0 - alpha) / n * z * z);
    }
    return std::abs(response);
}

TEST(InputFilter, FollowsItsLawAtEveryCornerAndRate) {
    for (const double rate : {44100.0, 48000.0, 96000.0, 192000.0}) {
        for (const double corner : {InputFilter::kCorner, InputFilter::kDoubledCorner}) {
            if (corner == InputFilter::kDoubledCorner && rate > 100000.0) continue;  // held stable
            InputFilter filter;
            filter.setCorner(corner, rate);
            Signal response(20000);
            for (size_t i = 0; i < response.size(); ++i)
                response[i] = left(filter.process(makePair(i == 0 ? 1.0 : 0.0, 0.0)));
            for (const double hz : {0.0, 1000.0, 7000.0, 17000.0}) {
                std::complex<double> sum = 0.0;
                for (size_t i = 0; i < response.size(); ++i)
                    sum += response[i] * std::polar(1.0, -2.0 * kPi * hz * i / rate);
                EXPECT_NEAR(std::abs(sum), filterLaw(corner, rate, hz), 1e-9)
                    << corner << " at " << rate << ", " << hz << " Hz";
            }
        }
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
    controls.setTarget(kCtlMix, 1.0);
    controls.setTarget(kCtlVco, 1.0);
    for (int i = 1; i <= 48000; ++i) {
        controls.step();
        if (i == 100) {
            EXPECT_NEAR(controls[kCtlMix], 1.0 - std::exp(-2.0 * kPi * 30.0 * 100 / kRate), 1e-12);
            EXPECT_GT(controls[kCtlVco], 0.9);
        }
        if (i == 12) {
            EXPECT_LT(controls[kCtlVco], 0.1);  // no corner where it starts
        }
    }
    EXPECT_TRUE(controls.isSettled());
    EXPECT_EQ(controls[kCtlMix], 1.0);
    EXPECT_EQ(controls[kCtlVco], 1.0);
}

}  // namespace
}  // namespace Quorvant::Test
