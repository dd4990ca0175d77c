// The keyboard belongs to the host. On X11 a click takes it into the editor's window; here it is
// given back.
#pragma once

#include <cstdint>

namespace VSTGUI {
class CFrame;
}

namespace Quorvant {

// Main thread. Does nothing on systems where VSTGUI hands on the keys it has no use for, and in a
// frame without a window.
class KeyboardLoan {
  public:
    // Before a click is handled: remembers who has the keyboard.
    void note(const VSTGUI::CFrame& frame);
    // Gives it back if the editor's window has it.
    void giveBack(const VSTGUI::CFrame& frame);

  private:
    uint32_t owner = 0;  // an X11 window
};

}  // namespace Quorvant
