#include "gui/PresetActions.h"

#include "platform/Utf8Path.h"
#include "presets/PresetFile.h"
#include "presets/PresetTexts.h"

#include <system_error>

namespace Quorvant {

std::string favouriteKey(const PresetLocation& location, const std::string& list,
                         const std::string& name) {
    return location.source == kFromFolder ? "file:" + list + "/" + name : "factory:" + name;
}

void PresetActions::report(PresetFault fault) {
    if (fault != PresetFault::None) editor.tell(std::string(presetFaultText(fault)));
}

ParameterSet PresetActions::kept() const {
    ParameterSet set;
    set[kMix] = editor.settings().mixLock;
    return set;
}

void PresetActions::choose(const PresetLocation& location) {
    if (auto* presets = manager()) report(presets->choose(location, kept()));
}

void PresetActions::step(int direction) {
    auto* presets = manager();
    if (!presets || !presets->canStep(direction)) return;
    std::vector<std::string> leftOut;
    const PresetFault fault = presets->step(direction, kept(), &leftOut);
    report(fault);
    if (fault == PresetFault::None && !leftOut.empty()) editor.tell(leftOutText(leftOut));
}

void PresetActions::undo() {
    if (auto* presets = manager()) presets->undo(kept());
}

void PresetActions::redo() {
    if (auto* presets = manager()) presets->redo(kept());
}

void PresetActions::saveTo(const std::filesystem::path& file) {
    const PresetFault fault = manager()->save(file);
    report(fault);
    if (fault == PresetFault::None) editor.tell("Saved " + utf8FromPath(file.filename()));
}

void PresetActions::saveAs(const std::filesystem::path& file) {
    std::error_code error;
    if (!std::filesystem::exists(file, error)) return saveTo(file);
    editor.ask("\"" + utf8FromPath(file.stem()) + "\" exists already. Replace it?",
               {{"Replace",
                 [this, file](const std::string&) {
                     if (manager()) saveTo(file);
                 }},
                {"Cancel"}});
}

void PresetActions::save() {
    auto* presets = manager();
    if (!presets) return;
    if (const PresetFault fault = presets->ensureMainFolder(); fault != PresetFault::None) {
        report(fault);
        return;
    }
    const std::string name = presets->proposedFileName();
    // The dialog has asked about the very name that it gives back, and about no other.
    const auto save = [this](const std::filesystem::path& chosen) {
        if (!manager()) return;
        if (hasPresetExtension(chosen)) {
            saveTo(chosen);
        } else {
            saveAs(withPresetExtension(chosen));
        }
    };
    if (editor.askForFile(true, kSaveDialogTitle, presets->mainFolder(), name, save)) return;
    // A system without such a dialog: a name in the main folder will do.
    const auto accept = [this](const std::string& typed) {
        auto* target = manager();
        if (!target || typed.empty()) return;
        const auto file = withPresetExtension(pathFromUtf8(typed));
        if (!isFileName(utf8FromPath(file.stem()))) return report(PresetFault::BadName);
        saveAs(target->mainFolder() / file);
    };
    editor.ask("Save preset in your preset folder as:", {{"Save", accept}, {"Cancel"}},
               utf8FromPath(pathFromUtf8(name).stem()));
}

void PresetActions::load() {
    auto* presets = manager();
    if (!presets) return;
    const auto open = [this](const std::filesystem::path& file) {
        if (auto* target = manager()) report(target->loadFile(file, kept()));
    };
    if (editor.askForFile(false, "Load preset", presets->mainFolder(), "", open)) return;
    editor.ask("Load the preset file (its full path):",
               {{"Load",
                 [open](const std::string& typed) {
                     if (!typed.empty()) open(pathFromUtf8(typed));
                 }},
                {"Cancel"}},
               "");
}

void PresetActions::copy() {
    auto* presets = manager();
    if (!presets) return;
    const PresetFault fault = presets->copyToMemo();
    report(fault);
    if (fault == PresetFault::None) editor.tell("Copied: paste it in any instance");
}

void PresetActions::paste() {
    if (auto* presets = manager()) report(presets->pasteFromMemo(kept()));
}

void PresetActions::selectSetup(bool b) {
    if (auto* presets = manager()) presets->selectSetup(b ? 1.0 : 0.0, kept());
}

void PresetActions::copyBetweenSetups() {
    auto* presets = manager();
    if (!presets) return;
    const bool fromA = presets->selectedSetup() == Setup::A;
    presets->copyAB(fromA ? 1 : 0, kept());
    editor.tell(fromA ? "Copied A to B" : "Copied B to A");
}

std::string PresetActions::chosenKey() const {
    const auto* presets = manager();
    if (!presets) return {};
    const PresetLocation& at = presets->location();
    const auto source = static_cast<PresetSource>(at.source);
    const auto lists = presets->listNames(source);
    if (at.list < 0 || at.list >= std::ssize(lists)) return {};
    const auto names = presets->presetNames(source, at.list);
    if (at.preset < 0 || at.preset >= std::ssize(names)) return {};
    return favouriteKey(at, lists[static_cast<std::size_t>(at.list)],
                        names[static_cast<std::size_t>(at.preset)]);
}

bool PresetActions::canBeFavourite() const {
    return !chosenKey().empty();
}

bool PresetActions::isFavourite() const {
    return editor.settings().favourites.contains(chosenKey());
}

void PresetActions::toggleFavourite() {
    const std::string key = chosenKey();
    if (key.empty()) return;
    editor.changeSettings([&key](UserSettings& settings) {
        if (settings.favourites.erase(key) == 0) settings.favourites.insert(key);
    });
}

void PresetActions::editName() {
    auto* presets = manager();
    if (!presets) return;
    const auto accept = [this](const std::string& typed) {
        if (auto* target = manager()) target->setName(typed);
    };
    editor.ask("Name of the current setup:", {{"Rename", accept}, {"Cancel"}},
               std::string(shownText(presetName(presets->current()))));
}

void PresetActions::rename(const PresetLocation& location, const std::string& list,
                           const std::string& name) {
    const auto accept = [this, location, list, name](const std::string& typed) {
        auto* presets = manager();
        if (!presets) return;
        const PresetFault fault = presets->renameFile(location, typed);
        if (fault != PresetFault::None) return report(fault);
        const std::string now = utf8FromPath(withPresetExtension(pathFromUtf8(typed)).stem());
        const std::string before = favouriteKey(location, list, name);
        if (!editor.settings().favourites.contains(before)) return;
        editor.changeSettings([&](UserSettings& settings) {
            settings.favourites.erase(before);
            settings.favourites.insert(favouriteKey(location, list, now));
        });
    };
    editor.ask("Rename the preset file to:", {{"Rename", accept}, {"Cancel"}}, name);
}

void PresetActions::remove(const PresetLocation& location, const std::string& list,
                           const std::string& name) {
    const auto accept = [this, location, list, name](const std::string&) {
        auto* presets = manager();
        if (!presets) return;
        const PresetFault fault = presets->deleteFile(location);
        if (fault != PresetFault::None) return report(fault);
        editor.changeSettings([&](UserSettings& settings) {
            settings.favourites.erase(favouriteKey(location, list, name));
        });
    };
    editor.ask("Delete the preset file \"" + name + "\" for good?",
               {{"Delete", accept}, {"Cancel"}});
}

void PresetActions::reveal(const PresetLocation& location) {
    auto* presets = manager();
    if (presets && presets->revealFile(location) != PresetFault::None)
        editor.tell(kNoPresetFileText);
}

void PresetActions::openFolder() {
    auto* presets = manager();
    if (presets && !presets->openMainFolder()) editor.tell(kNoPresetFolderText);
}

void PresetActions::scanFolders() {
    if (auto* presets = manager()) presets->refreshFolders();
}

}  // namespace Quorvant
