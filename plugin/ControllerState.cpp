#include "plugin/ControllerState.h"

#include "plugin/FactoryPrograms.h"

#include <boost/endian/conversion.hpp>

#include <algorithm>
#include <tuple>

namespace Quorvant {
namespace {

using boost::endian::order;

// Mark, version, number of bytes that follow; then the view settings, zoom, program, and the setups
// up to the end. All little-endian.
constexpr std::array<uint8_t, 4> kMark = {'Q', 'C', 'T', 'L'};
constexpr uint32_t kVersion = 1;
constexpr std::size_t kWordSize = 4;
constexpr std::size_t kHeaderSize = kMark.size() + 2 * kWordSize;
constexpr std::size_t kDoubleSize = 8;
constexpr std::size_t kFixedSize =
    std::tuple_size_v<decltype(ControllerState::viewSettings)> * kDoubleSize + 2 * kWordSize;

uint8_t* storeWord(uint8_t* to, std::size_t word) {
    boost::endian::endian_store<uint32_t, kWordSize, order::little>(to,
                                                                    static_cast<uint32_t>(word));
    return to + kWordSize;
}

uint32_t takeWord(const uint8_t*& from) {
    const auto word = boost::endian::endian_load<uint32_t, kWordSize, order::little>(from);
    from += kWordSize;
    return word;
}

}  // namespace

std::vector<uint8_t> encodeControllerState(const ControllerState& state) {
    const auto setups = serialiseSetups(state.setups);
    const std::size_t body = kFixedSize + setups.size();
    std::vector<uint8_t> content(kHeaderSize + body);
    uint8_t* to = std::copy(kMark.begin(), kMark.end(), content.data());
    to = storeWord(to, kVersion);
    to = storeWord(to, body);
    for (const double value : state.viewSettings) {
        boost::endian::endian_store<double, kDoubleSize, order::little>(to, value);
        to += kDoubleSize;
    }
    to = storeWord(to, state.zoom);
    to = storeWord(to, state.program);
    std::transform(setups.begin(), setups.end(), to,
                   [](std::byte b) { return std::to_integer<uint8_t>(b); });
    return content;
}

std::optional<ControllerState> decodeControllerState(std::span<const uint8_t> content) {
    if (content.size() < kHeaderSize + kFixedSize) return std::nullopt;
    if (!std::equal(kMark.begin(), kMark.end(), content.begin())) return std::nullopt;
    const uint8_t* from = content.data() + kMark.size();
    if (takeWord(from) != kVersion) return std::nullopt;
    if (takeWord(from) != content.size() - kHeaderSize) return std::nullopt;
    ControllerState state;
    for (double& value : state.viewSettings) {
        value = boost::endian::endian_load<double, kDoubleSize, order::little>(from);
        if (!(value >= 0.0 && value <= 1.0)) return std::nullopt;
        from += kDoubleSize;
    }
    state.zoom = takeWord(from);
    if (state.zoom != 0 && (state.zoom < 50 || state.zoom > 300)) return std::nullopt;
    state.program = takeWord(from);
    if (state.program >= static_cast<uint32_t>(factoryProgramCount())) return std::nullopt;
    const auto setups = parseSetups(std::as_bytes(content.subspan(kHeaderSize + kFixedSize)));
    if (!setups) return std::nullopt;
    state.setups = *setups;
    return state;
}

}  // namespace Quorvant
