#include "tools/corvane-host/AudioFile.h"

#include "tools/corvane-host/WholeFile.h"
#include "tools/hosting/Text.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>

namespace Quorvant::Hosting {

namespace {

static_assert(std::endian::native == std::endian::little, "WAV files are little-endian");

constexpr size_t kLongest = 0xFFFFFFFF;  // bytes that a WAV file can tell of
constexpr uint16_t kPcm = 1, kFloat = 3, kExtensible = 0xFFFE;

struct Format {
    uint16_t coding, channels;
    uint32_t rate, byteRate;
    uint16_t frameBytes, bits;
};
static_assert(sizeof(Format) == 16);

struct Chunk {
    char tag[4];
    uint32_t size;
};

// False where the bytes end before.
template <typename Value>
bool take(const FileBytes& bytes, size_t at, Value& value) {
    if (at > bytes.size() || bytes.size() - at < sizeof value) return false;
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return true;
}

template <typename Value>
void put(FileBytes& bytes, const Value& value, size_t size = sizeof(Value)) {
    const auto* start = reinterpret_cast<const std::byte*>(&value);
    bytes.insert(bytes.end(), start, start + size);
}

bool isTag(const Chunk& chunk, const char* tag) {
    return std::memcmp(chunk.tag, tag, sizeof chunk.tag) == 0;
}

float decode(const std::byte* bytes, const Format& format) {
    float number = 0.0f;
    if (format.coding == kFloat) {
        std::memcpy(&number, bytes, sizeof number);
        return number;
    }
    int32_t value = 0;  // the sample in the topmost bits
    const size_t size = format.bits / 8;
    std::memcpy(reinterpret_cast<char*>(&value) + 4 - size, bytes, size);
    return static_cast<float>(value / 2147483648.0);
}

}  // namespace

Audio readAudio(const std::string& path) {
    const FileBytes bytes = readWhole(path, kLongest);
    const Failure refused{"cannot read " + inQuotes(path) +
                          ": it is no WAV file of 16, 24 or 32 bits or 32-bit float"};
    Format format{};
    Chunk chunk{};
    if (!take(bytes, 0, chunk) || !isTag(chunk, "RIFF")) throw refused;
    for (size_t at = 12; take(bytes, at, chunk); at += chunk.size + (chunk.size & 1)) {
        at += sizeof chunk;
        if (isTag(chunk, "fmt ")) {
            take(bytes, at, format);
            if (format.coding == kExtensible) take(bytes, at + 24, format.coding);
        }
        if (!isTag(chunk, "data")) continue;
        const size_t sampleBytes = format.bits / 8;
        const bool pcm = format.coding == kPcm && (sampleBytes >= 2 && sampleBytes <= 4);
        if ((!pcm && (format.coding != kFloat || sampleBytes != 4)) || format.channels == 0)
            throw refused;
        Audio audio{format.channels, static_cast<int>(format.rate), {}};
        const size_t frameBytes = sampleBytes * format.channels;
        const size_t frames = std::min<size_t>(chunk.size, bytes.size() - at) / frameBytes;
        for (size_t sample = 0; sample < frames * format.channels; ++sample)
            audio.samples.push_back(decode(bytes.data() + at + sample * sampleBytes, format));
        return audio;
    }
    throw refused;
}

std::string formatNames() {
    std::string names;
    for (const SampleFormat& format : kSampleFormats) appendItem(names, format.name);
    return names;
}

SampleFormat chooseFormat(const std::string& name, const std::string& path) {
    const bool suits = sameText(std::filesystem::path(path).extension().string(), ".wav");
    for (const SampleFormat& format : kSampleFormats)
        if (suits && (name.empty() || name == format.name)) return format;
    throw Failure{inQuotes(path) + (name.empty() ? "" : " and the format " + inQuotes(name)) +
                  " tell no kind of file that can be written, there are " + formatNames() +
                  " in files that end in .wav"};
}

void writeAudio(const std::string& path, const SampleFormat& format, const Audio& audio) {
    const size_t sampleBytes = static_cast<size_t>(format.bits) / 8;
    const size_t size = audio.samples.size() * sampleBytes;
    if (size > kLongest - 64)
        throw Failure{inQuotes(path) + " would be longer than a WAV file can be"};
    const auto channels = static_cast<uint16_t>(audio.channels);
    const auto rate = static_cast<uint32_t>(audio.rate);
    const auto frameBytes = static_cast<uint16_t>(sampleBytes * channels);
    const auto dataSize = static_cast<uint32_t>(size), padding = dataSize % 2;
    FileBytes bytes;
    bytes.reserve(size + 64);
    put(bytes, Chunk{{'R', 'I', 'F', 'F'}, 36 + dataSize + padding});
    put(bytes, Chunk{{'W', 'A', 'V', 'E'}, 0}, 4);
    put(bytes, Chunk{{'f', 'm', 't', ' '}, sizeof(Format)});
    put(bytes, Format{format.isFloat ? kFloat : kPcm, channels, rate, rate * frameBytes, frameBytes,
                      static_cast<uint16_t>(format.bits)});
    put(bytes, Chunk{{'d', 'a', 't', 'a'}, dataSize});
    const double scale = std::ldexp(1.0, format.bits - 1);
    for (const float sample : audio.samples) {
        if (format.isFloat)
            put(bytes, sample);
        else
            put(bytes,
                static_cast<int32_t>(std::lrint(std::clamp(sample * scale, -scale, scale - 1.0))),
                sampleBytes);
    }
    bytes.resize(bytes.size() + padding);
    writeWhole(path, bytes);
}

}  // namespace Quorvant::Hosting
