#include "presets/PresetFile.h"

#include "platform/AtomicFile.h"
#include "platform/Utf8Path.h"
#include "presets/LegacyImport.h"

#include <algorithm>
#include <array>

namespace Quorvant {
namespace {

using Path = std::filesystem::path;

// Far more than any preset takes; what lies behind it is never read.
constexpr std::size_t kMostBytes = 1 << 20;

bool isForbidden(char c) {
    constexpr std::string_view kForbidden = "<>:\"/\\|?*";
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F ||
           kForbidden.find(c) != std::string_view::npos;
}

std::string upperCase(std::string_view text) {
    std::string upper(text);
    for (char& c : upper)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return upper;
}

// Windows keeps these for devices, with any extension and blanks before it.
bool isDeviceName(std::string_view name) {
    std::string stem = upperCase(name.substr(0, name.find_first_of(".:")));
    stem.erase(stem.find_last_not_of(' ') + 1);
    constexpr std::array<std::string_view, 6> kDevices = {"CON", "PRN",    "AUX",
                                                          "NUL", "CONIN$", "CONOUT$"};
    if (std::ranges::find(kDevices, stem) != kDevices.end()) return true;
    if (!stem.starts_with("COM") && !stem.starts_with("LPT")) return false;
    constexpr std::array<std::string_view, 13> kPorts = {"0", "1", "2", "3", "4", "5", "6",
                                                         "7", "8", "9", "¹", "²", "³"};
    return std::ranges::find(kPorts, stem.substr(3)) != kPorts.end();
}

bool isDevice(const Path& file) {
    return isDeviceName(utf8FromPath(file.filename()));
}

bool isTaken(BlobResult result) {
    return result == BlobResult::Applied || result == BlobResult::AppliedInPart;
}

}  // namespace

PresetFault loadPreset(const Path& file, QVXPresetRecord& record) {
    if (isDevice(file)) return PresetFault::NotAPreset;  // reading one may never end
    std::vector<std::byte> bytes;
    if (const auto error = readFile(file, kMostBytes, bytes))
        return presetFault(error, PresetFault::NotFound);
    return isTaken(readPreset(bytes, record)) ? PresetFault::None : PresetFault::NotAPreset;
}

PresetFault loadPresetFile(const Path& mainFolder, std::string_view name,
                           std::string_view subfolder, QVXPresetRecord& record) {
    const auto isPlain = [](std::string_view part) {
        return part != "." && part != ".." && part.find_first_of("/\\:") == std::string_view::npos;
    };
    if (name.empty() || !isPlain(name) || !isPlain(subfolder)) return PresetFault::BadName;
    Path folder = mainFolder;
    if (!subfolder.empty()) folder /= pathFromUtf8(subfolder);
    return loadPreset(folder / pathFromUtf8(std::string(name) + std::string(kPresetExtension)),
                      record);
}

PresetFault savePreset(const Path& file, const QVXPresetRecord& record,
                       const PresetLocation& location) {
    if (file.filename().empty() || isDevice(file)) return PresetFault::BadName;
    const auto blob = serialisePreset(record, static_cast<uint32_t>(location.list),
                                      static_cast<uint32_t>(location.preset));
    return presetFault(replaceFile(withPresetExtension(file), blob), PresetFault::NoFolder);
}

PresetFault renamePreset(const Path& file, std::string_view newName) {
    if (!isFileName(newName)) return PresetFault::BadName;
    const Path target = withPresetExtension(file.parent_path() / pathFromUtf8(newName));
    if (const auto error = renameFile(file, target))
        return presetFault(error, PresetFault::NotFound);
    std::vector<std::byte> bytes;
    QVXPresetRecord record{};
    const bool whole = !readFile(target, kMostBytes, bytes) && bytes.size() < kMostBytes;
    if (whole && isTaken(readPreset(bytes, record)) &&
        isNamedAfter(record, utf8FromPath(file.stem()))) {
        renameBlob(bytes, newName);
        replaceFile(target, bytes);  // a file that refuses keeps the old name inside
    }
    return PresetFault::None;
}

PresetFault deletePreset(const Path& file) {
    if (!isPresetFile(file)) return PresetFault::NotAPreset;
    std::error_code error;
    const bool removed = std::filesystem::remove(file, error);
    if (error) return presetFault(error, PresetFault::NotFound);
    return removed ? PresetFault::None : PresetFault::NotFound;
}

bool isFileName(std::string_view name) {
    constexpr std::size_t kMostNameBytes = 255 - kPresetExtension.size();
    if (name.empty() || name.size() > kMostNameBytes || name != validUtf8(name)) return false;
    if (std::any_of(name.begin(), name.end(), isForbidden)) return false;
    const bool edges =
        name.front() == ' ' || name.front() == '.' || name.back() == ' ' || name.back() == '.';
    return !edges && !isDeviceName(name);
}

std::string fileNameFor(std::string_view presetName) {
    std::string name = validUtf8(presetName);
    std::replace_if(name.begin(), name.end(), isForbidden, '-');
    while (!name.empty() && (name.back() == ' ' || name.back() == '.')) name.pop_back();
    name.erase(0, std::min(name.size(), name.find_first_not_of(" .")));
    if (isDeviceName(name)) name.insert(0, "-");
    return name.empty() ? "Preset" : name;
}

bool isNamedAfter(const QVXPresetRecord& record, std::string_view fileName) {
    QVXPresetRecord named{};
    setPresetName(named, fileName);
    return presetName(record) == presetName(named) || fileNameFor(presetName(record)) == fileName;
}

bool hasPresetExtension(const Path& file) {
    return upperCase(utf8FromPath(file.extension())) == upperCase(kPresetExtension);
}

bool isPresetFile(const Path& file) {
    return hasPresetExtension(file) && !isDevice(file);
}

Path withPresetExtension(Path file) {
    if (!hasPresetExtension(file)) file += kPresetExtension;
    return file;
}

}  // namespace Quorvant
