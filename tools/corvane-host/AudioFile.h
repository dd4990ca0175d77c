// WAV files, read and written as a whole; what fails is thrown as a Failure.
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
    const char* name;  // as users write it
    int bits;
    bool isFloat;
};

// What can be written.
inline constexpr SampleFormat kSampleFormats[] = {
    {"wav32f", 32, true}, {"wav24", 24, false}, {"wav16", 16, false}};
// All of their names.
std::string formatNames();

// By its name, the first where that is empty. The path must be that of a WAV file.
SampleFormat chooseFormat(const std::string& name, const std::string& path);

// At once or not at all. Integer formats clip at full scale.
void writeAudio(const std::string& path, const SampleFormat& format, const Audio& audio);

}  // namespace Quorvant::Hosting
