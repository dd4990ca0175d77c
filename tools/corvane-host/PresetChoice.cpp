#include "tools/corvane-host/PresetChoice.h"

#include "tools/corvane-host/Nearest.h"
#include "tools/corvane-host/PluginChoice.h"
#include "tools/corvane-host/Programs.h"
#include "tools/hosting/Text.h"

#include <filesystem>

namespace Quorvant::Hosting {

namespace fs = std::filesystem;

namespace {

bool looksLikeFile(const std::string& text) {
    const std::string extension = fs::path(text).extension().string();
    std::error_code failure;
    return sameText(extension, ".qvx") || sameText(extension, ".vstpreset") ||
           fs::is_regular_file(text, failure);
}

const Program* findProgram(const std::vector<Program>& programs, const std::string& wanted) {
    for (const Program& program : programs)
        if (sameText(program.name, wanted)) return &program;
    for (size_t number = 0; number < programs.size(); ++number)
        if (std::to_string(number) == wanted) return &programs[number];
    return nullptr;
}

Error unknownProgram(const HostedPlugin& plugin, const std::vector<Program>& programs,
                     const std::string& wanted) {
    if (programs.empty())
        return {inQuotes(plugin.description().name) + " offers no presets, and there is no file " +
                inQuotes(wanted)};
    std::vector<std::string> names;
    for (const Program& program : programs) names.push_back(program.name);
    return {"there is no preset and no file " + inQuotes(wanted) + ", the nearest presets are " +
            nearestNames(names, wanted)};
}

}  // namespace

Result<AppliedPreset> applyPresetFile(HostedPlugin& plugin, const std::string& file, int bits,
                                      RecordPart part) {
    if (isPresetContainer(file)) {
        auto notes = loadState(plugin, file);
        if (!notes) return Error{notes.error()};
        if (notes->name.empty()) notes->name = fs::path(file).stem().string();
        if (auto done = deliver(plugin, {}, bits); !done) return Error{done.error()};
        return AppliedPreset{PresetKind::State, *notes, std::nullopt};
    }
    auto preset = readProductPreset(file, shownRecord(plugin));
    if (!preset) return Error{preset.error()};
    if (auto known = checkIsProduct(plugin, file); !known) return Error{known.error()};
    setRecord(plugin, preset->record, part);
    if (auto done = deliver(plugin, {}, bits); !done) return Error{done.error()};
    // The controller's state would tell of the preset that was chosen before.
    return AppliedPreset{
        PresetKind::ProductFile, {std::string(presetName(preset->record)), {}, false}, *preset};
}

Result<AppliedPreset> applyPreset(HostedPlugin& plugin, const std::string& nameOrFile, int bits,
                                  RecordPart part) {
    const auto programs = listPrograms(plugin);
    const Program* program = findProgram(programs, nameOrFile);
    if (program == nullptr) {
        if (looksLikeFile(nameOrFile)) return applyPresetFile(plugin, nameOrFile, bits, part);
        return unknownProgram(plugin, programs, nameOrFile);
    }
    if (auto done = deliver(plugin, chooseProgram(plugin, *program), bits); !done)
        return Error{done.error()};
    return AppliedPreset{
        PresetKind::Program, {program->name, program->category, true}, std::nullopt};
}

}  // namespace Quorvant::Hosting
