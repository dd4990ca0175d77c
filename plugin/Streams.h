// Reading and writing the host's streams whole, although a stream may move less than it was asked.
#pragma once

#include "pluginterfaces/base/ibstream.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Quorvant {

// Reads until the buffer is full or the stream ends; the number of bytes that were read.
std::size_t readFully(Steinberg::IBStream& stream, std::span<uint8_t> buffer);
// The rest of the stream, `limit` bytes at most.
std::vector<uint8_t> readRest(Steinberg::IBStream& stream, std::size_t limit);
// False when the stream did not take all of it.
bool writeFully(Steinberg::IBStream& stream, std::span<const uint8_t> content);

}  // namespace Quorvant
