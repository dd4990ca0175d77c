// Plucked strings over a ticking drum.
#include "tools/corvane-host/Phrase.h"

#include <cmath>
#include <numbers>
#include <random>

namespace Quorvant::Hosting {

namespace {

constexpr int kRate = kPhraseRate;
constexpr double kSeconds = 6.0;
constexpr double kBeat = 60.0 / kPhraseTempo;  // seconds
constexpr double kRingSeconds = 2.0;

struct Note {
    double beat;
    int key;     // semitones above A2 (110 Hz)
    double pan;  // 0 left ... 1 right
};

constexpr Note kNotes[] = {{0.0, 0, 0.5},  {0.5, 7, 0.35},  {1.0, 12, 0.65}, {1.5, 15, 0.4},
                           {2.0, 14, 0.6}, {3.0, 10, 0.45}, {4.0, -4, 0.5},  {4.5, 8, 0.3},
                           {5.0, 12, 0.7}, {6.0, 15, 0.55}, {7.0, 3, 0.5},   {8.0, 7, 0.5}};
constexpr double kTicks[] = {1.0, 3.0, 3.75, 5.0, 7.0, 7.5};

// Interleaved stereo.
class Mix {
  public:
    void add(size_t frame, double value, double pan) {
        if (2 * frame + 1 >= samples.size()) return;
        samples[2 * frame] += value * std::cos(pan * std::numbers::pi / 2.0);
        samples[2 * frame + 1] += value * std::sin(pan * std::numbers::pi / 2.0);
    }
    std::vector<double> samples = std::vector<double>(static_cast<size_t>(kSeconds * kRate) * 2);
};

size_t frameOf(double beat) {
    return static_cast<size_t>(std::lround(beat * kBeat * kRate));
}

double noise(std::minstd_rand& random) {
    return 2.0 * random() / std::minstd_rand::max() - 1.0;
}

// A string as a loop of noise that loses its brightness with every round.
void pluck(Mix& mix, const Note& note, std::minstd_rand& random) {
    const double frequency = 110.0 * std::exp2(note.key / 12.0);
    std::vector<double> string(static_cast<size_t>(std::lround(kRate / frequency)));
    for (double& sample : string) sample = 0.3 * noise(random);
    const auto length = static_cast<size_t>(kRingSeconds * kRate);
    for (size_t frame = 0; frame < length; ++frame) {
        const size_t here = frame % string.size();
        const size_t next = (here + 1) % string.size();
        const double fade = 1.0 - static_cast<double>(frame) / static_cast<double>(length);
        mix.add(frameOf(note.beat) + frame, string[here] * fade, note.pan);
        string[here] = 0.497 * (string[here] + string[next]);
    }
}

void tick(Mix& mix, double beat, std::minstd_rand& random) {
    double last = 0.0;
    for (size_t frame = 0; frame < kRate / 20; ++frame) {
        const double now = noise(random);
        const double fade = std::exp(-static_cast<double>(frame) / (0.006 * kRate));
        mix.add(frameOf(beat) + frame, 0.25 * (now - last) * fade, 0.5);
        last = now;
    }
}

}  // namespace

Audio phrase() {
    Mix mix;
    std::minstd_rand random;
    for (const Note& note : kNotes) pluck(mix, note, random);
    for (const double beat : kTicks) tick(mix, beat, random);
    return {2, kRate, {mix.samples.begin(), mix.samples.end()}};
}

}  // namespace Quorvant::Hosting
