#include "tools/corvane-host/Meter.h"

#include "tools/corvane-host/Report.h"

#include <algorithm>
#include <cmath>

#ifdef CORVANE_HAS_EBUR128
#include <ebur128.h>
#endif

namespace Quorvant::Hosting {

namespace {

std::string levelText(double decibels, const char* unit) {
    return std::isfinite(decibels) ? number(decibels, 1) + " " + unit : "silent";
}

}  // namespace

#ifdef CORVANE_HAS_EBUR128
struct Meter::Loudness {
    ebur128_state* state;
    Loudness(int channels, double rate)
        : state(ebur128_init(static_cast<unsigned>(channels),
                             static_cast<unsigned long>(std::lround(rate)), EBUR128_MODE_I)) {}
    ~Loudness() {
        if (state != nullptr) ebur128_destroy(&state);
    }
};
#else
struct Meter::Loudness {
    Loudness(int, double) {}
};
#endif

Meter::Meter(int channels, double rate)
    : channelCount(channels),
      sampleRate(rate),
      loudness(std::make_unique<Loudness>(channels, rate)) {}

Meter::~Meter() = default;

void Meter::add(const double* interleaved, size_t frames) {
    for (size_t index = 0; index < frames * static_cast<size_t>(channelCount); ++index) {
        const double sample = interleaved[index];
        if (!std::isfinite(sample)) {
            ++notFinite;
            continue;
        }
        highest = std::max(highest, std::abs(sample));
        squares += sample * sample;
        if (std::abs(sample) > 1.0) ++over;
    }
    frameCount += static_cast<int64_t>(frames);
#ifdef CORVANE_HAS_EBUR128
    if (loudness->state != nullptr) ebur128_add_frames_double(loudness->state, interleaved, frames);
#endif
}

std::string Meter::peakText() const {
    return levelText(20.0 * std::log10(highest), "dBFS");
}

std::string Meter::loudnessText() const {
#ifdef CORVANE_HAS_EBUR128
    double value = 0.0;
    if (loudness->state != nullptr &&
        ebur128_loudness_global(loudness->state, &value) == EBUR128_SUCCESS)
        return levelText(value, "LUFS");
#endif
    const double samples = static_cast<double>(std::max<int64_t>(frameCount, 1)) * channelCount;
    return levelText(10.0 * std::log10(squares / samples), "dBFS RMS");
}

}  // namespace Quorvant::Hosting
