#include "tools/corvane-host/PluginChoice.h"

#include "tools/corvane-host/BlockBuffers.h"
#include "tools/corvane-host/Nearest.h"
#include "tools/corvane-host/PresetChoice.h"
#include "tools/corvane-host/Report.h"
#include "tools/corvane-host/StateFile.h"
#include "tools/hosting/Text.h"

#include "public.sdk/source/vst/hosting/module.h"

#include <algorithm>
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

constexpr const char* kBundleName = "Corvane QVX77x.vst3";

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

std::string bundleIn(const fs::path& folder) {
    std::error_code failure;
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator(folder, failure))
        if (entry.path().extension() == ".vst3") found.push_back(entry.path().string());
    return found.empty() ? std::string() : *std::ranges::min_element(found);
}

// Beside the program, or in the delivered folders next to it or above it.
std::string deliveredBundle() {
    fs::path folder = programFolder();
    for (int level = 0; level < 6 && !folder.empty(); ++level) {
        for (const fs::path& place :
             {folder, folder / kSystemFolder, folder / "dist" / kSystemFolder})
            if (auto bundle = bundleIn(place); !bundle.empty()) return bundle;
        if (folder == folder.root_path()) break;
        folder = folder.parent_path();
    }
    return {};
}

// Where hosts look for plug-ins.
std::string installedBundle() {
    for (const std::string& path : VST3::Hosting::Module::getModulePaths())
        if (fs::path(path).filename() == kBundleName) return path;
    return {};
}

std::string nearestTitles(const HostedPlugin& plugin, const std::string& name) {
    std::vector<std::string> titles;
    for (const Parameter& parameter : plugin.parameters()) titles.push_back(parameter.title);
    return nearestNames(titles, name);
}

template <typename Sample>
Steinberg::tresult deliverIn(HostedPlugin& plugin, std::vector<ParameterPoint> points) {
    BlockBuffers<Sample> silence(plugin, 1);
    silence.block.frames = 1;
    silence.block.points = std::move(points);
    return plugin.process(silence.block);
}

}  // namespace

Result<HostedPlugin::Ptr> openPlugin(const PluginChoice& choice) {
    std::string bundle = choice.bundle.empty() ? deliveredBundle() : choice.bundle;
    if (bundle.empty()) bundle = installedBundle();
    if (bundle.empty())
        return Error{
            "there is no plug-in beside this program, nor an installed one; name one with "
            "--plugin"};
    auto plugin = HostedPlugin::load(bundle, choice.className);
    if (plugin && (*plugin)->controller() == nullptr)
        return Error{"'" + bundle + "' has no controller, so its parameters have no names"};
    return plugin;
}

Result<> prepareAsItIs(HostedPlugin& plugin, double rate, int maxFrames, int bits) {
    using namespace Steinberg::Vst;
    HostSetup setup;
    setup.sampleRate = rate;
    setup.maxFrames = maxFrames;
    setup.doublePrecision = bits == 64;
    setup.mainInputs = plugin.buses(kInput).empty() ? 0 : plugin.buses(kInput)[0].channels;
    setup.mainOutputs = plugin.buses(kOutput).empty() ? 0 : plugin.buses(kOutput)[0].channels;
    return plugin.prepare(setup);
}

Result<ParameterPoint> resolveSetting(const HostedPlugin& plugin, const std::string& name,
                                      const std::string& text) {
    const Parameter* parameter = plugin.findParameter(name);
    if (parameter == nullptr)
        return Error{"there is no parameter '" + name + "', the nearest are " +
                     nearestTitles(plugin, name)};
    if (parameter->has(Steinberg::Vst::ParameterInfo::kIsReadOnly))
        return Error{"the parameter '" + parameter->title + "' is read-only"};
    if (text.starts_with('@')) {
        char* end = nullptr;
        const double value = std::strtod(text.c_str() + 1, &end);
        if (end == text.c_str() + 1 || *end != '\0' || !(value >= 0.0 && value <= 1.0))
            return Error{"'" + text + "' is no normalised value, they go from @0 to @1"};
        return ParameterPoint{parameter->id, 0, value};
    }
    auto value = plugin.valueOf(*parameter, text);
    if (!value) return Error{value.error()};
    return ParameterPoint{parameter->id, 0, *value};
}

Result<> deliver(HostedPlugin& plugin, std::vector<ParameterPoint> points, int bits) {
    const auto answer = bits == 64 ? deliverIn<double>(plugin, std::move(points))
                                   : deliverIn<float>(plugin, std::move(points));
    if (answer != Steinberg::kResultOk)
        return Error{inQuotes(plugin.description().name) + " failed to process a block"};
    return {};
}

Result<std::vector<ParameterPoint>> applySettings(HostedPlugin& plugin, const PluginChoice& choice,
                                                  int bits) {
    if (!choice.stateFile.empty())
        if (auto loaded = loadState(plugin, choice.stateFile); !loaded)
            return Error{loaded.error()};
    if (!choice.preset.empty())
        if (auto applied = applyPreset(plugin, choice.preset, bits); !applied)
            return Error{applied.error()};
    std::vector<ParameterPoint> points;
    for (const std::string& setting : choice.settings) {
        const size_t equals = setting.find('=');
        auto point = resolveSetting(plugin, setting.substr(0, equals), setting.substr(equals + 1));
        if (!point) return Error{point.error()};
        points.push_back(*point);
        plugin.setParameter(point->id, point->value);
    }
    if (auto delivered = deliver(plugin, {}, bits); !delivered) return Error{delivered.error()};
    plugin.setProcessing(false);
    plugin.setActive(false);
    if (plugin.setActive(true) != Steinberg::kResultOk)
        return Error{"'" + plugin.description().name + "' refused to start again"};
    plugin.setProcessing(true);
    return points;
}

std::string shownValue(const HostedPlugin& plugin, const Parameter& parameter, double normalised) {
    const std::string text = plugin.textOf(parameter, normalised);
    if (text.empty()) return std::string("@").append(number(normalised, 4));
    return parameter.units.empty() ? text : text + " " + parameter.units;
}

}  // namespace Quorvant::Hosting
