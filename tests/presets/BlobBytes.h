// Preset blobs put together byte by byte, independently of the product's writer.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Quorvant {

class BlobBytes {
  public:
    explicit BlobBytes(bool bigEndianWords) : bigEndian(bigEndianWords) {}

    // `magic` as a big-endian writer puts it.
    static BlobBytes make(std::string_view magic, uint32_t version, uint32_t parameters,
                          bool bigEndianWords) {
        BlobBytes blob(bigEndianWords);
        blob.text = magic;
        if (!bigEndianWords) std::reverse(blob.text.begin(), blob.text.end());
        blob.text += '\x22';
        blob.word(version).word(parameters);
        return blob.word(0).word(0).word(0).word(13).word(0).word(0).word(0);
    }
    static BlobBytes current(bool bigEndianWords = false) {
        return make("P77x", 0x03000000, 38, bigEndianWords);
    }
    static BlobBytes legacy(bool bigEndianWords = false) {
        return make("PS77", 0x02000000, 18, bigEndianWords);
    }

    BlobBytes& word(uint32_t value) {
        for (int i = 0; i < 4; ++i) {
            const int shift = 8 * (bigEndian ? 3 - i : i);
            text += static_cast<char>((value >> shift) & 0xFF);
        }
        return *this;
    }
    BlobBytes& name(std::string_view value) {
        std::string field(value);
        field.resize(156, '\0');
        return chunk(0, 156, field);
    }
    BlobBytes& parameter(uint32_t index, float value) {
        word(1).word(20).word(0).word(index).word(0).word(0);
        word(std::bit_cast<uint32_t>(value)).word(0);
        return counted();
    }
    // Any chunk: the size in its header may be a lie.
    BlobBytes& chunk(uint32_t type, uint32_t announcedSize, std::string_view body) {
        word(type).word(announcedSize).word(0);
        text += body;
        return counted();
    }
    BlobBytes& setCount(uint32_t value) { return patch(13, value); }
    BlobBytes& setDataSize(uint32_t value) { return patch(21, value); }

    std::span<const std::byte> bytes() const { return std::as_bytes(std::span(text)); }

    std::string text;

  private:
    BlobBytes& counted() {
        setCount(++count);
        return setDataSize(static_cast<uint32_t>(text.size() - 41));
    }
    BlobBytes& patch(std::size_t offset, uint32_t value) {
        BlobBytes number(bigEndian);
        number.word(value);
        text.replace(offset, 4, number.text);
        return *this;
    }

    bool bigEndian;
    uint32_t count = 0;
};

}  // namespace Quorvant
