#include "gui/TextField.h"

#include <vstgui/lib/cframe.h>
#include <vstgui/lib/events.h>

namespace Quorvant {

TextField::TextField(const CRect& size, std::string initial)
    : CTextEdit(size, nullptr, -1, initial.c_str()) {
    setFont(Theme::font(Theme::Face::Value));
    setFontColor(Theme::kText);
    setBackColor(Theme::kGlass);
    setFrameColor(Theme::kAccent);
    setHoriAlign(VSTGUI::kLeftText);
    setTextInset(CPoint(5.0, 0.0));
    setImmediateTextChange(true);
    setWantsFocus(true);
}

void TextField::finish(bool accepted) {
    if (done) return;
    done = true;
    const VSTGUI::SharedPointer<VSTGUI::CView> guard(this);
    if (onDone) onDone(accepted, content());
}

void TextField::setText(const VSTGUI::UTF8String& newText) {
    const bool changed = newText != getText();
    CTextEdit::setText(newText);
    if (changed && onChange) onChange(content());
}

void TextField::takeFocus() {
    if (getFrame() && getFrame()->getPlatformFrame()) CTextEdit::takeFocus();
}

void TextField::looseFocus() {
    const VSTGUI::SharedPointer<VSTGUI::CView> guard(this);
    CTextEdit::looseFocus();
    finish(!escaped);
}

void TextField::platformOnKeyboardEvent(VSTGUI::KeyboardEvent& event) {
    if (event.type == VSTGUI::EventType::KeyDown && event.virt == VSTGUI::VirtualKey::Escape) {
        escaped = true;
    }
    CTextEdit::platformOnKeyboardEvent(event);
}

}  // namespace Quorvant
