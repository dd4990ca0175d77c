// Any bytes as a preset file of either version, and as a memo: whatever they are, the record stays
// one that the plug-in can hold, what was taken can be written and read back, and a new name
// changes nothing else.
#include "fuzz/Fuzzing.h"
#include "presets/LegacyImport.h"
#include "presets/PresetBlob.h"

#include <algorithm>
#include <vector>

namespace {

using namespace Quorvant;
using Fuzzing::require;

QVXPresetRecord startRecord() {
    QVXPresetRecord record{};
    setPresetName(record, "before");
    for (float& value : record.values) value = 0.25f;
    return record;
}

void checkRecord(BlobResult result, const QVXPresetRecord& record) {
    const bool taken = result == BlobResult::Applied || result == BlobResult::AppliedInPart;
    require(taken || record == startRecord());
    require(record.name[kPresetNameSize - 1] == '\0');
    for (const float value : record.values) require(value >= 0.0f && value <= 1.0f);

    QVXPresetRecord again{};
    require(applyPresetBlob(serialisePreset(record, 0, 0), again) == BlobResult::Applied);
    require(again == record);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto bytes = std::as_bytes(std::span(data, size));
    QVXPresetRecord memo = startRecord();
    checkRecord(applyPresetBlob(bytes, memo), memo);
    QVXPresetRecord file = startRecord();
    const BlobResult result = readPreset(bytes, file);
    require(result != BlobResult::BadValue);  // files are repaired
    checkRecord(result, file);

    std::vector<std::byte> renamed(bytes.begin(), bytes.end());
    renameBlob(renamed, "after");
    QVXPresetRecord again = startRecord();
    require(readPreset(renamed, again) == result);
    require(again == file || presetName(again) == "after");
    require(std::ranges::equal(again.values, file.values));
    return 0;
}
