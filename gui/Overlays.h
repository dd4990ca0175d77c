// What opens above the panels: menus, questions and hints.
#pragma once

#include "gui/EditorContext.h"
#include "gui/TextField.h"

#include <vstgui/lib/cviewcontainer.h>

#include <functional>
#include <string>
#include <vector>

namespace Quorvant {

// Covers the whole editor; a click beside its content closes it.
class Overlay : public VSTGUI::CViewContainer {
  public:
    Overlay(const CRect& size, std::function<void()> close);
    void onMouseDownEvent(VSTGUI::MouseDownEvent& event) override;
    void onMouseWheelEvent(VSTGUI::MouseWheelEvent& event) override;
    void dismiss() {
        if (close) close();
    }
    void setCloseAction(std::function<void()> action) { close = std::move(action); }

  protected:
    CRect content;  // where clicks belong to the overlay

  private:
    std::function<void()> close;
};

class PopupMenu final : public Overlay {
  public:
    PopupMenu(const CRect& size, Menu menu, const CRect& anchor, std::function<void()> close);
    const Menu& items() const { return menu; }
    // Where an entry is, in the editor's pixels.
    CRect itemRect(std::size_t index) const { return rects[index]; }
    void drawBackgroundRect(VSTGUI::CDrawContext* context, const CRect& rect) override;
    void onMouseDownEvent(VSTGUI::MouseDownEvent& event) override;
    void onMouseMoveEvent(VSTGUI::MouseMoveEvent& event) override;

  private:
    Menu menu;
    std::vector<CRect> rects;
    int hovered = -1;
};

// A sentence with buttons, and a text field where `field` is told.
class QuestionBox final : public Overlay {
  public:
    struct Answer {
        std::string title;
        std::function<void(std::string text)> action;  // may be empty
    };
    // The first answer takes the field's text, and is also that of the Return key there.
    QuestionBox(const CRect& size, std::string question, std::vector<Answer> answers,
                std::function<void()> close, const std::string* field = nullptr);
    TextField* textField() const { return field; }
    const std::string& question() const { return text; }
    void drawBackgroundRect(VSTGUI::CDrawContext* context, const CRect& rect) override;

  private:
    std::string text;
    TextField* field = nullptr;
};

// A hint near the control it belongs to; lines break at line feeds.
class HintBubble final : public VSTGUI::CView {
  public:
    HintBubble(const CRect& editor, const CRect& control, std::string text);
    const std::string& text() const { return hint; }
    void draw(VSTGUI::CDrawContext* context) override;

  private:
    std::string hint;
    std::vector<std::string> lines;
};

}  // namespace Quorvant
