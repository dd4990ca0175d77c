#include "plugin/ComponentState.h"

#include "params/ParameterLaws.h"
#include "plugin/Streams.h"

#include <boost/endian/conversion.hpp>

#include <algorithm>

namespace Quorvant {
namespace {

constexpr std::size_t kDoubleSize = 8;
constexpr std::size_t kValuesSize = kStoredParameterCount * kDoubleSize;
static_assert(sizeof(StateBytes) == 312 && sizeof(double) == kDoubleSize);

double loadDouble(const uint8_t* from) {
    return boost::endian::endian_load<double, kDoubleSize, boost::endian::order::little>(from);
}

void storeDouble(uint8_t* to, double value) {
    boost::endian::endian_store<double, kDoubleSize, boost::endian::order::little>(to, value);
}

}  // namespace

void ComponentState::fillFrom(const ComponentState& other) {
    for (std::size_t i = 0; i < values.size(); ++i)
        if (!isStateValue(values[i])) values[i] = other.values[i];
    if (suspend == kNoValue) suspend = other.suspend;
}

StateBytes encodeComponentState(const ComponentState& state) {
    StateBytes bytes{};
    for (std::size_t i = 0; i < state.values.size(); ++i)
        storeDouble(bytes.data() + i * kDoubleSize, state.values[i]);
    storeDouble(bytes.data() + kValuesSize, state.suspend);
    return bytes;
}

ComponentState decodeComponentState(const StateBytes& bytes) {
    ComponentState state;
    for (std::size_t i = 0; i < state.values.size(); ++i) {
        const double value = loadDouble(bytes.data() + i * kDoubleSize);
        state.values[i] = isStateValue(value) ? clampNormalised(value) : kNoValue;
    }
    state.suspend = std::max(0.0, loadDouble(bytes.data() + kValuesSize));
    return state;
}

std::optional<ComponentState> readComponentState(Steinberg::IBStream& stream) {
    StateBytes bytes{};
    const std::size_t size = readFully(stream, bytes);
    if (size < kValuesSize) return std::nullopt;
    std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(size < bytes.size() ? kValuesSize : size),
              bytes.end(), uint8_t{0});
    return decodeComponentState(bytes);
}

bool writeComponentState(Steinberg::IBStream& stream, const ComponentState& state) {
    return writeFully(stream, encodeComponentState(state));
}

}  // namespace Quorvant
