#include "gui/PresetActions.h"

#include "platform/Utf8Path.h"
#include "presets/PresetFile.h"
#include "presets/PresetTexts.h"

#include <system_error>

namespace Quorvant {

void PresetActions::report(PresetFault fault) {
    if (fault != PresetFault::None) owner.tell(std::string(presetFaultText(fault)));
}

ParameterSet PresetActions::kept() const {
    ParameterSet set;
    set[kMix] = owner.editor().settings().mixLock;
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
    if (fault == PresetFault::None && !leftOut.empty()) owner.tell(leftOutText(leftOut));
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
    if (fault == PresetFault::None) owner.tell("Saved " + utf8FromPath(file.filename()));
}

void PresetActions::save() {
    auto* presets = manager();
    if (!presets) return;
    if (const PresetFault fault = presets->ensureMainFolder(); fault != PresetFault::None) {
        report(fault);
        return;
    }
    const std::string name = presets->proposedFileName();
    const auto* frame = owner.frame();
    if (frame &&
        owner.desk().askForFile(*owner.frame(), true, kSaveDialogTitle, presets->mainFolder(), name,
                                [this](std::filesystem::path file) {
                                    if (manager()) saveTo(withPresetExtension(file));
                                })) {
        return;
    }
    // A system without such a dialog: a name in the main folder will do.
    const std::string initial = utf8FromPath(pathFromUtf8(name).stem());
    const auto accept = [this](const std::string& typed) {
        auto* target = manager();
        if (!target || typed.empty()) return;
        if (!isFileName(typed)) {
            report(PresetFault::BadName);
            return;
        }
        const auto file =
            target->mainFolder() / pathFromUtf8(typed + std::string(kPresetExtension));
        std::error_code error;
        if (!std::filesystem::exists(file, error)) {
            saveTo(file);
            return;
        }
        owner.ask("\"" + typed + "\" exists already. Replace it?",
                  {{"Replace",
                    [this, file](const std::string&) {
                        if (manager()) saveTo(file);
                    }},
                   {"Cancel", {}}});
    };
    owner.ask("Save preset in your preset folder as:", {{"Save", accept}, {"Cancel", {}}},
              &initial);
}

void PresetActions::load() {
    auto* presets = manager();
    if (!presets) return;
    const auto open = [this](const std::filesystem::path& file) {
        if (auto* target = manager()) report(target->loadFile(file, kept()));
    };
    if (owner.frame() && owner.desk().askForFile(*owner.frame(), false, "Load preset",
                                                 presets->mainFolder(), "", open)) {
        return;
    }
    const std::string initial;
    owner.ask("Load the preset file (its full path):",
              {{"Load",
                [open](const std::string& typed) {
                    if (!typed.empty()) open(pathFromUtf8(typed));
                }},
               {"Cancel", {}}},
              &initial);
}

void PresetActions::copy() {
    auto* presets = manager();
    if (!presets) return;
    const PresetFault fault = presets->copyToMemo();
    report(fault);
    if (fault == PresetFault::None) owner.tell("Copied: paste it in any instance");
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
    owner.tell(fromA ? "Copied A to B" : "Copied B to A");
}

void PresetActions::rename(const PresetLocation& location, const std::string& name) {
    owner.ask("Rename the preset file to:",
              {{"Rename",
                [this, location](const std::string& typed) {
                    if (auto* presets = manager()) report(presets->renameFile(location, typed));
                }},
               {"Cancel", {}}},
              &name);
}

void PresetActions::remove(const PresetLocation& location, const std::string& name) {
    owner.ask("Delete the preset file \"" + name + "\" for good?",
              {{"Delete",
                [this, location](const std::string&) {
                    if (auto* presets = manager()) report(presets->deleteFile(location));
                }},
               {"Cancel", {}}});
}

void PresetActions::reveal(const PresetLocation& location) {
    auto* presets = manager();
    if (presets && presets->revealFile(location) != PresetFault::None)
        owner.tell(kNoPresetFileText);
}

void PresetActions::openFolder() {
    auto* presets = manager();
    if (presets && !presets->openMainFolder()) owner.tell(kNoPresetFolderText);
}

}  // namespace Quorvant
