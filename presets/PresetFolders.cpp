#include "presets/PresetFolders.h"

#include "platform/DebugText.h"
#include "platform/Folders.h"
#include "platform/Utf8Path.h"
#include "presets/PresetFile.h"

#include <algorithm>
#include <optional>

namespace Quorvant {
namespace {

using Path = std::filesystem::path;

constexpr char kMainFolderName[] = "#MAIN FOLDER";

// The lower case of the alphabets that file names are most written in; other characters stay.
char32_t lowerCase(char32_t c) {
    const bool pairedLatin = c >= 0x100 && c <= 0x137;  // upper and lower case side by side
    if (pairedLatin) return c | 1;
    if ((c >= 'A' && c <= 'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7)) return c + 0x20;
    if (c >= 0x391 && c <= 0x3A9) return c + 0x20;  // Greek
    if (c >= 0x410 && c <= 0x42F) return c + 0x20;  // Cyrillic
    if (c >= 0x400 && c <= 0x40F) return c + 0x50;
    return c;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Of well-formed UTF-8. A number stands in it as a digit, so that it keeps its place among other
// characters, then its length, then itself: thus keys compare as the numbers do.
std::u32string sortKey(std::string_view name) {
    std::u32string key;
    for (std::size_t i = 0; i < name.size();) {
        if (isDigit(name[i])) {
            while (i < name.size() && name[i] == '0') ++i;
            const std::size_t first = i;
            while (i < name.size() && isDigit(name[i])) ++i;
            key += U'0';
            key += static_cast<char32_t>(i - first);
            key.append(name.begin() + first, name.begin() + i);
            continue;
        }
        const auto lead = static_cast<unsigned char>(name[i]);
        const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        char32_t code = length == 1 ? lead : lead & (0x7Fu >> length);
        for (std::size_t k = 1; k < length && i + k < name.size(); ++k)
            code = (code << 6) | (static_cast<unsigned char>(name[i + k]) & 0x3Fu);
        key += lowerCase(code);
        i += length;
    }
    return key;
}

template <typename Entry>
void sortByName(std::vector<Entry>& entries) {
    std::vector<std::pair<std::u32string, Entry>> keyed;
    keyed.reserve(entries.size());
    for (auto& entry : entries) keyed.emplace_back(sortKey(entry.name), std::move(entry));
    std::sort(keyed.begin(), keyed.end(), [](const auto& a, const auto& b) {
        return a.first != b.first ? a.first < b.first : a.second.name < b.second.name;
    });
    entries.clear();
    for (auto& [key, entry] : keyed) entries.push_back(std::move(entry));
}

// Calls visit(entry) for what the folder holds; a folder that can't be read holds nothing.
template <typename Visit>
void forEachIn(const Path& folder, Visit&& visit) {
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error))
        visit(*entry);
}

void scanFiles(PresetFolder& folder) {
    writeDebugText("\nLooking for *.qvx files in:\n" + utf8FromPath(folder.path) + "\n");
    folder.files.clear();
    forEachIn(folder.path, [&](const std::filesystem::directory_entry& entry) {
        std::error_code error;
        if (isPresetFile(entry.path()) && entry.is_regular_file(error))
            folder.files.push_back({entry.path(), shownText(utf8FromPath(entry.path().stem()))});
    });
    sortByName(folder.files);
}

// The place of the entry that has this path, or leads to the same file or folder by another one: a
// link, or letters of another case where the system takes both for one.
template <typename Entry>
std::optional<int32_t> placeOf(const std::vector<Entry>& entries, Path Entry::*pathOf,
                               const Path& path) {
    const auto place = [&](auto&& matches) -> std::optional<int32_t> {
        const auto found = std::find_if(entries.begin(), entries.end(),
                                        [&](const Entry& entry) { return matches(entry.*pathOf); });
        if (found == entries.end()) return std::nullopt;
        return static_cast<int32_t>(found - entries.begin());
    };
    if (const auto same = place([&](const Path& other) { return other == path; })) return same;
    std::error_code error;
    if (!std::filesystem::exists(path, error)) return std::nullopt;
    return place(
        [&](const Path& other) { return std::filesystem::equivalent(other, path, error); });
}

PresetFault createFolder(const Path& folder) {
    if (folder.empty()) return PresetFault::NoFolder;
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    return presetFault(error, PresetFault::NoFolder);
}

}  // namespace

const Path& mainPresetFolder() {
    static const Path folder = [] {
        const Path documents = documentsFolder();
        if (documents.empty()) return Path();
        Path main = documents / "Quorvant" / "Corvane QVX77x" / "User Presets";
        // Saving tries again, and then tells the user.
        createFolder(main);
        return main;
    }();
    return folder;
}

PresetFolders::PresetFolders(Path mainFolder) {
    folders.push_back({std::move(mainFolder), kMainFolderName, {}});
}

PresetFault PresetFolders::ensureMainFolder() const {
    return createFolder(mainFolder());
}

void PresetFolders::scan() {
    const Path main = mainFolder();
    writeDebugText("\nPlugin's Main Preset Folder:\n" + utf8FromPath(main) + "\n");
    std::vector<PresetFolder> found;
    forEachIn(main, [&](const std::filesystem::directory_entry& entry) {
        std::error_code error;
        if (entry.is_directory(error))
            found.push_back({entry.path(), shownText(utf8FromPath(entry.path().filename())), {}});
    });
    sortByName(found);
    if (found.size() > kMostFolders - 1) found.resize(kMostFolders - 1);
    found.insert(found.begin(), {main, kMainFolderName, {}});
    for (auto& folder : found) scanFiles(folder);
    folders = std::move(found);
}

const PresetFileEntry* PresetFolders::entryAt(const PresetLocation& location) const {
    if (location.source != kFromFolder || location.list < 0 || location.preset < 0) return nullptr;
    const auto list = static_cast<std::size_t>(location.list);
    const auto preset = static_cast<std::size_t>(location.preset);
    if (list >= folders.size() || preset >= folders[list].files.size()) return nullptr;
    return &folders[list].files[preset];
}

PresetLocation PresetFolders::locate(const Path& file) const {
    const auto list = placeOf(folders, &PresetFolder::path, file.parent_path());
    if (!list) return {kFromFolder, 0, kNotListed};
    const auto& files = folders[static_cast<std::size_t>(*list)].files;
    const auto preset = placeOf(files, &PresetFileEntry::file, file);
    return {kFromFolder, *list, preset.value_or(kNotListed)};
}

std::string PresetFolders::pathBelow(const PresetLocation& location) const {
    const auto* entry = entryAt(location);
    if (!entry) return {};
    return frontOf(static_cast<std::size_t>(location.list)) + utf8FromPath(entry->file.filename());
}

PresetLocation PresetFolders::locateBelow(std::string_view path) const {
    const auto nameAt = path.rfind('/') + 1;  // 0 where there is none
    for (std::size_t list = 0; list < folders.size(); ++list) {
        if (frontOf(list) != path.substr(0, nameAt)) continue;
        const auto& files = folders[list].files;
        const auto found = std::ranges::find(files, path.substr(nameAt), [](const auto& entry) {
            return utf8FromPath(entry.file.filename());
        });
        const bool listed = found != files.end();
        return {kFromFolder, static_cast<int32_t>(list),
                listed ? static_cast<int32_t>(found - files.begin()) : kNotListed};
    }
    return {kFromFolder, 0, kNotListed};
}

// What stands before a file's name in its path below the main folder.
std::string PresetFolders::frontOf(std::size_t list) const {
    return list == 0 ? "" : utf8FromPath(folders[list].path.filename()) + "/";
}

}  // namespace Quorvant
