#include "dsp/InputFilter.h"

#include <cmath>

namespace Quorvant {

void InputFilter::setCorner(double cornerHz, double sampleRate) {
    const double offset = cornerHz / sampleRate + 0.095;
    const struct {
        double frequency, divisor;
    } design[] = {
        {cornerHz, 4.4}, {cornerHz * (offset * offset + 0.65), 1.24}, {1.2 * cornerHz, 1.6}};

    double firstA0 = 1.0, gainOfAll = 1.0;
    for (std::size_t s = 0; s < sections.size(); ++s) {
        const double w = 2.0 * M_PI * design[s].frequency / sampleRate;
        const double cosine = std::cos(w);
        const double alpha = std::sin(w) / design[s].divisor;
        const double ownA0 = 1.0 + alpha;
        if (s == 0) firstA0 = ownA0;
        // Intended: the third section is normalised with the first one's a0 ...
        double n = s == 2 ? firstA0 : ownA0;
        const auto unstable = [&] {
            const double a1 = -2.0 * cosine / n, a2 = (1.0 - alpha) / n;
            return std::abs(a1) >= 1.0 + a2 || std::abs(a2) >= 1.0;
        };
        // ... except at the highest rates, where that would make it ring for ever.
        if (s == 2 && unstable()) n = ownA0;
        sections[s] = {both(-2.0 * cosine / n), both((1.0 - alpha) / n)};
        gainOfAll *= (1.0 - cosine) / 2.0 / n;
    }
    gain = both(gainOfAll);
}

}  // namespace Quorvant
