// The end of the strip: what the plug-in is doing, and the corner that resizes the editor.
#pragma once

#include "gui/LiveModel.h"
#include "gui/controls/Control.h"

#include <functional>
#include <string>

namespace Quorvant {

class StatusLine final : public Control {
  public:
    StatusLine(const CRect& size, const LiveModel& model);
    void idle();
    void draw(VSTGUI::CDrawContext* context) override;

  private:
    std::string text() const;

    const LiveModel& model;
    std::string drawn;
};

class Grip final : public Control {
  public:
    // Told where the corner is dragged to.
    Grip(const CRect& size, std::function<void(CPoint)> dragTo)
        : Control(size), dragged(std::move(dragTo)) {}
    void draw(VSTGUI::CDrawContext* context) override;
    void onMouseDownEvent(VSTGUI::MouseDownEvent& event) override;
    void onMouseMoveEvent(VSTGUI::MouseMoveEvent& event) override;

  private:
    void released() override { down = false; }

    std::function<void(CPoint)> dragged;
    bool down = false;
};

}  // namespace Quorvant
