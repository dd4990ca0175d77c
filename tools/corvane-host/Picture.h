// A recording as it is looked at: the envelope of its waveform and its spectrum over time.
#pragma once

#include "tools/corvane-host/AudioFile.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Quorvant::Hosting {

struct Range {
    double low = 0.0, high = 0.0;
};

// Rows of equal width on a logarithmic scale of frequency, columns of equal duration.
struct Spectrogram {
    static constexpr double kFloor = -100.0;          // dB; nothing is lower
    static constexpr double kLowestFrequency = 30.0;  // Hz, of the lowest row's lower edge
    double highestFrequency = 0.0;                    // Hz, of the highest row's upper edge
    size_t columns = 0, rows = 0;
    // Row by row from the lowest. 0 dB is a sine at full scale; of several channels and moments the
    // loudest counts.
    std::vector<double> decibels;
};

struct Picture {
    double seconds = 0.0;
    std::vector<Range> envelope;  // over all channels
    Spectrogram spectrogram;
};

// Reads the whole file, piece by piece. Without rows there is no spectrogram. Files without frames
// give an empty picture.
Result<Picture> lookAt(const std::string& path, size_t columns, size_t rows);

}  // namespace Quorvant::Hosting
