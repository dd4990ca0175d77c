// What every control of a parameter has in common: gestures, wheel, default, typing, host's menu.
#pragma once

#include "gui/EditorContext.h"
#include "gui/controls/Control.h"

#include <functional>
#include <string>

namespace Quorvant {

// The place of a value along a control's travel, 0 ... 1, and back.
double travelFromValue(uint32_t index, double value);
double valueFromTravel(uint32_t index, double travel);

class ParameterControl : public Control {
  public:
    // `tag` is the id that chooses the hint; it is the parameter's index unless told otherwise.
    ParameterControl(const CRect& size, EditorContext& editorOf, uint32_t tag, uint32_t index);
    ParameterControl(const CRect& size, EditorContext& editorOf, uint32_t index)
        : ParameterControl(size, editorOf, index, index) {}

    // The level controls show the global twin of their parameter while Global is on.
    uint32_t parameter() const;
    // The parameter, or Global, has changed: draws what changed and takes over the fitting hint.
    virtual void refresh();

    void onMouseDownEvent(VSTGUI::MouseDownEvent& event) override;
    void onMouseMoveEvent(VSTGUI::MouseMoveEvent& event) override;
    void onMouseWheelEvent(VSTGUI::MouseWheelEvent& event) override;
    bool removed(VSTGUI::CView* parent) override;
    bool takesKeys() const override { return true; }
    bool key(const VSTGUI::KeyboardEvent& event) override;

  protected:
    EditorContext& editor() const { return owner; }
    double modelValue() const { return owner.model().value(parameter()); }
    std::string valueText() const;  // as hosts show it, without the unit
    std::string unitText() const;   // empty where the text tells it
    CColor accent() const;          // of the set that is seen
    bool hovered() const { return pointed() || dragging; }
    bool held() const { return dragging; }

    // A left press without modifiers that is no double click. Controls that are clicked, not
    // dragged, act here and return false.
    virtual bool pressed(VSTGUI::MouseDownEvent& event);
    // Left press with Ctrl; restores the default unless overridden.
    virtual void ctrlPressed(VSTGUI::MouseDownEvent& event);
    virtual void doubleClicked(VSTGUI::MouseDownEvent& event);
    virtual void wheel(double steps, bool fine);
    virtual void dragged(const VSTGUI::MouseMoveEvent& event);
    // Return: types the value; takes the next state of a switch or list.
    virtual void activate();
    // Moves along the travel as far as one pixel's drag, or one wheel step, asks for.
    void moveBy(double travel);

    void beginGesture();
    void change(double value);  // begins the gesture where none runs
    void endGesture();
    void restoreDefault();

    CPoint lastPoint;

  private:
    void released() override;
    // Whether the act has changed the value, which is then told.
    void telling(bool byKeys, const std::function<void()>& act);
    bool isContinuous() const;

    EditorContext& owner;
    uint32_t presetParameter;
    uint32_t shownParameter;
    uint32_t gestureParameter = 0;
    bool dragging = false;
    bool gesture = false;
    double dragTravel = 0.0;  // unrounded, so that lists move evenly
};

}  // namespace Quorvant
