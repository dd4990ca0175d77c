#include "tools/corvane-host/AudioFile.h"
#include "tools/corvane-host/PartialFile.h"
#include "tools/hosting/Result.h"
#include "tools/hosting/Text.h"

#include <sndfile.h>

#include <algorithm>
#include <memory>
#include <span>

namespace Quorvant::Hosting {

namespace {

constexpr size_t kChunk = 1 << 16;  // samples

struct CloseSndfile {
    void operator()(SNDFILE* file) const { sf_close(file); }
};
using SndfilePtr = std::unique_ptr<SNDFILE, CloseSndfile>;

[[noreturn]] void fail(const char* what, const std::string& path, SNDFILE* file) {
    std::string reason = sf_strerror(file);
    while (!reason.empty() && reason.back() == '.') reason.pop_back();
    throw Failure{std::string("cannot ") + what + " " + inQuotes(path) + ": " + reason};
}

}  // namespace

Audio readAudio(const std::string& path) {
    SF_INFO info{};
    const SndfilePtr file(sf_open(path.c_str(), SFM_READ, &info));
    if (!file) fail("read", path, nullptr);
    Audio audio{info.channels, info.samplerate, {}};
    // The header's own count may be unknown or wrong.
    for (size_t got = kChunk; got > 0;) {
        const size_t before = audio.samples.size();
        audio.samples.resize(before + kChunk * static_cast<size_t>(info.channels));
        got =
            static_cast<size_t>(sf_readf_float(file.get(), audio.samples.data() + before, kChunk));
        audio.samples.resize(before + got * static_cast<size_t>(info.channels));
    }
    if (sf_error(file.get()) != SF_ERR_NO_ERROR) fail("read", path, file.get());
    return audio;
}

const std::vector<SampleFormat>& writableFormats() {
    static const std::vector<SampleFormat> formats = {
        {"wav32f", "wav", 32, true},   {"wav24", "wav", 24, false},   {"wav16", "wav", 16, false},
        {"flac24", "flac", 24, false}, {"flac16", "flac", 16, false}, {"aiff24", "aiff", 24, false},
        {"aiff16", "aiff", 16, false}, {"aiff32f", "aiff", 32, true}};
    return formats;
}

void writeAudio(const std::string& path, const SampleFormat& format, const Audio& audio) {
    const std::string container = format.container;
    SF_INFO info{};
    info.samplerate = audio.rate;
    info.channels = audio.channels;
    info.format = container == "flac"   ? SF_FORMAT_FLAC
                  : container == "aiff" ? SF_FORMAT_AIFF
                                        : SF_FORMAT_WAV;
    info.format |= format.isFloat      ? SF_FORMAT_FLOAT
                   : format.bits == 24 ? SF_FORMAT_PCM_24
                                       : SF_FORMAT_PCM_16;
    if (sf_format_check(&info) == 0)
        throw Failure{"a " + container + " file cannot have a rate of " +
                      std::to_string(audio.rate) + " Hz"};
    PartialFile partial(path);
    SndfilePtr file(sf_open(partial.temporaryPath().c_str(), SFM_WRITE, &info));
    if (!file) fail("write", path, nullptr);
    sf_command(file.get(), SFC_SET_CLIPPING, nullptr, SF_TRUE);
    for (size_t at = 0; at < audio.samples.size(); at += kChunk) {
        // As doubles, which become integers without a second rounding.
        const auto rest = std::span(audio.samples).subspan(at);
        const std::vector<double> chunk(rest.begin(), rest.begin() + std::min(kChunk, rest.size()));
        const auto count = static_cast<sf_count_t>(chunk.size());
        if (sf_write_double(file.get(), chunk.data(), count) != count)
            fail("write", path, file.get());
    }
    if (sf_close(file.release()) != 0)
        throw Failure{"cannot write " + inQuotes(path) + " to its end"};
    partial.keep();
}

}  // namespace Quorvant::Hosting
