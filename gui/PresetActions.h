// What the preset bar and the browser do, and ask of the editor.
#pragma once

#include "gui/EditorContext.h"
#include "presets/PresetManager.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Quorvant {

// The name under which a preset is kept among the user's favourites: it survives a change of place
// in the list.
std::string favouriteKey(const PresetLocation& location, const std::string& list,
                         const std::string& name);

// Main thread. Every action is safe without a preset manager, and tells what failed.
class PresetActions {
  public:
    explicit PresetActions(EditorContext& context) : editor(context) {}

    PresetManager* manager() const { return editor.model().presets(); }
    void choose(const PresetLocation& location);
    void step(int direction);
    void undo();
    void redo();
    void save();
    void load();
    void copy();
    void paste();
    void selectSetup(bool b);
    void copyBetweenSetups();
    // Lets the user edit the name of the current setup.
    // The preset that was chosen, where it is one of a list.
    bool canBeFavourite() const;
    bool isFavourite() const;
    void toggleFavourite();
    void editName();
    void rename(const PresetLocation& location, const std::string& list, const std::string& name);
    void remove(const PresetLocation& location, const std::string& list, const std::string& name);
    void reveal(const PresetLocation& location);
    void openFolder();
    void scanFolders();

  private:
    void report(PresetFault fault);
    // Asks first where the file is there and nobody has asked for it by that name.
    void saveAs(const std::filesystem::path& file);
    void saveTo(const std::filesystem::path& file);
    // What a change of preset leaves alone.
    ParameterSet kept() const;

    EditorContext& editor;
};

}  // namespace Quorvant
