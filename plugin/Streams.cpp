#include "plugin/Streams.h"

#include <algorithm>

namespace Quorvant {

using Steinberg::int32;

namespace {
constexpr std::size_t kLargestStep = 1 << 16;  // bytes a call, well within an int32
}

std::size_t readFully(Steinberg::IBStream& stream, std::span<uint8_t> buffer) {
    std::size_t done = 0;
    while (done < buffer.size()) {
        const auto wanted = static_cast<int32>(std::min(buffer.size() - done, kLargestStep));
        int32 moved = 0;
        const auto result = stream.read(buffer.data() + done, wanted, &moved);
        if (result != Steinberg::kResultOk || moved <= 0 || moved > wanted) break;
        done += static_cast<std::size_t>(moved);
    }
    return done;
}

std::vector<uint8_t> readRest(Steinberg::IBStream& stream, std::size_t limit) {
    std::vector<uint8_t> content(limit);
    content.resize(readFully(stream, content));
    return content;
}

bool writeFully(Steinberg::IBStream& stream, std::span<const uint8_t> content) {
    std::size_t done = 0;
    while (done < content.size()) {
        const auto wanted = static_cast<int32>(std::min(content.size() - done, kLargestStep));
        int32 moved = 0;
        // The interface lacks const; a stream only reads what it is given to write.
        auto* const from = const_cast<uint8_t*>(content.data() + done);
        const auto result = stream.write(from, wanted, &moved);
        if (result != Steinberg::kResultOk || moved <= 0 || moved > wanted) return false;
        done += static_cast<std::size_t>(moved);
    }
    return true;
}

}  // namespace Quorvant
