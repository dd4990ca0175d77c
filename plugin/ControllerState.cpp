#include "plugin/ControllerState.h"

#include <boost/endian/conversion.hpp>

#include <algorithm>
#include <tuple>

namespace Quorvant {
namespace {

using boost::endian::order;

// Mark, version, number of bytes that follow; then the view settings. All little-endian.
constexpr std::array<uint8_t, 4> kMark = {'Q', 'C', 'T', 'L'};
constexpr uint32_t kVersion = 1;
constexpr std::size_t kWordSize = 4;
constexpr std::size_t kHeaderSize = kMark.size() + 2 * kWordSize;
constexpr std::size_t kDoubleSize = 8;
constexpr std::size_t kBodySize = std::tuple_size_v<decltype(ControllerState::viewSettings)> * 8;

}  // namespace

std::vector<uint8_t> encodeControllerState(const ControllerState& state) {
    std::vector<uint8_t> content(kHeaderSize + kBodySize);
    uint8_t* to = std::copy(kMark.begin(), kMark.end(), content.data());
    boost::endian::endian_store<uint32_t, kWordSize, order::little>(to, kVersion);
    boost::endian::endian_store<uint32_t, kWordSize, order::little>(to + kWordSize, kBodySize);
    to += 2 * kWordSize;
    for (const double value : state.viewSettings) {
        boost::endian::endian_store<double, kDoubleSize, order::little>(to, value);
        to += kDoubleSize;
    }
    return content;
}

std::optional<ControllerState> decodeControllerState(std::span<const uint8_t> content) {
    if (content.size() != kHeaderSize + kBodySize) return std::nullopt;
    if (!std::equal(kMark.begin(), kMark.end(), content.begin())) return std::nullopt;
    const uint8_t* from = content.data() + kMark.size();
    const auto version = boost::endian::endian_load<uint32_t, kWordSize, order::little>(from);
    const auto size =
        boost::endian::endian_load<uint32_t, kWordSize, order::little>(from + kWordSize);
    if (version != kVersion || size != kBodySize) return std::nullopt;
    from += 2 * kWordSize;
    ControllerState state;
    for (double& value : state.viewSettings) {
        value = boost::endian::endian_load<double, kDoubleSize, order::little>(from);
        if (!(value >= 0.0 && value <= 1.0)) return std::nullopt;
        from += kDoubleSize;
    }
    return state;
}

}  // namespace Quorvant
