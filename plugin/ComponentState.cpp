#include "plugin/ComponentState.h"

#include "params/ParameterLaws.h"
#include "plugin/Streams.h"

#include <boost/endian/conversion.hpp>

#include <cstddef>

namespace Quorvant {
namespace {

constexpr std::size_t kDoubleSize = 8;
constexpr std::size_t kValuesSize = kStoredParameterCount * kDoubleSize;
constexpr std::size_t kStateSize = kValuesSize + kDoubleSize;
static_assert(kStateSize == 312);

using StateBytes = std::array<uint8_t, kStateSize>;

double loadDouble(const uint8_t* from) {
    return boost::endian::endian_load<double, kDoubleSize, boost::endian::order::little>(from);
}

void storeDouble(uint8_t* to, double value) {
    boost::endian::endian_store<double, kDoubleSize, boost::endian::order::little>(to, value);
}

}  // namespace

std::optional<ComponentState> readComponentState(Steinberg::IBStream& stream) {
    StateBytes bytes{};
    const std::size_t size = readFully(stream, bytes);
    if (size < kValuesSize) return std::nullopt;
    ComponentState state;
    for (std::size_t i = 0; i < state.values.size(); ++i) {
        const double value = loadDouble(bytes.data() + i * kDoubleSize);
        state.values[i] = isStateValue(value) ? clampNormalised(value) : kNoValue;
    }
    if (size == kStateSize) state.suspend = loadDouble(bytes.data() + kValuesSize);
    return state;
}

bool writeComponentState(Steinberg::IBStream& stream, const ComponentState& state) {
    StateBytes bytes{};
    for (std::size_t i = 0; i < state.values.size(); ++i) {
        storeDouble(bytes.data() + i * kDoubleSize, state.values[i]);
    }
    storeDouble(bytes.data() + kValuesSize, state.suspend);
    return writeFully(stream, bytes);
}

}  // namespace Quorvant
