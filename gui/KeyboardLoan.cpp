#include "gui/KeyboardLoan.h"

#ifdef _WIN32

namespace Quorvant {

void KeyboardLoan::note(const VSTGUI::CFrame&) {}
void KeyboardLoan::giveBack(const VSTGUI::CFrame&) {}

}  // namespace Quorvant

#else

#include <vstgui/lib/cframe.h>
#include <vstgui/lib/platform/linux/x11platform.h>
#include <vstgui/lib/platform/platform_x11.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>

namespace Quorvant {
namespace {

uint32_t editorWindow(const VSTGUI::CFrame& frame) {
    const auto* window = dynamic_cast<VSTGUI::X11::IX11Frame*>(frame.getPlatformFrame());
    return window ? window->getX11WindowID() : 0;
}

xcb_connection_t* connection() {
    return VSTGUI::X11::RunLoop::instance().getXcbConnection();
}

uint32_t focusedWindow() {
    const std::unique_ptr<xcb_get_input_focus_reply_t, decltype(&std::free)> reply(
        xcb_get_input_focus_reply(connection(), xcb_get_input_focus(connection()), nullptr),
        &std::free);
    return reply ? reply->focus : 0;
}

}  // namespace

void KeyboardLoan::note(const VSTGUI::CFrame& frame) {
    const uint32_t own = editorWindow(frame);
    if (own == 0) return;
    const uint32_t focused = focusedWindow();
    if (focused != own) owner = focused;
}

void KeyboardLoan::giveBack(const VSTGUI::CFrame& frame) {
    const uint32_t own = editorWindow(frame);
    if (own == 0 || owner == 0 || focusedWindow() != own) return;
    xcb_set_input_focus(connection(), XCB_INPUT_FOCUS_PARENT, owner, XCB_CURRENT_TIME);
    xcb_flush(connection());
}

}  // namespace Quorvant

#endif
