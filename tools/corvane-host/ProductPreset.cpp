#include "tools/corvane-host/ProductPreset.h"

#include "params/ParameterLaws.h"
#include "params/ParameterTable.h"
#include "platform/AtomicFile.h"
#include "platform/Utf8Path.h"
#include "plugin/ClassIds.h"
#include "presets/LegacyImport.h"
#include "presets/PresetLocation.h"
#include "tools/hosting/Text.h"

namespace Quorvant::Hosting {

namespace {

constexpr std::size_t kLargestFile = 1 << 20;  // bytes; the product reads no more either
constexpr uint32_t kLegacyInfRepeatSlot = 13;

std::vector<std::string> lossesOf(const BlobView& blob, BlobResult result) {
    std::vector<std::string> losses;
    const bool legacy = isLegacyPreset(blob);
    bool loop = false;
    int outside = 0;
    walkChunks(blob, [&](ChunkType type, std::span<const std::byte> body) {
        if (type != ChunkType::Parameter) return true;
        const auto value = static_cast<double>(blob.real(body, kParameterValueOffset));
        if (!(value >= 0.0 && value <= 1.0))
            ++outside;
        else if (legacy && blob.word(body, kParameterIndexOffset) == kLegacyInfRepeatSlot)
            loop = switchState(value);
        return true;
    });
    if (result == BlobResult::AppliedInPart)
        losses.emplace_back("it ends early, and what it lacks has default values");
    if (outside > 0)
        losses.push_back("values out of range are replaced by defaults: " +
                         std::to_string(outside));
    if (loop) losses.emplace_back("a running Inf Repeat of the earlier version is left out");
    return losses;
}

}  // namespace

void checkIsProduct(const HostedPlugin& plugin, const std::string& file) {
    if (Steinberg::FUID::fromTUID(plugin.classInfo().ID().data()) == kEffectClassId) return;
    throw Failure{inQuotes(file) + " is a preset file of another plug-in than " +
                  inQuotes(plugin.name())};
}

ProductPreset readProductPreset(const std::filesystem::path& file, const QVXPresetRecord& base) {
    const std::string name = inQuotes(utf8FromPath(file));
    ProductPreset preset{base, {}, {}};
    std::vector<std::byte> bytes;
    if (const auto error = readFile(file, kLargestFile, bytes))
        throw Failure{"cannot read " + name + ": " + error.message()};
    const auto blob = openBlob(bytes);
    const BlobResult result = readPreset(bytes, preset.record);
    if (!blob || (result != BlobResult::Applied && result != BlobResult::AppliedInPart))
        throw Failure{name + " is no preset"};
    preset.losses = lossesOf(*blob, result);
    if (blob->magic == BlobView::Magic::Current && preset.losses.empty())
        preset.content = std::move(bytes);
    return preset;
}

void writeProductPreset(const std::filesystem::path& file, const ProductPreset& preset) {
    constexpr auto kNoPlace = static_cast<uint32_t>(kNotListed);
    if (const auto error =
            replaceFile(file, preset.content.empty() ? serialisePreset(preset.record, 0, kNoPlace)
                                                     : preset.content))
        throw Failure{"cannot write " + inQuotes(utf8FromPath(file)) + ": " + error.message()};
}

QVXPresetRecord shownRecord(const HostedPlugin& plugin) {
    QVXPresetRecord record{};
    for (ParamID id = 0; id < kStoredParameterCount; ++id)
        record.values[id] = static_cast<float>(plugin.controllerValue(id));
    return record;
}

void setRecord(HostedPlugin& plugin, const QVXPresetRecord& record, RecordPart part) {
    // A loop that runs would have the plug-in ignore the delay; the record's own value comes later.
    plugin.setParameter(kInfRepeat, 0.0);
    for (ParamID id = 0; id < kStoredParameterCount; ++id) {
        if (part == RecordPart::PresetChoice && !kParameters[id].writtenByPresetChoice()) continue;
        plugin.setParameter(id, static_cast<double>(record.values[id]));
    }
}

}  // namespace Quorvant::Hosting
