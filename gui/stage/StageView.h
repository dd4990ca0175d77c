// The stage: the echoes of one click to look at and to take hold of, and the clock that bends them.
#pragma once

#include "gui/EditorContext.h"
#include "gui/controls/Control.h"
#include "gui/stage/StageModel.h"

#include <string>
#include <vector>

namespace Quorvant {

// Meant for about 640 x 168 pixels. The first echo is dragged along the time, the others set the
// feedback.
class StageView final : public Control {
  public:
    StageView(const CRect& size, EditorContext& editor);

    // Seen at the next idle call.
    void parameterChanged(uint32_t index);
    // The readings, and whatever has changed, at most 30 times a second.
    void idle();

    // Where things are, in the coordinates of the view's parent: the middle of a handle, or where
    // it would be.
    CPoint timeHandle() const;
    CPoint feedbackHandle() const;
    const StageModel& model() const { return stage; }

    void draw(VSTGUI::CDrawContext* context) override;
    void onMouseDownEvent(VSTGUI::MouseDownEvent& event) override;
    void onMouseMoveEvent(VSTGUI::MouseMoveEvent& event) override;
    void onMouseExitEvent(VSTGUI::MouseExitEvent& event) override;
    void onMouseWheelEvent(VSTGUI::MouseWheelEvent& event) override;
    bool removed(VSTGUI::CView* parent) override;

  private:
    enum class Part { None, Time, Feedback };
    // What was drawn of a bar, besides what the picture tells.
    struct Bar {
        CRect rect;
        int glow = 0;  // steps
    };

    void released() override;
    void refresh();
    void placeBars();
    void followGlow();
    void followDot();
    void followLoop();

    // StageDrawing.cpp
    void drawGrid(VSTGUI::CDrawContext& context) const;
    void drawBars(VSTGUI::CDrawContext& context) const;
    void drawSlope(VSTGUI::CDrawContext& context) const;
    void drawLoop(VSTGUI::CDrawContext& context) const;
    void drawHandles(VSTGUI::CDrawContext& context) const;
    void drawTexts(VSTGUI::CDrawContext& context) const;
    void drawClock(VSTGUI::CDrawContext& context) const;

    double xOf(double ms) const;
    double yOf(double level) const;
    double levelAt(double y) const;
    CRect plotRect() const;
    CRect clockRect() const;
    CRect bendRect() const;
    CRect dotRect() const;
    CRect loopLineRect() const;
    const Echo* secondPass() const;

    Part partAt(CPoint where) const;
    void point(Part part);
    uint32_t parameterOf(Part part) const;
    void begin(Part part, CPoint where);
    void change(Part part, double value);
    void end();

    EditorContext& editor;
    StageModel stage;
    std::vector<Bar> bars;  // the click's, and the echoes'
    bool stale = false;
    uint32_t refreshedAt = 0, toldAt = 0;

    // As drawn.
    StageModel::Dot dot;
    std::string bendText;
    double loopX = -1.0;

    Part hovered = Part::None, held = Part::None;
    Echo heldEcho;
    uint32_t gesture = 0;  // the parameter of the one that runs
    bool gestureRuns = false;
    CPoint lastPoint;
    double wanted = 0.0;  // milliseconds or a level's height, unrounded
};

}  // namespace Quorvant
