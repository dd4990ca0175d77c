#include "gui/ValueField.h"

#include <algorithm>

namespace Quorvant {
namespace {

constexpr double kLeastWidth = 76.0;
constexpr double kHeight = 22.0;

}  // namespace

ValueField::ValueField(const CRect& size, const CRect& over, std::string initial,
                       std::function<void(std::string)> what)
    : Overlay(size), before(std::move(initial)), take(std::move(what)) {
    const double width = std::max(over.getWidth(), kLeastWidth);
    CRect rect(0.0, 0.0, width, kHeight);
    rect.offset(over.getCenter().x - width / 2.0, over.getCenter().y - kHeight / 2.0);
    content = heldWithin(rect, size);
    field = new TextField(content, before);
    addView(field);
}

void ValueField::accept() {
    const std::string typed = field->content();
    if (typed == before) {
        cancel();
    } else {
        finish([this, typed] { take(typed); });
    }
}

bool ValueField::key(const VSTGUI::KeyboardEvent& event) {
    if (event.virt != VSTGUI::VirtualKey::Tab) return false;
    accept();
    return true;
}

}  // namespace Quorvant
