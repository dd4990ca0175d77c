#include "tools/corvane-host/AudioFile.h"
#include "tools/corvane-host/PartialFile.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <fstream>

namespace Quorvant::Hosting {

namespace {

static_assert(std::endian::native == std::endian::little, "WAV files are little-endian");

constexpr uint16_t kPcm = 1, kFloat = 3, kExtensible = 0xFFFE;
constexpr uint32_t kHeaderBytes = 44;

struct WavLayout {
    uint16_t coding = 0, channels = 0, bits = 0;
    uint32_t rate = 0;
    std::streamoff dataStart = 0;
    uint64_t dataBytes = 0;

    size_t sampleBytes() const { return bits / 8U; }
    size_t frameBytes() const { return sampleBytes() * channels; }
};

template <typename Number>
Number readNumber(const char* bytes) {
    Number number;
    std::memcpy(&number, bytes, sizeof number);
    return number;
}

Result<WavLayout> readLayout(std::ifstream& file, const std::string& path) {
    const Error refused{"cannot read '" + path +
                        "': it is no WAV file of 16, 24 or 32 bits or 32-bit float"};
    char header[12];
    if (!file.read(header, sizeof header) || std::memcmp(header, "RIFF", 4) != 0 ||
        std::memcmp(header + 8, "WAVE", 4) != 0)
        return refused;
    WavLayout layout;
    char chunk[8];
    while (file.read(chunk, sizeof chunk)) {
        const auto size = readNumber<uint32_t>(chunk + 4);
        if (std::memcmp(chunk, "data", 4) == 0) {
            layout.dataStart = file.tellg();
            file.seekg(0, std::ios::end);
            const auto rest = static_cast<uint64_t>(file.tellg() - layout.dataStart);
            layout.dataBytes = std::min<uint64_t>(size, rest);
            break;
        }
        const std::streamoff next = std::streamoff(file.tellg()) + size + (size & 1U);
        if (std::memcmp(chunk, "fmt ", 4) == 0) {
            char format[26] = {};
            if (size < 16 || !file.read(format, std::min<uint32_t>(size, sizeof format)))
                return refused;
            layout.coding = readNumber<uint16_t>(format);
            layout.channels = readNumber<uint16_t>(format + 2);
            layout.rate = readNumber<uint32_t>(format + 4);
            layout.bits = readNumber<uint16_t>(format + 14);
            if (layout.coding == kExtensible) layout.coding = readNumber<uint16_t>(format + 24);
        }
        file.seekg(next);
    }
    const bool readable =
        (layout.coding == kFloat && layout.bits == 32) ||
        (layout.coding == kPcm && (layout.bits == 16 || layout.bits == 24 || layout.bits == 32));
    if (!readable || layout.dataStart == 0 || layout.channels == 0 || layout.rate == 0)
        return refused;
    return layout;
}

double decode(const char* bytes, const WavLayout& layout) {
    if (layout.coding == kFloat) return readNumber<float>(bytes);
    int32_t value = 0;  // the sample in the topmost bits
    std::memcpy(reinterpret_cast<char*>(&value) + 4 - layout.sampleBytes(), bytes,
                layout.sampleBytes());
    return value / 2147483648.0;
}

void encode(double sample, const SampleFormat& format, std::vector<char>& out) {
    char bytes[4];
    if (format.isFloat) {
        const auto value = static_cast<float>(sample);
        std::memcpy(bytes, &value, 4);
    } else {
        const double scale = std::ldexp(1.0, format.bits - 1);
        const auto value =
            static_cast<int32_t>(std::lrint(std::clamp(sample * scale, -scale, scale - 1.0)));
        std::memcpy(bytes, &value, 4);
    }
    out.insert(out.end(), bytes, bytes + format.bits / 8);
}

class WavSource : public FrameSource {
  public:
    WavSource(std::ifstream opened, const WavLayout& about)
        : file(std::move(opened)), layout(about) {
        file.clear();
        file.seekg(layout.dataStart);
    }

    int channels() const override { return layout.channels; }
    double rate() const override { return layout.rate; }
    int64_t frames() const override {
        return static_cast<int64_t>(layout.dataBytes / layout.frameBytes());
    }
    Result<size_t> read(double* interleaved, size_t count) override {
        count = std::min(count, static_cast<size_t>(frames()) - position);
        bytes.resize(count * layout.frameBytes());
        file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        for (size_t sample = 0; sample < count * layout.channels; ++sample)
            interleaved[sample] = decode(bytes.data() + sample * layout.sampleBytes(), layout);
        position += count;
        return count;
    }

  private:
    std::ifstream file;
    WavLayout layout;
    size_t position = 0;
    std::vector<char> bytes;
};

class WavWriter : public AudioWriter {
  public:
    WavWriter(const std::string& name, const SampleFormat& wanted, int sampleRate, int channelCount)
        : path(name),
          format(wanted),
          rate(sampleRate),
          channels(channelCount),
          partial(name),
          file(partial.temporaryPath(), std::ios::binary) {
        writeHeader();
    }

    Result<> state() const {
        if (file) return {};
        return Error{"cannot write '" + path + "'"};
    }

    Result<> write(const double* interleaved, size_t count) override {
        bytes.clear();
        for (size_t sample = 0; sample < count * static_cast<size_t>(channels); ++sample)
            encode(interleaved[sample], format, bytes);
        if (dataBytes + bytes.size() > 0xFFFFFFFFU - kHeaderBytes)
            return Error{"'" + path + "' would be longer than a WAV file can be"};
        dataBytes += static_cast<uint32_t>(bytes.size());
        file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return state();
    }

    Result<> finish() override {
        if (dataBytes % 2 != 0) file.put(0);
        file.seekp(0);
        writeHeader();
        file.close();
        if (auto closed = state(); !closed) return closed;
        return partial.keep();
    }

  private:
    void writeHeader() {
        const auto frameBytes = static_cast<uint16_t>(channels * format.bits / 8);
        put("RIFF", kHeaderBytes - 8 + dataBytes + dataBytes % 2);
        file.write("WAVE", 4);
        put("fmt ", 16U);
        putNumber(format.isFloat ? kFloat : kPcm);
        putNumber(static_cast<uint16_t>(channels));
        putNumber(static_cast<uint32_t>(rate));
        putNumber(static_cast<uint32_t>(rate) * frameBytes);
        putNumber(frameBytes);
        putNumber(static_cast<uint16_t>(format.bits));
        put("data", dataBytes);
    }
    template <typename Number>
    void putNumber(Number number) {
        file.write(reinterpret_cast<const char*>(&number), sizeof number);
    }
    void put(const char* tag, uint32_t size) {
        file.write(tag, 4);
        putNumber(size);
    }

    std::string path;
    SampleFormat format;
    int rate, channels;
    uint32_t dataBytes = 0;
    PartialFile partial;
    std::ofstream file;  // closed before the partial file is removed
    std::vector<char> bytes;
};

}  // namespace

Result<std::unique_ptr<FrameSource>> openAudioFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return Error{"cannot open '" + path + "'"};
    auto layout = readLayout(file, path);
    if (!layout) return Error{layout.error()};
    return std::unique_ptr<FrameSource>(new WavSource(std::move(file), *layout));
}

const std::vector<SampleFormat>& writableFormats() {
    static const std::vector<SampleFormat> formats = {
        {"wav32f", "wav", 32, true}, {"wav24", "wav", 24, false}, {"wav16", "wav", 16, false}};
    return formats;
}

Result<std::unique_ptr<AudioWriter>> createAudioFile(const std::string& path,
                                                     const SampleFormat& format, int rate,
                                                     int channels) {
    auto writer = std::make_unique<WavWriter>(path, format, rate, channels);
    if (auto opened = writer->state(); !opened) return Error{opened.error()};
    return std::unique_ptr<AudioWriter>(std::move(writer));
}

}  // namespace Quorvant::Hosting
