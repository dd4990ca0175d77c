// The strip of preset controls along the top.
#pragma once

#include "gui/HintDisplay.h"
#include "gui/PresetActions.h"
#include "gui/controls/Buttons.h"

#include <vstgui/lib/cviewcontainer.h>

namespace Quorvant {

class PresetBar final : public VSTGUI::CViewContainer, public CutText {
  public:
    PresetBar(const CRect& size, PresetDesk& desk, PresetActions& actions);

    // Reads everything anew from the preset manager.
    void refresh();
    void setZoomText(const std::string& text);
    void setMessage(const std::string& text);
    const std::string& messageText() const { return message; }
    std::string nameDisplay() const;
    std::string wholeTextAt(CPoint where) const override;
    void drawBackgroundRect(VSTGUI::CDrawContext* context, const CRect& rect) override;

    ActionButton& nameField() { return *name; }
    ActionButton& undoButton() { return *undo; }
    ActionButton& redoButton() { return *redo; }

  private:
    PresetDesk& desk;
    PresetActions& actions;
    ActionButton* name;
    ActionButton* previous;
    ActionButton* next;
    ActionButton* undo;
    ActionButton* redo;
    ActionButton* setupA;
    ActionButton* setupB;
    ActionButton* copySetup;
    ActionButton* zoom;
    std::string message;
};

// Lets the user edit the name of the current setup.
void editPresetName(PresetDesk& desk);

}  // namespace Quorvant
