#include "tools/corvane-host/PresetChoice.h"

#include "platform/Utf8Path.h"
#include "tools/corvane-host/Nearest.h"
#include "tools/corvane-host/PluginChoice.h"
#include "tools/corvane-host/ProductPreset.h"
#include "tools/corvane-host/Programs.h"
#include "tools/corvane-host/StateFile.h"
#include "tools/hosting/Text.h"

#include <algorithm>

namespace Quorvant::Hosting {

namespace {

bool looksLikeFile(const std::string& text) {
    const std::filesystem::path path = pathFromUtf8(text);
    const std::string extension = utf8FromPath(path.extension());
    std::error_code failure;
    return sameText(extension, ".qvx") || sameText(extension, ".vstpreset") ||
           std::filesystem::is_regular_file(path, failure);
}

Result<> applyFile(HostedPlugin& plugin, const std::string& file, int bits) {
    if (isPresetContainer(file)) return loadState(plugin, file);
    if (auto known = checkIsProduct(plugin, file); !known) return known;
    auto record = readProductPreset(pathFromUtf8(file), shownRecord(plugin));
    if (!record) return Error{record.error()};
    setRecord(plugin, *record, RecordPart::PresetChoice);
    return deliver(plugin, {}, bits);
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

Result<> applyPreset(HostedPlugin& plugin, const std::string& nameOrFile, int bits) {
    const auto programs = listPrograms(plugin);
    if (const Program* program = findProgram(programs, nameOrFile))
        return deliver(plugin, chooseProgram(plugin, *program), bits);
    if (looksLikeFile(nameOrFile)) return applyFile(plugin, nameOrFile, bits);
    return unknownProgram(plugin, programs, nameOrFile);
}

}  // namespace Quorvant::Hosting
