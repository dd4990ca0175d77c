#include "gui/PresetBar.h"

#include "gui/SettingsMenu.h"
#include "platform/Utf8Path.h"
#include "presets/PresetTexts.h"

namespace Quorvant {
namespace {

using Look = ActionButton::Look;

constexpr double kMessageLeft = 692.0;
constexpr double kMessageRight = 862.0;

// The hints of the bar, exactly.
constexpr char kNameHint[] =
    "Click to see the pop-up menu of all the presets in the currently loaded bank / Right-Click to "
    "edit the current preset name";
constexpr char kStepHint[] =
    "Click the left/right arrow to switch the prev/next preset from the list";
constexpr char kUndoHint[] = "Click the left/right arrow to undo/redo action";
constexpr char kSaveHint[] = "Click to save current setup as a *.qvx preset file";
constexpr char kCopyHint[] = "Click to copy the current preset to clipboard";
constexpr char kPasteHint[] = "Click to paste the preset from clipboard";
constexpr char kSetupHint[] = "Click to switch between A and B setups";
constexpr char kSetupCopyHint[] = "Click to copy settings between A and B setups";
constexpr char kConfigurationHint[] = "Click to open configuration menu";

// The preset's name in a lit window.
class NameField final : public ActionButton, public CutText {
  public:
    using ActionButton::ActionButton;
    std::string wholeTextAt(CPoint) const override {
        return isCut(text(), textRect().getWidth(), Theme::Face::Title) ? text() : "";
    }
    void draw(VSTGUI::CDrawContext* context) override {
        const CRect& size = getViewSize();
        glass(*context, size);
        drawText(*context, text(), textRect(), Theme::Face::Title, Theme::kAccent, Align::Left);
        listArrow(*context, CPoint(size.right - 13.0, size.getCenter().y), Theme::kTextDim);
        setDirty(false);
    }

  private:
    CRect textRect() const {
        const CRect& size = getViewSize();
        return CRect(size.left + 10.0, size.top, size.right - 22.0, size.bottom);
    }
};

// A curved arrow, to the left for undo, to the right for redo.
class HistoryButton final : public ActionButton {
  public:
    HistoryButton(const CRect& size, double side, Action what)
        : ActionButton(size, -1, Look::Text, "", std::move(what)), direction(side) {}
    void draw(VSTGUI::CDrawContext* context) override {
        ActionButton::draw(context);
        const CPoint c(getViewSize().getCenter().x, getViewSize().getCenter().y + 1.0);
        const CColor ink = isEnabled() ? Theme::kText : Theme::kTextFaint;
        const double tip = 60.0 * direction;
        strokePath(*context, *arcPath(*context, c, 5.0, -tip, 150.0 * direction), ink, 1.6);
        const CPoint end = onCircle(c, 5.0, -tip);
        polygon(*context,
                {CPoint(end.x - 4.0 * direction, end.y + 1.0),
                 CPoint(end.x + 2.5 * direction, end.y - 3.5),
                 CPoint(end.x + 2.0 * direction, end.y + 4.0)},
                ink);
    }

  private:
    double direction;
};

}  // namespace

PresetBar::PresetBar(const CRect& size, EditorContext& context, PresetActions& presetActions)
    : CViewContainer(size), editor(context), actions(presetActions) {
    const auto add = [this](ActionButton* button, const char* hint) {
        button->setTooltipText(hint);
        addView(button);
        return button;
    };
    const auto text = [&add](double left, double right, const char* title, const char* hint,
                             ActionButton::Action action) {
        return add(
            new ActionButton(CRect(left, 7, right, 30), -1, Look::Text, title, std::move(action)),
            hint);
    };
    previous = add(new ActionButton(CRect(10, 7, 32, 30), -1, Look::Left, "",
                                    [this](auto) { actions.step(-1); }),
                   kStepHint);
    next = add(new ActionButton(CRect(34, 7, 56, 30), -1, Look::Right, "",
                                [this](auto) { actions.step(1); }),
               kStepHint);
    name = add(new NameField(CRect(62, 6, 330, 30), -1, Look::Plain, "",
                             [this](auto) { editor.openBrowser(); }),
               kNameHint);
    name->setRightAction([this](CPoint) { actions.editName(); });
    undo = add(new HistoryButton(CRect(338, 7, 364, 30), 1.0, [this](auto) { actions.undo(); }),
               kUndoHint);
    redo = add(new HistoryButton(CRect(366, 7, 392, 30), -1.0, [this](auto) { actions.redo(); }),
               kUndoHint);
    text(400, 450, "SAVE", kSaveHint, [this](auto) { actions.save(); });
    text(454, 504, "COPY", kCopyHint, [this](auto) { actions.copy(); });
    text(508, 562, "PASTE", kPasteHint, [this](auto) { actions.paste(); });
    setupA = text(572, 598, "A", kSetupHint, [this](auto) { actions.selectSetup(false); });
    setupB = text(600, 626, "B", kSetupHint, [this](auto) { actions.selectSetup(true); });
    copySetup =
        text(630, 680, "A > B", kSetupCopyHint, [this](auto) { actions.copyBetweenSetups(); });
    zoom = add(
        new ActionButton(CRect(870, 7, 928, 30), -1, Look::Text, "",
                         [this](auto) { editor.openMenu(zoomMenu(editor), editorRect(*zoom)); }),
        "Click to change the size of the editor");
    ActionButton* menu = nullptr;
    menu = text(932, 990, "MENU", kConfigurationHint, [this](auto) {
        editor.openMenu(settingsMenu(editor, actions), CRect(932, 7, 990, 30));
    });
    menu->setTextColour(Theme::kText);
    refresh();
}

std::string PresetBar::nameDisplay() const {
    auto* presets = actions.manager();
    if (!presets) return kNoManagerDisplay;
    return presets->nameDisplay() + (presets->modified() ? " *" : "");
}

void PresetBar::refresh() {
    auto* presets = actions.manager();
    name->setText(nameDisplay());
    previous->setEnabled(presets && presets->canStep(-1));
    next->setEnabled(presets && presets->canStep(1));
    undo->setEnabled(presets && presets->canUndo());
    redo->setEnabled(presets && presets->canRedo());
    const bool b = presets && presets->selectedSetup() == Setup::B;
    setupA->setLit(presets && !b);
    setupB->setLit(b);
    copySetup->setText(b ? "B > A" : "A > B");
}

void PresetBar::setZoomText(const std::string& text) {
    zoom->setText(text);
}

void PresetBar::setMessage(const std::string& text) {
    if (text == message) return;
    message = text;
    invalidRect(CRect(kMessageLeft, 0.0, kMessageRight, getHeight()));
}

std::string PresetBar::wholeTextAt(CPoint where) const {
    const bool there = where.x >= kMessageLeft && where.x < kMessageRight;
    return there && isCut(message, kMessageRight - kMessageLeft, Theme::Face::Label) ? message : "";
}

void PresetBar::drawBackgroundRect(VSTGUI::CDrawContext* context, const CRect&) {
    const CRect all(0.0, 0.0, getWidth(), getHeight());
    context->setFillColor(Theme::kBar);
    context->drawRect(all, VSTGUI::kDrawFilled);
    drawText(*context, message, CRect(kMessageLeft, 0.0, kMessageRight, getHeight()),
             Theme::Face::Label, Theme::kAccent, Align::Left);
}

}  // namespace Quorvant
