// What the preset bar and the browser do, and ask of the editor.
#pragma once

#include "gui/Desk.h"
#include "gui/EditorContext.h"
#include "gui/QuestionBox.h"
#include "presets/PresetManager.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Quorvant {

// The editor's services beyond those that every control may ask for. Main thread.
class PresetDesk {
  public:
    virtual ~PresetDesk() = default;
    virtual EditorContext& editor() = 0;
    virtual Desk& desk() = 0;
    virtual VSTGUI::CFrame* frame() = 0;
    // A line in the bar, for some seconds.
    virtual void tell(std::string text) = 0;
    // A question above everything; with `initial`, one that a text answers.
    virtual void ask(std::string question, std::vector<QuestionBox::Answer> answers,
                     std::optional<std::string> initial = {}) = 0;
    // An action that does nothing once the editor is gone: for dialogs of the system's.
    virtual std::function<void(std::filesystem::path)> whileOpen(
        std::function<void(std::filesystem::path)> action) = 0;
    virtual void openBrowser() = 0;
    virtual void openAbout() = 0;
    virtual void openManual() = 0;
    virtual void changeSettings(const std::function<void(UserSettings&)>& change) = 0;
    virtual int zoomPercent() const = 0;
    virtual void setZoom(int percent) = 0;
};

// The name under which a preset is kept among the user's favourites: it survives a change of place
// in the list.
std::string favouriteKey(const PresetLocation& location, const std::string& list,
                         const std::string& name);

// Main thread. Every action is safe without a preset manager, and tells what failed.
class PresetActions {
  public:
    explicit PresetActions(PresetDesk& desk) : owner(desk) {}

    PresetManager* manager() const { return owner.editor().model().presets(); }
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
    void rename(const PresetLocation& location, const std::string& list, const std::string& name);
    void remove(const PresetLocation& location, const std::string& name);
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

    PresetDesk& owner;
};

}  // namespace Quorvant
