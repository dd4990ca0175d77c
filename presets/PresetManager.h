// Everything that the plug-in does with presets, behind one class for the edit controller.
#pragma once

#include "presets/FactoryBank.h"
#include "presets/PresetFault.h"
#include "presets/PresetFolders.h"
#include "presets/PresetMemo.h"
#include "presets/PresetState.h"
#include "presets/SetupSlots.h"
#include "presets/UndoHistory.h"

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Quorvant {

struct ParameterEdit {
    uint32_t index;  // 0 ... 37
    double value;    // normalised
};

// Whoever owns the parameters. Called on the main thread, from within the manager's own calls.
class PresetHost {
  public:
    virtual ~PresetHost() = default;
    // Takes the values over as one group of edits, in this order: Inf Repeat stands first when it
    // is switched off and last when on, since it holds other parameters while it is on. The edits
    // may come back through parameterEdited.
    virtual void applyParameters(std::span<const ParameterEdit> edits) = 0;
    // Name, modified flag, lists, undo or setup may read differently now.
    virtual void presetsChanged() = 0;
};

// Main thread. A new instance holds the first factory preset in both setups. Choosing a preset
// writes the parameters that belong to presets and leaves the global set and the tempo as they are;
// pasting, and changing between A and B, writes all 38; undo and redo write what their change
// wrote, in its setup, which they select. The parameters in `kept` are left alone as well: they
// stay as they are, get no edit, and count as the setup's own. A fault leaves everything as it was,
// unless told otherwise.
class PresetManager {
  public:
    // The host outlives the manager.
    explicit PresetManager(PresetHost& owner,
                           std::filesystem::path mainFolder = mainPresetFolder());

    // The active setup.
    const QVXPresetRecord& current() const { return slots.active().current; }
    const PresetLocation& location() const { return slots.active().location; }
    // Whether it differs from what was loaded, in what a choice of preset would write.
    bool modified() const { return slots.active().modified; }
    std::string nameDisplay() const;
    void setName(std::string_view name);
    // A parameter has another value, whoever changed it; indices from 38 up are no matter of
    // presets. Values are clamped to 0 ... 1, not-a-number is ignored.
    void parameterEdited(uint32_t index, double value);

    // The lists of a source, and the presets of a list, for menus and browser. An index is that of
    // PresetLocation. The first look at the user's folders scans them.
    std::vector<std::string> listNames(PresetSource source);
    std::vector<std::string> presetNames(PresetSource source, int32_t list);
    // Scans the user's folders again, for what other programs and instances did there: 15 ms for
    // 500 files. Locations follow their files, and the host hears of it where anything has changed.
    void refreshFolders();

    // Changes of preset, each of which can be undone.
    PresetFault choose(const PresetLocation& chosen, const ParameterSet& kept = {});
    // One place on (+1) or back (-1) in the current list; false at its end. From a setup that is
    // not listed, forward leads to the list's first. Files that don't load are passed over, and
    // their names added to `leftOut`; where none loads, the fault of the first is told.
    bool canStep(int direction);
    PresetFault step(int direction, const ParameterSet& kept = {},
                     std::vector<std::string>* leftOut = nullptr);
    PresetFault loadFile(const std::filesystem::path& file, const ParameterSet& kept = {});
    PresetFault pasteFromMemo(const ParameterSet& kept = {});

    bool canUndo() const { return history.canUndo(); }
    bool canRedo() const { return history.canRedo(); }
    void undo(const ParameterSet& kept = {});
    void redo(const ParameterSet& kept = {});

    PresetFault copyToMemo();

    Setup selectedSetup() const { return slots.selected(); }
    // B from 0.5 up.
    void selectSetup(double controlValue, const ParameterSet& kept = {});
    // 0 copies B over A, anything else A over B.
    void copyAB(int direction, const ParameterSet& kept = {});

    // Files. Saving makes the file the place that the setup comes from, listed or not, and gives
    // the setup the file's name unless it is the one that was proposed.
    std::string proposedFileName() const;  // with the extension
    const std::filesystem::path& mainFolder() const { return folders.mainFolder(); }
    PresetFault ensureMainFolder() const { return folders.ensureMainFolder(); }
    PresetFault save(const std::filesystem::path& file);
    PresetFault renameFile(const PresetLocation& place, std::string_view newName);
    PresetFault deleteFile(const PresetLocation& place);
    PresetFault revealFile(const PresetLocation& place);
    bool openMainFolder();

    // The manager's part of the controller's state. `live` are the values that the parameters
    // have, which hold for the active setup whatever was saved. Nothing is applied to the
    // parameters, and there is nothing to undo afterwards.
    SavedSetups saveState() const;
    void restoreState(const SavedSetups& saved,
                      std::span<const double, kStoredParameterCount> live);

  private:
    PresetFault load(const std::filesystem::path& file, const PresetLocation& place,
                     const ParameterSet& kept);
    void take(const QVXPresetRecord& record, const PresetLocation& place,
              const ParameterSet& written);
    void apply(const ParameterSet& written);
    void hear(const QVXPresetRecord& live, const ParameterSet& written, const ParameterSet& kept);
    void stepHistory(std::optional<ParameterSet> (UndoHistory::*move)(SetupSlots&),
                     const ParameterSet& kept);
    void scanOnce();
    bool rescan(const std::filesystem::path& renamed, const std::filesystem::path& newFile);
    template <typename Visit>
    void forEachSetup(Visit&& visit);
    void renameSetups(const PresetLocation& place, std::string_view fileName,
                      std::string_view newName);
    void updateModified();
    int32_t listSize(const PresetLocation& place);
    PresetFault fileAt(const PresetLocation& place, std::filesystem::path& file);

    PresetHost& host;
    PresetFolders folders;
    bool scanned = false;
    SetupSlots slots;
    UndoHistory history;
    PresetMemo memo;
};

}  // namespace Quorvant
