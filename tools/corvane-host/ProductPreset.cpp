#include "tools/corvane-host/ProductPreset.h"

#include "params/ParameterTable.h"
#include "platform/Utf8Path.h"
#include "plugin/ClassIds.h"
#include "presets/PresetFile.h"
#include "tools/hosting/Text.h"

#include "public.sdk/source/vst/utility/uid.h"

namespace Quorvant::Hosting {

Result<> checkIsProduct(const HostedPlugin& plugin, const std::string& file) {
    const auto id = VST3::UID::fromString(plugin.description().id);
    if (id && Steinberg::FUID::fromTUID(id->data()) == kEffectClassId) return {};
    return Error{inQuotes(file) + " is a preset of another plug-in, not of " +
                 inQuotes(plugin.description().name)};
}

QVXPresetRecord shownRecord(const HostedPlugin& plugin) {
    QVXPresetRecord record{};
    for (ParamID id = 0; id < kStoredParameterCount; ++id)
        record.values[id] = static_cast<float>(plugin.controllerValue(id));
    return record;
}

Result<QVXPresetRecord> readProductPreset(const std::filesystem::path& file,
                                          const QVXPresetRecord& base) {
    QVXPresetRecord record = base;
    const auto fault = loadPreset(file, record);
    const std::string name = inQuotes(utf8FromPath(file));
    if (fault == PresetFault::NotFound) return Error{"there is no file " + name};
    if (fault == PresetFault::NotAPreset) return Error{name + " is no preset"};
    if (fault != PresetFault::None) return Error{"cannot read " + name};
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
