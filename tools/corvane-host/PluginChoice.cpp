#include "tools/corvane-host/PluginChoice.h"

#include "tools/corvane-host/BlockBuffers.h"
#include "tools/corvane-host/PresetChoice.h"
#include "tools/corvane-host/Report.h"
#include "tools/hosting/Text.h"

#include <cstdlib>
#include <filesystem>

#ifdef _WIN32
#include <windows.h>
#endif

namespace Quorvant::Hosting {

namespace fs = std::filesystem;

namespace {

#ifdef _WIN32
constexpr const char* kSystemFolder = "windows";
#else
constexpr const char* kSystemFolder = "linux";
#endif

constexpr const char* kOwnName = "Corvane QVX77x";

fs::path programFolder() {
#ifdef _WIN32
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return fs::path(path).parent_path();
#else
    std::error_code failure;
    return fs::read_symlink("/proc/self/exe", failure).parent_path();
#endif
}

// Where hosts look for plug-ins; empty where there is none of that name.
std::string installed(const std::string& name) {
    for (const std::string& path : VST3::Hosting::Module::getModulePaths())
        if (sameText(fs::path(path).stem().string(), name)) return path;
    return {};
}

// Our own, in the folder that was unpacked or built, else as it is installed.
std::string ownPlugin() {
    const fs::path above = programFolder().parent_path();
    std::error_code failure;
    for (const fs::path& folder : {above, above / kSystemFolder}) {
        const fs::path bundle = folder / (std::string(kOwnName) + ".vst3");
        if (fs::exists(bundle, failure)) return bundle.string();
    }
    return installed(kOwnName);
}

template <typename Sample>
Steinberg::tresult deliverIn(HostedPlugin& plugin, std::vector<ParameterPoint> points) {
    BlockBuffers<Sample> silence(plugin, 1);
    silence.block.frames = 1;
    silence.block.points = std::move(points);
    return plugin.process(silence.block);
}

}  // namespace

HostedPlugin::Ptr openPlugin(const PluginChoice& choice) {
    std::error_code failure;
    std::string path = choice.plugin.empty() ? ownPlugin() : choice.plugin;
    if (path.empty())
        throw Failure{
            "there is no plug-in beside this program, nor an installed one; name one with "
            "--plugin"};
    if (!fs::exists(path, failure))
        if (const std::string found = installed(path); !found.empty()) path = found;
    return orThrow(HostedPlugin::load(path));
}

void prepareAsItIs(HostedPlugin& plugin, double rate, int maxFrames) {
    using namespace Steinberg::Vst;
    HostSetup setup;
    setup.sampleRate = rate;
    setup.maxFrames = maxFrames;
    setup.mainInputs = plugin.buses(kInput).empty() ? 0 : plugin.buses(kInput)[0].channels;
    setup.mainOutputs = plugin.buses(kOutput).empty() ? 0 : plugin.buses(kOutput)[0].channels;
    orThrow(plugin.prepare(setup));
}

ParameterPoint resolveSetting(const HostedPlugin& plugin, const std::string& name,
                              const std::string& text) {
    const Parameter* parameter = plugin.findParameter(name);
    if (parameter == nullptr)
        throw Failure{"there is no parameter " + inQuotes(name) +
                      ", 'corvane-host params' lists all that there are"};
    if (parameter->has(Steinberg::Vst::ParameterInfo::kIsReadOnly))
        throw Failure{"the parameter " + inQuotes(parameter->title) + " is read-only"};
    if (text.starts_with('@')) {
        char* end = nullptr;
        const double value = std::strtod(text.c_str() + 1, &end);
        if (end == text.c_str() + 1 || *end != '\0' || !(value >= 0.0 && value <= 1.0))
            throw Failure{inQuotes(text) + " is no normalised value, they go from @0 to @1"};
        return {parameter->id, 0, value};
    }
    return {parameter->id, 0, orThrow(plugin.valueOf(*parameter, text))};
}

void deliver(HostedPlugin& plugin, std::vector<ParameterPoint> points) {
    const auto answer = plugin.isDoublePrecision() ? deliverIn<double>(plugin, std::move(points))
                                                   : deliverIn<float>(plugin, std::move(points));
    if (answer != Steinberg::kResultOk)
        throw Failure{inQuotes(plugin.name()) + " failed to process a block"};
}

std::vector<ParameterPoint> applySettings(HostedPlugin& plugin, const PluginChoice& choice) {
    if (!choice.preset.empty()) applyPreset(plugin, choice.preset);
    std::vector<ParameterPoint> points;
    for (const std::string& setting : choice.settings) {
        const size_t equals = setting.find('=');
        auto point = resolveSetting(plugin, setting.substr(0, equals), setting.substr(equals + 1));
        points.push_back(point);
        plugin.setParameter(point.id, point.value);
    }
    deliver(plugin, {});
    plugin.setProcessing(false);
    plugin.setActive(false);
    if (plugin.setActive(true) != Steinberg::kResultOk)
        throw Failure{inQuotes(plugin.name()) + " refused to start again"};
    plugin.setProcessing(true);
    return points;
}

std::string shownValue(const HostedPlugin& plugin, const Parameter& parameter, double normalised) {
    const std::string text = plugin.textOf(parameter, normalised);
    if (text.empty()) return std::string("@").append(number(normalised, 4));
    return parameter.units.empty() ? text : text + " " + parameter.units;
}

}  // namespace Quorvant::Hosting
