#include "presets/PresetRecord.h"

#include "platform/Utf8Path.h"

#include <algorithm>
#include <cstring>

namespace Quorvant {

void keepOthers(QVXPresetRecord& record, const QVXPresetRecord& other,
                const ParameterSet& written) {
    for (uint32_t index = 0; index < kStoredParameterCount; ++index)
        if (!written[index]) record.values[index] = other.values[index];
}

std::string_view presetName(const QVXPresetRecord& record) {
    return {record.name, strnlen(record.name, kPresetNameSize)};
}

void setPresetName(QVXPresetRecord& record, std::string_view name) {
    const std::string valid = validUtf8(name.substr(0, name.find('\0')));
    const auto fitting = cutUtf8(valid, kPresetNameSize - 1);
    std::ranges::fill(record.name, '\0');
    std::ranges::copy(fitting, record.name);
}

}  // namespace Quorvant
