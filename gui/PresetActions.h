// What the preset bar and the browser do, and ask of the editor.
#pragma once

#include "gui/Desk.h"
#include "gui/EditorContext.h"
#include "gui/Overlays.h"
#include "presets/PresetManager.h"

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Quorvant {

// The editor's services that only the preset views need.
class PresetDesk {
  public:
    virtual ~PresetDesk() = default;
    virtual EditorContext& editor() = 0;
    virtual Desk& desk() = 0;
    virtual VSTGUI::CFrame* frame() = 0;
    // A line in the bar, for some seconds.
    virtual void tell(std::string text) = 0;
    // A question above everything; a field where `initial` is told.
    virtual void ask(std::string question, std::vector<QuestionBox::Answer> answers,
                     const std::string* initial = nullptr) = 0;
    virtual void openBrowser(bool open) = 0;
    virtual void openConfiguration(const CRect& anchor) = 0;
    virtual void openZoomMenu(const CRect& anchor) = 0;
    virtual void changeSettings(const std::function<void(UserSettings&)>& change) = 0;
};

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
    void rename(const PresetLocation& location, const std::string& name);
    void remove(const PresetLocation& location, const std::string& name);
    void reveal(const PresetLocation& location);
    void openFolder();

  private:
    void report(PresetFault fault);
    void saveTo(const std::filesystem::path& file);
    // What a change of preset leaves alone.
    ParameterSet kept() const;

    PresetDesk& owner;
};

}  // namespace Quorvant
