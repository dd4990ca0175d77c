#include "gui/QuestionBox.h"

#include <algorithm>

namespace Quorvant {

QuestionBox::QuestionBox(const CRect& size, std::string question, std::vector<Answer> choices,
                         const std::optional<std::string>& initial)
    : Overlay(size),
      text(std::move(question)),
      answers(std::move(choices)),
      buttons(answers.size()),
      marked(initial ? 0 : answers.size() - 1) {
    const double height = initial ? 104.0 : 84.0;
    const double width =
        std::clamp(textWidth(text, Theme::Face::Value) + 40.0, 300.0, size.getWidth() - 40.0);
    content = CRect(0.0, 0.0, width, height);
    content.offset((size.getWidth() - width) / 2.0, (size.getHeight() - height) / 2.0);

    if (initial) {
        field = new TextField(CRect(content.left + 16.0, content.top + 36.0, content.right - 16.0,
                                    content.top + 58.0),
                              *initial);
        addView(field);
    }
    double right = content.right - 16.0;
    for (std::size_t i = answers.size(); i-- > 0;) {
        const double buttonWidth =
            std::max(70.0, textWidth(answers[i].title, Theme::Face::LabelBold) + 24.0);
        buttons[i] = new ActionButton(
            CRect(right - buttonWidth, content.bottom - 34.0, right, content.bottom - 12.0), -1,
            ActionButton::Look::Text, answers[i].title, [this, i](auto) { answer(i); });
        addView(buttons[i]);
        right -= buttonWidth + 8.0;
    }
    mark(marked);
}

void QuestionBox::answer(std::size_t index) {
    finish([this, index] {
        if (answers[index].action) answers[index].action(field ? field->content() : "");
    });
}

void QuestionBox::mark(std::size_t index) {
    marked = index;
    for (std::size_t i = 0; i < buttons.size(); ++i) buttons[i]->setLit(i == marked);
}

bool QuestionBox::key(const VSTGUI::KeyboardEvent& event) {
    using VSTGUI::VirtualKey;
    const std::size_t count = answers.size();
    const bool shift = event.modifiers.has(VSTGUI::ModifierKey::Shift);
    switch (event.virt) {
        case VirtualKey::Left:
        case VirtualKey::Right:
            if (field) return false;  // moves in the text
            mark((marked + (event.virt == VirtualKey::Left ? count - 1 : 1)) % count);
            return true;
        case VirtualKey::Tab:
            mark((marked + (shift ? count - 1 : 1)) % count);
            return true;
        default:
            return false;
    }
}

CRect QuestionBox::textRect() const {
    return CRect(content.left + 16.0, content.top + 10.0, content.right - 16.0, content.top + 32.0);
}

std::string QuestionBox::wholeTextAt(CPoint where) const {
    const CRect rect = textRect();
    return rect.pointInside(where) && isCut(text, rect.getWidth(), Theme::Face::Value) ? text : "";
}

void QuestionBox::drawBackgroundRect(VSTGUI::CDrawContext* context, const CRect&) {
    context->setFillColor(CColor(0, 0, 0, 120));
    context->drawRect(getViewSize(), VSTGUI::kDrawFilled);
    drawSheet(*context, content);
    drawText(*context, text, textRect(), Theme::Face::Value, Theme::kText, Align::Left);
}

}  // namespace Quorvant
