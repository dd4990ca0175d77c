#include "tools/corvane-host/AudioFile.h"
#include "tools/corvane-host/PartialFile.h"

#include <sndfile.h>

namespace Quorvant::Hosting {

namespace {

struct CloseSndfile {
    void operator()(SNDFILE* file) const { sf_close(file); }
};
using SndfilePtr = std::unique_ptr<SNDFILE, CloseSndfile>;

std::string reason(SNDFILE* file) {
    std::string text = sf_strerror(file);
    while (!text.empty() && text.back() == '.') text.pop_back();
    return text;
}

class SndfileSource : public FrameSource {
  public:
    SndfileSource(std::string name, SndfilePtr opened, const SF_INFO& about)
        : path(std::move(name)), file(std::move(opened)), info(about) {}

    int channels() const override { return info.channels; }
    double rate() const override { return info.samplerate; }
    int64_t frames() const override { return info.frames; }
    Result<size_t> read(double* interleaved, size_t count) override {
        const sf_count_t got =
            sf_readf_double(file.get(), interleaved, static_cast<sf_count_t>(count));
        if (sf_error(file.get()) != SF_ERR_NO_ERROR)
            return Error{"cannot read '" + path + "': " + reason(file.get())};
        return static_cast<size_t>(got);
    }

  private:
    std::string path;
    SndfilePtr file;
    SF_INFO info;
};

class SndfileWriter : public AudioWriter {
  public:
    SndfileWriter(const std::string& name, const SampleFormat& format, int rate, int channels)
        : path(name), partial(name) {
        const std::string container = format.container;
        SF_INFO info{};
        info.samplerate = rate;
        info.channels = channels;
        info.format = container == "flac"   ? SF_FORMAT_FLAC
                      : container == "aiff" ? SF_FORMAT_AIFF
                                            : SF_FORMAT_WAV;
        info.format |= format.isFloat      ? SF_FORMAT_FLOAT
                       : format.bits == 24 ? SF_FORMAT_PCM_24
                                           : SF_FORMAT_PCM_16;
        if (sf_format_check(&info) == 0) {
            failure =
                "a " + container + " file cannot have a rate of " + std::to_string(rate) + " Hz";
            return;
        }
        file.reset(sf_open(partial.temporaryPath().c_str(), SFM_WRITE, &info));
        if (!file) {
            failure = reason(nullptr);
            return;
        }
        sf_command(file.get(), SFC_SET_CLIPPING, nullptr, SF_TRUE);
    }

    Result<> opened() const {
        if (file) return {};
        return Error{"cannot write '" + path + "': " + failure};
    }

    Result<> write(const double* interleaved, size_t count) override {
        const auto wanted = static_cast<sf_count_t>(count);
        if (sf_writef_double(file.get(), interleaved, wanted) != wanted)
            return Error{"cannot write '" + path + "': " + reason(file.get())};
        return {};
    }

    Result<> finish() override {
        if (sf_close(file.release()) != 0) return Error{"cannot write '" + path + "' to its end"};
        return partial.keep();
    }

  private:
    std::string path, failure;
    PartialFile partial;
    SndfilePtr file;  // closed before the partial file is removed
};

}  // namespace

Result<std::unique_ptr<FrameSource>> openAudioFile(const std::string& path) {
    SF_INFO info{};
    SndfilePtr file(sf_open(path.c_str(), SFM_READ, &info));
    if (!file) return Error{"cannot read '" + path + "': " + reason(nullptr)};
    return std::unique_ptr<FrameSource>(new SndfileSource(path, std::move(file), info));
}

const std::vector<SampleFormat>& writableFormats() {
    static const std::vector<SampleFormat> formats = {
        {"wav32f", "wav", 32, true},   {"wav24", "wav", 24, false},   {"wav16", "wav", 16, false},
        {"flac24", "flac", 24, false}, {"flac16", "flac", 16, false}, {"aiff24", "aiff", 24, false},
        {"aiff16", "aiff", 16, false}, {"aiff32f", "aiff", 32, true}};
    return formats;
}

Result<std::unique_ptr<AudioWriter>> createAudioFile(const std::string& path,
                                                     const SampleFormat& format, int rate,
                                                     int channels) {
    auto writer = std::make_unique<SndfileWriter>(path, format, rate, channels);
    if (auto opened = writer->opened(); !opened) return Error{opened.error()};
    return std::unique_ptr<AudioWriter>(std::move(writer));
}

}  // namespace Quorvant::Hosting
