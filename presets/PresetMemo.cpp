#include "presets/PresetMemo.h"

#include "platform/LocalTime.h"
#include "platform/UserStore.h"
#include "presets/PresetBlob.h"

namespace Quorvant {
namespace {

constexpr char kMemoName[] = "MemoA";

}  // namespace

void nameMemo(QVXPresetRecord& record, const std::tm& localTime) {
    char text[kPresetNameSize + 8] = {};
    std::strftime(text, sizeof text, "clipboard %H:%M:%S", &localTime);
    setPresetName(record, text);
}

PresetFault PresetMemo::copy(const QVXPresetRecord& record, const PresetLocation& location) {
    last = record;
    nameMemo(*last, localTime(std::time(nullptr)));
    const auto blob = serialisePreset(*last, static_cast<uint32_t>(location.list),
                                      static_cast<uint32_t>(location.preset));
    return presetFault(writeUserValue(kMemoName, blob), PresetFault::NoFolder);
}

PresetFault PresetMemo::paste(const QVXPresetRecord& base, QVXPresetRecord& pasted) {
    std::vector<std::byte> bytes;
    if (const auto error = readUserValue(kMemoName, bytes))
        return presetFault(error, PresetFault::NothingToPaste);
    QVXPresetRecord record = last.value_or(base);
    const BlobResult result = applyPresetBlob(bytes, record);
    if (result == BlobResult::NotAPreset) return PresetFault::NotAPreset;
    if (result == BlobResult::BadValue && !last) return PresetFault::NotAPreset;
    last = record;  // after a bad value still the one before
    pasted = record;
    return PresetFault::None;
}

}  // namespace Quorvant
