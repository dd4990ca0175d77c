// Peak and loudness of a stream of frames.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace Quorvant::Hosting {

class Meter {
  public:
    Meter(int channels, double rate);
    ~Meter();
    Meter(const Meter&) = delete;
    Meter& operator=(const Meter&) = delete;

    void add(const double* interleaved, size_t frames);

    double rate() const { return sampleRate; }  // Hz
    int64_t frames() const { return frameCount; }
    double peak() const { return highest; }  // linear, 1 is full scale
    // Samples beyond full scale, and samples that are no number or infinite.
    int64_t samplesOver() const { return over; }
    int64_t samplesNotFinite() const { return notFinite; }
    std::string peakText() const;  // "-3.0 dBFS", "silent"
    // Integrated loudness in LUFS, or the mean level in dBFS RMS in builds without a loudness
    // meter; "silent" where there is none.
    std::string loudnessText() const;

  private:
    struct Loudness;
    int channelCount;
    double sampleRate;
    int64_t frameCount = 0, over = 0, notFinite = 0;
    double highest = 0.0, squares = 0.0;
    std::unique_ptr<Loudness> loudness;
};

}  // namespace Quorvant::Hosting
