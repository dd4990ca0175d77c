#include "tools/corvane-host/PresetFormats.h"

#include "params/ParameterLaws.h"
#include "params/ParameterTable.h"
#include "platform/AtomicFile.h"
#include "platform/Utf8Path.h"
#include "plugin/ClassIds.h"
#include "presets/LegacyImport.h"
#include "presets/PresetLocation.h"
#include "tools/hosting/Text.h"

#include "public.sdk/source/vst/utility/uid.h"
#include "public.sdk/source/vst/vstpresetfile.h"

#include <algorithm>
#include <cstring>

namespace Quorvant::Hosting {

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

using FileBytes = std::vector<std::byte>;

constexpr size_t kLargestState = 64U << 20U;  // bytes; no effect's state comes near

constexpr std::string_view kName = "Name", kCategory = "MusicalStyle";
constexpr std::pair<char, std::string_view> kEntities[] = {
    {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}, {'\'', "&apos;"}, {'&', "&amp;"}};

FUID classIdOf(const HostedPlugin& plugin) {
    return FUID::fromTUID(plugin.classInfo().ID().data());
}

void addAttribute(std::string& xml, std::string_view id, std::string_view value) {
    if (value.empty()) return;
    xml.append("\t<Attribute id=\"").append(id).append("\" value=\"");
    for (const char c : value) {
        const auto* entity =
            std::ranges::find(kEntities, c, &std::pair<char, std::string_view>::first);
        xml += entity != std::end(kEntities) ? entity->second : std::string_view(&c, 1);
    }
    xml += "\" type=\"string\" flags=\"\"/>\n";
}

std::string metaInfo(const HostedPlugin& plugin, const PresetNotes& notes) {
    std::string xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<MetaInfo>\n";
    addAttribute(xml, "MediaType", "VstPreset");
    addAttribute(xml, "PlugInName", plugin.name());
    addAttribute(xml, "PlugInVendor", plugin.classInfo().vendor());
    addAttribute(xml, kName, notes.name);
    addAttribute(xml, kCategory, notes.category);
    return xml + "</MetaInfo>\n";
}

// The value of the attribute with that id; empty where there is none.
std::string attribute(std::string_view xml, std::string_view id) {
    constexpr std::string_view kValue = "value=\"";
    const size_t start = xml.find("id=\"" + std::string(id) + "\"");
    if (start == std::string_view::npos) return {};
    xml = xml.substr(start, xml.find('>', start) - start);
    const size_t found = xml.find(kValue);
    if (found == std::string_view::npos) return {};
    xml.remove_prefix(found + kValue.size());
    std::string value(xml.substr(0, xml.find('"')));
    for (const auto& [character, entity] : kEntities)
        for (size_t at = 0; (at = value.find(entity, at)) != std::string::npos; ++at)
            value.replace(at, entity.size(), 1, character);
    return validUtf8(value);
}

// Of one that the SDK's reader has read. It takes a preset whose end is missing for one with fewer
// chunks.
bool isWhole(PresetFile& preset, const std::vector<std::byte>& bytes) {
    constexpr size_t kListPosition = 40;  // where the header tells the list of chunks to be
    const auto size = static_cast<TSize>(bytes.size());
    TSize list = 0;
    int32 count = 0;
    std::memcpy(&list, bytes.data() + kListPosition, sizeof list);
    if (list < 0 || list > size - 8) return false;
    std::memcpy(&count, bytes.data() + list + 4, sizeof count);
    bool whole = count == preset.getEntryCount();
    for (int32 index = 0; index < preset.getEntryCount(); ++index) {
        const auto& entry = preset.at(index);
        whole = whole && entry.offset >= 0 && entry.size >= 0 && entry.offset <= size - entry.size;
    }
    return whole;
}

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

void saveVstPreset(const HostedPlugin& plugin, const std::filesystem::path& file,
                   const PresetNotes& notes) {
    auto stream = owned(new StateStream);
    const std::string about = notes.name.empty() ? std::string() : metaInfo(plugin, notes);
    if (!PresetFile::savePreset(stream, classIdOf(plugin), plugin.component(),
                                notes.controllerState ? plugin.controller() : nullptr,
                                about.empty() ? nullptr : about.c_str()))
        throw Failure{inQuotes(plugin.name()) + " gave no state"};
    const Bytes bytes = stream->bytes();
    if (const auto error = replaceFile(file, std::as_bytes(std::span(bytes))))
        throw Failure{"cannot write " + inQuotes(utf8FromPath(file)) + ": " + error.message()};
}

bool isVstPreset(const std::string& file) {
    std::vector<std::byte> start;
    return !readFile(file, 4, start) && start.size() == 4 &&
           std::memcmp(start.data(), "VST3", 4) == 0;
}

PresetNotes loadVstPreset(HostedPlugin& plugin, const std::string& file) {
    std::vector<std::byte> bytes;
    if (const auto error = readFile(file, kLargestState, bytes))
        throw Failure{"cannot read " + inQuotes(file) + ": " + error.message()};
    const auto* data = reinterpret_cast<const uint8_t*>(bytes.data());
    auto stream = owned(new StateStream(std::span(data, bytes.size())));
    PresetFile preset(stream);
    if (!preset.readChunkList() || !isWhole(preset, bytes))
        throw Failure{inQuotes(file) + " is a damaged preset"};
    if (preset.getClassID() != classIdOf(plugin))
        throw Failure{inQuotes(file) + " is a preset of another plug-in"};
    if (!preset.restoreComponentState(plugin.component()))
        throw Failure{inQuotes(plugin.name()) + " refuses the state in " + inQuotes(file)};
    preset.restoreComponentState(plugin.controller());
    PresetNotes notes{{}, {}, preset.contains(kControllerState)};
    if (notes.controllerState) preset.restoreControllerState(plugin.controller());
    if (const PresetFile::Entry* entry = preset.getEntry(kMetaInfo)) {
        const std::string_view about(reinterpret_cast<const char*>(data) + entry->offset,
                                     static_cast<size_t>(entry->size));
        notes.name = attribute(about, kName);
        notes.category = attribute(about, kCategory);
    }
    return notes;
}

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
