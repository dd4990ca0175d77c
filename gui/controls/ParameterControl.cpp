#include "gui/controls/ParameterControl.h"

#include "gui/Hints.h"
#include "params/GlobalSet.h"
#include "params/ParameterLaws.h"
#include "params/ParameterTable.h"
#include "params/ParameterText.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Quorvant {
namespace {

constexpr double kFullTravel = 200.0;  // pixels of a vertical drag
constexpr double kFine = 0.1;
constexpr double kWheelStep = 0.02;
constexpr double kPage = 10.0;  // wheel steps

bool shortEndSpread(uint32_t index) {
    const NumberLaw* law = kParameters[index].law;
    return law && law->shortEndSpread;
}

}  // namespace

double travelFromValue(uint32_t index, double value) {
    return shortEndSpread(index) ? std::cbrt(value) : value;
}

double valueFromTravel(uint32_t index, double travel) {
    return shortEndSpread(index) ? travel * travel * travel : travel;
}

ParameterControl::ParameterControl(const CRect& size, EditorContext& editorOf, uint32_t tagId,
                                   uint32_t index)
    : Control(size, static_cast<int32_t>(tagId)),
      owner(editorOf),
      presetParameter(index),
      shownParameter(index) {
    setTooltipText(hintText(tagId));
    refresh();
}

uint32_t ParameterControl::parameter() const {
    return owner.globalMode() ? globalTwin(presetParameter).value_or(presetParameter)
                              : presetParameter;
}

void ParameterControl::refresh() {
    if (parameter() != shownParameter) {
        endGesture();
        if (getTag() == static_cast<int32_t>(shownParameter)) {
            setTag(static_cast<int32_t>(parameter()));
            setTooltipText(hintText(parameter()));
        }
        shownParameter = parameter();
    }
    invalid();
}

std::string ParameterControl::valueText() const {
    return parameterText(static_cast<int32_t>(parameter()), modelValue());
}

std::string ParameterControl::unitText() const {
    const NumberLaw* law = kParameters[parameter()].law;
    // A letter in the place of the point tells the unit.
    return law && law->mark == '.' ? std::string(law->unit) : std::string();
}

CColor ParameterControl::accent() const {
    return parameter() == presetParameter ? Theme::kAccent : Theme::kGlobalAccent;
}

void ParameterControl::beginGesture() {
    if (gesture) return;
    gesture = true;
    gestureParameter = parameter();
    owner.model().beginEdit(gestureParameter);
}

void ParameterControl::change(double wanted) {
    wanted = std::clamp(wanted, 0.0, 1.0);
    if (wanted == modelValue()) return;
    const bool single = !gesture && !dragging;
    beginGesture();
    owner.model().performEdit(gestureParameter, wanted);
    owner.edited(gestureParameter);
    if (single) endGesture();
}

void ParameterControl::endGesture() {
    if (!gesture) return;
    gesture = false;
    owner.model().endEdit(gestureParameter);
}

void ParameterControl::restoreDefault() {
    change(parameterDefault(parameter()));
}

void ParameterControl::moveBy(double travel) {
    const uint32_t index = parameter();
    dragTravel = std::clamp(dragTravel + travel, 0.0, 1.0);
    double wanted = valueFromTravel(index, dragTravel);
    const int steps = kParameters[index].stepCount();
    if (steps > 0) wanted = std::round(wanted * steps) / steps;
    change(wanted);
}

bool ParameterControl::isContinuous() const {
    return kParameters[parameter()].stepCount() == 0;
}

void ParameterControl::telling(bool byKeys, const std::function<void()>& act) {
    const double before = modelValue();
    act();
    if (isContinuous() && modelValue() != before)
        owner.showValue(parameter(), editorRect(*this), byKeys);
}

void ParameterControl::activate() {
    const ParameterInfo& info = kParameters[parameter()];
    if (info.states.empty()) {
        VSTGUI::MouseDownEvent event(getViewSize().getTopLeft(), VSTGUI::MouseButton::Left);
        doubleClicked(event);
    } else {
        const auto count = static_cast<int>(info.states.size());
        change(listValue((listState(modelValue(), count) + 1) % count, count));
    }
}

bool ParameterControl::key(const VSTGUI::KeyboardEvent& event) {
    using VSTGUI::VirtualKey;
    const bool fine = event.modifiers.has(VSTGUI::ModifierKey::Shift);
    const auto turn = [&](double steps) {
        if (!dragging) telling(true, [&] { wheel(steps, fine); });
        return true;
    };
    const auto set = [&](double value) {
        if (!dragging) telling(true, [&] { change(value); });
        return true;
    };
    switch (event.virt) {
        case VirtualKey::Up:
        case VirtualKey::Right:
            return turn(1.0);
        case VirtualKey::Down:
        case VirtualKey::Left:
            return turn(-1.0);
        case VirtualKey::PageUp:
            return turn(kPage);
        case VirtualKey::PageDown:
            return turn(-kPage);
        case VirtualKey::Home:
            return set(0.0);
        case VirtualKey::End:
            return set(1.0);
        case VirtualKey::Delete:
        case VirtualKey::Back:
            return set(parameterDefault(parameter()));
        case VirtualKey::Return:
        case VirtualKey::Enter:
            if (!dragging) activate();
            return true;
        default:
            return false;
    }
}

bool ParameterControl::pressed(VSTGUI::MouseDownEvent&) {
    return true;
}

void ParameterControl::ctrlPressed(VSTGUI::MouseDownEvent&) {
    restoreDefault();
}

void ParameterControl::doubleClicked(VSTGUI::MouseDownEvent&) {
    owner.typeValue(parameter(), editorRect(*this));
}

void ParameterControl::wheel(double steps, bool fine) {
    dragTravel = travelFromValue(parameter(), modelValue());
    const int count = kParameters[parameter()].stepCount();
    if (count > 0) {
        moveBy((steps > 0.0 ? 1.0 : -1.0) / count);
    } else {
        moveBy(steps * kWheelStep * (fine ? kFine : 1.0));
    }
}

void ParameterControl::dragged(const VSTGUI::MouseMoveEvent& event) {
    const double scale = event.modifiers.has(VSTGUI::ModifierKey::Shift) ? kFine : 1.0;
    if (owner.settings().knobMode == KnobMode::Circular && kParameters[parameter()].law) {
        const CPoint centre = getViewSize().getCenter();
        const auto angle = [&](const CPoint& p) {
            return std::atan2(p.x - centre.x, centre.y - p.y) * 180.0 / std::numbers::pi;
        };
        double turned = angle(event.mousePosition) - angle(lastPoint);
        if (turned > 180.0) turned -= 360.0;
        if (turned < -180.0) turned += 360.0;
        moveBy(turned / 270.0 * scale);
    } else {
        moveBy((lastPoint.y - event.mousePosition.y) / kFullTravel * scale);
    }
}

void ParameterControl::onMouseDownEvent(VSTGUI::MouseDownEvent& event) {
    using VSTGUI::ModifierKey;
    event.consumed = true;
    event.ignoreFollowUpMoveAndUpEvents(true);
    if (event.buttonState.isRight()) {
        owner.openHostMenu(parameter(), translateToGlobal(event.mousePosition, true));
        return;
    }
    if (!event.buttonState.isLeft()) return;
    owner.takeKeyboard(*this);
    if (event.modifiers.has(ModifierKey::Control)) {
        ctrlPressed(event);
    } else if (event.modifiers.has(ModifierKey::Alt)) {
        restoreDefault();
    } else if (event.clickCount > 1) {
        doubleClicked(event);
    } else {
        event.ignoreFollowUpMoveAndUpEvents(false);
        lastPoint = event.mousePosition;
        dragTravel = travelFromValue(parameter(), modelValue());
        if (pressed(event)) {
            dragging = true;
        }
        invalid();
    }
}

void ParameterControl::onMouseMoveEvent(VSTGUI::MouseMoveEvent& event) {
    if (!dragging || !event.buttonState.isLeft()) return;
    telling(false, [&] { dragged(event); });
    lastPoint = event.mousePosition;
    event.consumed = true;
}

void ParameterControl::released() {
    dragging = false;
    endGesture();
}

void ParameterControl::onMouseWheelEvent(VSTGUI::MouseWheelEvent& event) {
    double steps = event.deltaY != 0.0 ? event.deltaY : event.deltaX;
    if (event.flags & VSTGUI::MouseWheelEvent::DirectionInvertedFromDevice) steps = -steps;
    if (steps == 0.0 || dragging) return;
    telling(false, [&] { wheel(steps, event.modifiers.has(VSTGUI::ModifierKey::Shift)); });
    event.consumed = true;
}

bool ParameterControl::removed(VSTGUI::CView* parent) {
    released();
    return Control::removed(parent);
}

}  // namespace Quorvant
