// Audio files, read and written as a whole; what fails is thrown as a Failure. With libsndfile
// every format that it knows; without it (Windows) WAV alone.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Quorvant::Hosting {

struct Audio {
    int channels = 0;
    int rate = 0;                // Hz
    std::vector<float> samples;  // interleaved, nominal full scale ±1

    size_t frames() const {
        return channels > 0 ? samples.size() / static_cast<size_t>(channels) : 0;
    }
};

Audio readAudio(const std::string& path);

struct SampleFormat {
    const char* name;       // as users write it
    const char* container;  // "wav", "flac", "aiff"
    int bits;
    bool isFloat;
};

// What can be written here, the default of each container first.
const std::vector<SampleFormat>& writableFormats();
// All of their names.
std::string formatNames();

// By the path's extension, and by the name unless that is empty; both must suit.
SampleFormat chooseFormat(const std::string& name, const std::string& path);

// At once or not at all. Integer formats clip at full scale.
void writeAudio(const std::string& path, const SampleFormat& format, const Audio& audio);

}  // namespace Quorvant::Hosting
