#include "gui/TextField.h"

#include "gui/Clipboard.h"
#include "platform/Utf8Path.h"

#include <vstgui/lib/cframe.h>
#include <vstgui/lib/events.h>

namespace Quorvant {

TextField::TextField(const CRect& size, std::string_view initial)
    : CTextEdit(size, nullptr, -1, validUtf8(initial).c_str()) {
    setFont(Theme::font(Theme::Face::Value));
    setFontColor(Theme::kText);
    setBackColor(Theme::kGlass);
    setFrameColor(Theme::kAccent);
    setHoriAlign(VSTGUI::kLeftText);
    setTextInset(CPoint(5.0, 0.0));
    setImmediateTextChange(true);
    setWantsFocus(true);
}

void TextField::setText(const VSTGUI::UTF8String& newText) {
    const bool changed = newText != getText();
    CTextEdit::setText(newText);
    if (changed && onChange) onChange(content());
}

void TextField::takeFocus() {
    if (getFrame() && getFrame()->getPlatformFrame()) CTextEdit::takeFocus();
}

void TextField::platformOnKeyboardEvent(VSTGUI::KeyboardEvent& event) {
    // X11 tells a letter with Ctrl as the control character that terminals make of it.
    constexpr char32_t kLetters = 26;
    const bool control = event.modifiers.is(VSTGUI::ModifierKey::Control);
    if (control && event.character >= 1 && event.character <= kLetters &&
        event.virt == VSTGUI::VirtualKey::None) {
        event.character += 'a' - 1;
    }
    if (control && event.character == 'v' && event.type == VSTGUI::EventType::KeyDown && !pasting &&
        fetchClipboard([field = VSTGUI::shared(this)] { field->paste(); })) {
        event.consumed = true;
        return;
    }
    CTextEdit::platformOnKeyboardEvent(event);
}

// The same key again, now that there is something to paste.
void TextField::paste() {
    if (!getFrame() || getFrame()->getFocusView() != this) return;
    VSTGUI::KeyboardEvent event;
    event.character = 'v';
    event.modifiers.add(VSTGUI::ModifierKey::Control);
    pasting = true;
    const VSTGUI::SharedPointer<CView> guard(this);
    getFrame()->dispatchEvent(event);
    pasting = false;
}

}  // namespace Quorvant
