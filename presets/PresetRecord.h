// The preset record: the one form in which a setup of the plug-in is held and handed around.
#pragma once

#include "params/ParameterIndex.h"

#include <bitset>
#include <cstddef>
#include <string_view>

namespace Quorvant {

inline constexpr std::size_t kPresetNameSize = 24;  // bytes, the terminator included

// Plain data, copied by value.
struct QVXPresetRecord {
    char name[kPresetNameSize];           // UTF-8, terminated, zero behind the terminator
    float values[kStoredParameterCount];  // normalised, each within 0 ... 1

    friend bool operator==(const QVXPresetRecord&, const QVXPresetRecord&) = default;
};
static_assert(sizeof(QVXPresetRecord) == 176);

// Some of the 38 parameters that presets hold.
using ParameterSet = std::bitset<kStoredParameterCount>;

// All values but those of `written` become the other record's.
void keepOthers(QVXPresetRecord& record, const QVXPresetRecord& other, const ParameterSet& written);

// The name up to its terminator; a field without one is read to its end.
std::string_view presetName(const QVXPresetRecord& record);

// Bytes that are no UTF-8 are read as Latin-1. Longer names are cut to 23 bytes, between
// characters. The rest of the field becomes zero.
void setPresetName(QVXPresetRecord& record, std::string_view name);

}  // namespace Quorvant
