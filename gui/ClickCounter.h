// Which click of a series a press is. The window systems count by different measures, and VSTGUI's
// X11 side loses count.
#pragma once

#include <vstgui/lib/events.h>

#include <cmath>
#include <cstdint>

namespace Quorvant {

// Main thread. Positions in the editor's pixels, times in milliseconds of a wrapping counter.
class ClickCounter {
  public:
    // 1, or 2 for the second click of a double click.
    uint32_t press(VSTGUI::CPoint where, VSTGUI::MouseEventButtonState button, uint32_t now) {
        const bool second =
            counting && button.isLeft() && near(where) && now - pressedAt < kDoubleClickTime;
        counting = button.isLeft() && !second;
        place = where;
        pressedAt = now;
        return second ? 2 : 1;
    }
    // A drag in between is no click.
    void move(VSTGUI::CPoint where) {
        if (!near(where)) counting = false;
    }

  private:
    static constexpr uint32_t kDoubleClickTime = 400;  // ms
    static constexpr double kDistance = 4.0;
    bool near(VSTGUI::CPoint where) const {
        return std::hypot(where.x - place.x, where.y - place.y) <= kDistance;
    }

    bool counting = false;
    VSTGUI::CPoint place;
    uint32_t pressedAt = 0;
};

}  // namespace Quorvant
