// Reading and writing of audio files as interleaved frames. With libsndfile every format that it
// knows; without it (Windows) WAV alone.
#pragma once

#include "tools/hosting/Result.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Quorvant::Hosting {

// Anything that delivers interleaved frames in order, nominal full scale ±1.
class FrameSource {
  public:
    virtual ~FrameSource() = default;
    virtual int channels() const = 0;
    virtual double rate() const = 0;     // Hz
    virtual int64_t frames() const = 0;  // as far as known beforehand
    // Up to `count` frames; fewer only at the end.
    virtual Result<size_t> read(double* interleaved, size_t count) = 0;
};

Result<std::unique_ptr<FrameSource>> openAudioFile(const std::string& path);

struct SampleFormat {
    const char* name;       // as users write it
    const char* container;  // "wav", "flac", "aiff"
    int bits;
    bool isFloat;
};

// What can be written here, the default of each container first.
const std::vector<SampleFormat>& writableFormats();

// A file that appears at its path only when finish() has succeeded; until then, and on any
// failure, nothing is left there. One at a time in a process.
class AudioWriter {
  public:
    virtual ~AudioWriter() = default;
    // Integer formats clip at full scale.
    virtual Result<> write(const double* interleaved, size_t count) = 0;
    virtual Result<> finish() = 0;
};

Result<std::unique_ptr<AudioWriter>> createAudioFile(const std::string& path,
                                                     const SampleFormat& format, int rate,
                                                     int channels);

// The format of that name, or by the path's extension where the name is empty; a name and an
// extension that contradict each other are an error.
Result<SampleFormat> chooseFormat(const std::string& name, const std::string& path);

}  // namespace Quorvant::Hosting
