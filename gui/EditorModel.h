// All that the editor needs of the plug-in around it. The edit controller implements it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Quorvant {

class PresetManager;

struct HostMenuItem {
    std::string title;
    std::function<void()> action;
};

// Main thread. Whatever changes behind the editor's back is told through Editor::parameterChanged
// and Editor::presetsChanged.
class EditorModel {
  public:
    virtual ~EditorModel() = default;

    // Normalised value of a parameter 0 ... 41.
    virtual double value(uint32_t index) const = 0;
    // A gesture: begin, any number of performs, end; value() follows at once. A change that is not
    // accepted leaves value() as it was.
    virtual void beginEdit(uint32_t index) = 0;
    virtual void performEdit(uint32_t index, double value) = 0;
    virtual void endEdit(uint32_t index) = 0;

    // The last value of an engine reading (OutputIndex.h), 0 before the first.
    virtual double reading(uint32_t outputIndex) const = 0;

    // Null where the plug-in runs without presets.
    virtual PresetManager* presets() = 0;

    // The host's own menu for a parameter, with these items above its own, at a point of the frame
    // in pixels; false where the host has none. It may be open after the call, and after the
    // editor: the actions bear that. Amid the call the host may close the editor.
    virtual bool showHostMenu(uint32_t index, std::vector<HostMenuItem> items, double x,
                              double y) = 0;
    // Asks the host for another size of the view, in pixels. On success the host calls back with
    // the size as it does when the user drags the window.
    virtual bool requestSize(int width, int height) = 0;

    // The instance's own zoom in percent, 0 as long as the user's default holds.
    virtual int zoom() const = 0;
    virtual void setZoom(int percent) = 0;
};

}  // namespace Quorvant
