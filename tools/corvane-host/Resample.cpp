#include "tools/corvane-host/Resample.h"

#include <cmath>

#ifdef CORVANE_HAS_SAMPLERATE
#include <samplerate.h>
#endif

namespace Quorvant::Hosting {

namespace {

#ifdef CORVANE_HAS_SAMPLERATE

constexpr size_t kChunkFrames = 4096;

struct DeleteConverter {
    void operator()(SRC_STATE* state) const { src_delete(state); }
};

class ResampledSource : public FrameSource {
  public:
    ResampledSource(std::unique_ptr<FrameSource> from, double rate)
        : source(std::move(from)), newRate(rate) {
        const auto count = static_cast<size_t>(source->channels());
        chunk.resize(kChunkFrames * count);
        samples.resize(kChunkFrames * count);
        int error = 0;
        converter.reset(
            src_callback_new(deliver, SRC_SINC_BEST_QUALITY, source->channels(), &error, this));
        if (!converter) failure = src_strerror(error);
    }

    int channels() const override { return source->channels(); }
    double rate() const override { return newRate; }
    int64_t frames() const override {
        return std::llround(static_cast<double>(source->frames()) * newRate / source->rate());
    }
    Result<size_t> read(double* interleaved, size_t count) override {
        if (!converter) return Error{"cannot convert the sample rate: " + failure};
        converted.resize(count * static_cast<size_t>(channels()));
        const long got = src_callback_read(converter.get(), newRate / source->rate(),
                                           static_cast<long>(count), converted.data());
        if (const int error = src_error(converter.get()); error != 0) failure = src_strerror(error);
        if (!failure.empty()) return Error{"cannot convert the sample rate: " + failure};
        const size_t total = static_cast<size_t>(got) * static_cast<size_t>(channels());
        for (size_t sample = 0; sample < total; ++sample) interleaved[sample] = converted[sample];
        return static_cast<size_t>(got);
    }

  private:
    static long deliver(void* self, float** data) {
        auto& me = *static_cast<ResampledSource*>(self);
        auto got = me.source->read(me.chunk.data(), kChunkFrames);
        if (!got) {
            me.failure = got.error();
            return 0;
        }
        const size_t total = *got * static_cast<size_t>(me.channels());
        for (size_t sample = 0; sample < total; ++sample)
            me.samples[sample] = static_cast<float>(me.chunk[sample]);
        *data = me.samples.data();
        return static_cast<long>(*got);
    }

    std::unique_ptr<FrameSource> source;
    double newRate;
    std::unique_ptr<SRC_STATE, DeleteConverter> converter;
    std::vector<double> chunk;
    std::vector<float> samples, converted;
    std::string failure;
};

#endif

}  // namespace

Result<std::unique_ptr<FrameSource>> atRate(std::unique_ptr<FrameSource> source, double rate) {
    if (source->rate() == rate) return source;
#ifdef CORVANE_HAS_SAMPLERATE
    const double ratio = rate / source->rate();
    if (src_is_valid_ratio(ratio) == 0)
        return Error{"a file of " + std::to_string(std::lround(source->rate())) +
                     " Hz cannot be converted to " + std::to_string(std::lround(rate)) + " Hz"};
    return std::unique_ptr<FrameSource>(new ResampledSource(std::move(source), rate));
#else
    return Error{"the file has a rate of " + std::to_string(std::lround(source->rate())) +
                 " Hz, not " + std::to_string(std::lround(rate)) +
                 " Hz, and this build converts no rates"};
#endif
}

}  // namespace Quorvant::Hosting
