#include "tools/corvane-host/StateFile.h"

#include "tools/corvane-host/MetaInfo.h"
#include "tools/corvane-host/PartialFile.h"
#include "tools/hosting/Text.h"

#include "public.sdk/source/vst/utility/uid.h"
#include "public.sdk/source/vst/vstpresetfile.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace Quorvant::Hosting {

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

constexpr uintmax_t kLargestState = 64U << 20U;  // bytes; no effect's state comes near

FUID classIdOf(const HostedPlugin& plugin) {
    const auto uid = VST3::UID::fromString(plugin.description().id);
    return uid ? FUID::fromTUID(uid->data()) : FUID();
}

Result<Bytes> readBytes(const std::string& path) {
    std::error_code failure;
    const auto size = std::filesystem::file_size(path, failure);
    if (failure) return Error{"cannot read '" + path + "': " + failure.message()};
    if (size > kLargestState) return Error{"'" + path + "' is too large for a state"};
    std::ifstream file(path, std::ios::binary);
    Bytes bytes{std::istreambuf_iterator<char>(file), {}};
    if (!file) return Error{"cannot read '" + path + "'"};
    return bytes;
}

bool startsAsPreset(const Bytes& bytes) {
    return bytes.size() >= 4 && std::memcmp(bytes.data(), "VST3", 4) == 0;
}

// The SDK's reader takes a preset whose end is missing for one with fewer chunks.
bool isWhole(PresetFile& preset, const Bytes& bytes) {
    constexpr size_t kListPosition = 40;  // where the header tells the list of chunks to be
    const auto read = [&bytes]<typename Integer>(Integer& value, uint64_t position) {
        if (position > bytes.size() || bytes.size() - position < sizeof value) return false;
        std::memcpy(&value, bytes.data() + position, sizeof value);
        return true;
    };
    uint64_t list = 0;
    int32 count = 0;
    if (!read(list, kListPosition) || !read(count, list + 4)) return false;
    for (int32 index = 0; index < preset.getEntryCount(); ++index) {
        const auto& entry = preset.at(index);
        const auto size = static_cast<TSize>(bytes.size());
        if (entry.offset < 0 || entry.size < 0 || entry.offset > size - entry.size) return false;
    }
    return count == preset.getEntryCount();
}

std::string metaInfoOf(PresetFile& preset, const Bytes& bytes) {
    const PresetFile::Entry* entry = preset.getEntry(kMetaInfo);
    if (entry == nullptr) return {};
    const auto* start = reinterpret_cast<const char*>(bytes.data()) + entry->offset;
    return {start, static_cast<size_t>(entry->size)};
}

Result<PresetNotes> loadPreset(HostedPlugin& plugin, const Bytes& bytes, const std::string& path) {
    auto stream = owned(new StateStream(bytes));
    PresetFile preset(stream);
    if (!preset.readChunkList() || !isWhole(preset, bytes))
        return Error{"'" + path + "' is a damaged preset"};
    if (preset.getClassID() != classIdOf(plugin))
        return Error{"'" + path + "' is a preset of another plug-in"};
    if (!preset.restoreComponentState(plugin.component()))
        return Error{"'" + plugin.description().name + "' refuses the state in '" + path + "'"};
    preset.restoreComponentState(plugin.controller());
    const bool controllerState = preset.contains(kControllerState);
    if (controllerState) preset.restoreControllerState(plugin.controller());
    const std::string about = metaInfoOf(preset, bytes);
    return PresetNotes{readMetaInfo(about, kMetaName), readMetaInfo(about, kMetaCategory),
                       controllerState};
}

}  // namespace

Result<> saveState(const HostedPlugin& plugin, const std::string& path, const PresetNotes& notes) {
    auto state = plugin.componentState();
    if (!state) return Error{state.error()};
    Bytes content = *state;
    if (sameText(std::filesystem::path(path).extension().string(), ".vstpreset")) {
        const ClassDescription& about = plugin.description();
        const std::string metaInfo = notes.name.empty() ? std::string()
                                                        : writeMetaInfo(about.name, about.vendor,
                                                                        notes.name, notes.category);
        auto stream = owned(new StateStream);
        if (!PresetFile::savePreset(stream, classIdOf(plugin), plugin.component(),
                                    notes.controllerState ? plugin.controller() : nullptr,
                                    metaInfo.empty() ? nullptr : metaInfo.c_str()))
            return Error{"'" + about.name + "' gave no state"};
        content = stream->bytes();
    }

    PartialFile partial(path);
    std::ofstream file(partial.temporaryPath(), std::ios::binary);
    file.write(reinterpret_cast<const char*>(content.data()),
               static_cast<std::streamsize>(content.size()));
    file.close();
    if (!file) return Error{"cannot write '" + path + "'"};
    return partial.keep();
}

bool isPresetContainer(const std::string& path) {
    const auto bytes = readBytes(path);
    return bytes && startsAsPreset(*bytes);
}

Result<PresetNotes> loadState(HostedPlugin& plugin, const std::string& path) {
    auto bytes = readBytes(path);
    if (!bytes) return Error{bytes.error()};
    if (startsAsPreset(*bytes)) return loadPreset(plugin, *bytes, path);

    // Some plug-ins answer a state that they cannot use with success and keep what they had; the
    // lengths tell most such files apart.
    if (bytes->empty() || plugin.setComponentState(*bytes) != kResultOk)
        return Error{"'" + plugin.description().name + "' refuses the state in '" + path + "'"};
    plugin.showComponentState(*bytes);
    return PresetNotes{{}, {}, false};
}

}  // namespace Quorvant::Hosting
