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
    name = cutUtf8(name.substr(0, name.find('\0')), kPresetNameSize - 1);
    char field[kPresetNameSize] = {};  // of its own: the name may lie in the record itself
    std::copy(name.begin(), name.end(), field);
    std::memcpy(record.name, field, sizeof field);
}

}  // namespace Quorvant
