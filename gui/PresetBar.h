// The strip of preset controls along the top.
#pragma once

#include "gui/PresetActions.h"
#include "gui/controls/Buttons.h"

#include <vstgui/lib/cviewcontainer.h>

namespace Quorvant {

class PresetBar final : public VSTGUI::CViewContainer, public CutText {
  public:
    PresetBar(const CRect& size, EditorContext& context, PresetActions& actions);

    // Reads everything anew from the preset manager.
    void refresh();
    void setZoomText(const std::string& text);
    void setMessage(const std::string& text);
    const std::string& messageText() const { return message; }
    std::string nameDisplay() const;
    std::string wholeTextAt(CPoint where) const override;
    void drawBackgroundRect(VSTGUI::CDrawContext* context, const CRect& rect) override;

  private:
    EditorContext& editor;
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

}  // namespace Quorvant
