#include "presets/PresetState.h"

#include <boost/endian/conversion.hpp>

#include <algorithm>
#include <bit>

namespace Quorvant {
namespace {

namespace endian = boost::endian;

constexpr uint32_t kMagic = 0x53505851;  // "QXPS"
constexpr uint32_t kVersion = 1;
constexpr std::size_t kLongestFile = 1024;

// Both directions go through one description of the layout, `transfer`, so that they can't differ.
// All numbers are little-endian 32-bit words.

class Writer {
  public:
    void word(uint32_t& value) {
        unsigned char stored[4];
        endian::store_little_u32(stored, value);
        append(stored, sizeof stored);
    }
    void text(char* bytes, std::size_t size) { append(bytes, size); }
    void text(std::string& value) {
        auto size = static_cast<uint32_t>(std::min(value.size(), kLongestFile));
        word(size);
        append(value.data(), size);
    }
    void require(bool) {}

    std::vector<std::byte> written;

  private:
    void append(const void* bytes, std::size_t size) {
        const auto* first = static_cast<const std::byte*>(bytes);
        written.insert(written.end(), first, first + size);
    }
};

class Reader {
  public:
    explicit Reader(std::span<const std::byte> bytes) : rest(bytes) {}

    void word(uint32_t& value) {
        unsigned char stored[4] = {};
        take(stored, sizeof stored);
        value = endian::load_little_u32(stored);
    }
    void text(char* bytes, std::size_t size) { take(bytes, size); }
    void text(std::string& value) {
        uint32_t size = 0;
        word(size);
        require(size <= kLongestFile && size <= rest.size());
        value.resize(good ? size : 0);
        take(value.data(), value.size());
    }
    void require(bool condition) { good = good && condition; }
    bool readWhole() const { return good && rest.empty(); }

  private:
    void take(void* bytes, std::size_t size) {
        require(size <= rest.size());
        if (!good) return;
        std::copy_n(rest.begin(), size, static_cast<std::byte*>(bytes));
        rest = rest.subspan(size);
    }

    std::span<const std::byte> rest;
    bool good = true;
};

template <typename Stream, typename Value>
void transferAs(Stream& stream, Value& value) {
    auto stored = std::bit_cast<uint32_t>(value);
    stream.word(stored);
    value = std::bit_cast<Value>(stored);
}

template <typename Stream>
void transfer(Stream& stream, QVXPresetRecord& record) {
    stream.text(record.name, sizeof record.name);
    stream.require(record.name[sizeof record.name - 1] == '\0');
    for (float& value : record.values) {
        transferAs(stream, value);
        stream.require(value >= 0.0f && value <= 1.0f);
    }
}

template <typename Stream>
void transfer(Stream& stream, SavedSetup& saved) {
    auto& [slot, file] = saved;
    transfer(stream, slot.current);
    transfer(stream, slot.loaded);
    uint32_t modified = slot.modified ? 1 : 0;
    stream.word(modified);
    stream.require(modified <= 1);
    slot.modified = modified == 1;
    transferAs(stream, slot.location.source);
    transferAs(stream, slot.location.list);
    transferAs(stream, slot.location.preset);
    stream.require(slot.location.source >= 0 && slot.location.source < kPresetSourceCount);
    stream.require(slot.location.list >= 0 && slot.location.preset >= kNotListed);
    stream.text(file);
}

template <typename Stream>
void transfer(Stream& stream, SavedSetups& saved) {
    uint32_t magic = kMagic;
    uint32_t version = kVersion;
    auto selected = static_cast<uint32_t>(saved.selected);
    stream.word(magic);
    stream.word(version);
    stream.word(selected);
    stream.require(magic == kMagic && version == kVersion && selected <= 1);
    saved.selected = selected == 1 ? Setup::B : Setup::A;
    for (auto& setup : saved.setups) transfer(stream, setup);
}

}  // namespace

std::vector<std::byte> serialiseSetups(const SavedSetups& saved) {
    Writer writer;
    SavedSetups copy = saved;
    transfer(writer, copy);
    return std::move(writer.written);
}

std::optional<SavedSetups> parseSetups(std::span<const std::byte> bytes) {
    Reader reader(bytes);
    SavedSetups saved;
    transfer(reader, saved);
    if (!reader.readWhole()) return std::nullopt;
    return saved;
}

}  // namespace Quorvant
