#include "tools/corvane-host/Loudness.h"

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

std::string peakText(const Audio& audio) {
    float peak = 0.0f;
    for (const float sample : audio.samples) peak = std::max(peak, std::abs(sample));
    return levelText(20.0 * std::log10(static_cast<double>(peak)), "dBFS");
}

std::string loudnessText(const Audio& audio) {
#ifdef CORVANE_HAS_EBUR128
    ebur128_state* state = ebur128_init(static_cast<unsigned>(audio.channels),
                                        static_cast<unsigned long>(audio.rate), EBUR128_MODE_I);
    double loudness = 0.0;
    const bool measured =
        state != nullptr &&
        ebur128_add_frames_float(state, audio.samples.data(), audio.frames()) == EBUR128_SUCCESS &&
        ebur128_loudness_global(state, &loudness) == EBUR128_SUCCESS;
    if (state != nullptr) ebur128_destroy(&state);
    if (measured) return levelText(loudness, "LUFS");
#endif
    double squares = 0.0;
    for (const double sample : audio.samples) squares += sample * sample;
    const auto count = static_cast<double>(std::max<size_t>(audio.samples.size(), 1));
    return levelText(10.0 * std::log10(squares / count), "dBFS RMS");
}

size_t samplesBeyondFullScale(const Audio& audio) {
    return static_cast<size_t>(
        std::ranges::count_if(audio.samples, [](float sample) { return std::abs(sample) > 1.0f; }));
}

}  // namespace Quorvant::Hosting
