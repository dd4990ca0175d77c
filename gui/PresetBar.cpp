#include "gui/PresetBar.h"

#include "gui/Hints.h"
#include "gui/SettingsMenu.h"
#include "gui/controls/ProductLabel.h"
#include "params/ParameterLaws.h"
#include "platform/Utf8Path.h"
#include "presets/PresetTexts.h"

namespace Quorvant {
namespace {

using Look = ActionButton::Look;

constexpr double kTop = 6.0, kBottom = 34.0;  // of the buttons
constexpr CRect kMessageRect(10.0, Theme::kButtonsHeight, 990.0, Theme::kBarHeight);

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

// Lit for a favourite.
class StarButton final : public ActionButton {
  public:
    using ActionButton::ActionButton;
    void setFavourite(bool state) {
        if (favourite == state) return;
        favourite = state;
        invalid();
    }
    void draw(VSTGUI::CDrawContext* context) override {
        ActionButton::draw(context);
        const CPoint c(getViewSize().getCenter().x, getViewSize().getCenter().y);
        star(*context, c, 8.0,
             favourite     ? Theme::kAccent
             : isEnabled() ? Theme::kTextDim
                           : Theme::kTextFaint,
             favourite);
    }

  private:
    bool favourite = false;
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
            new ActionButton(CRect(left, kTop, right, kBottom), -1, Look::Text, title,
                             std::move(action)),
            hint);
    };
    previous = add(new ActionButton(CRect(10, kTop, 38, kBottom), -1, Look::Left, "",
                                    [this](auto) { actions.step(-1); }),
                   kStepHint);
    next = add(new ActionButton(CRect(40, kTop, 68, kBottom), -1, Look::Right, "",
                                [this](auto) { actions.step(1); }),
               kStepHint);
    name = add(new NameField(CRect(74, kTop, 320, kBottom), -1, Look::Plain, "",
                             [this](auto) { editor.openBrowser(); }),
               kNameHint);
    name->setRightAction([this](CPoint) { actions.editName(); });
    star = add(new StarButton(CRect(322, kTop, 350, kBottom), -1, Look::Text, "",
                              [this](auto) { actions.toggleFavourite(); }),
               "Click to make the preset one of your favourites, or no longer");
    undo = add(
        new HistoryButton(CRect(358, kTop, 386, kBottom), 1.0, [this](auto) { actions.undo(); }),
        kUndoHint);
    redo = add(
        new HistoryButton(CRect(388, kTop, 416, kBottom), -1.0, [this](auto) { actions.redo(); }),
        kUndoHint);
    text(424, 474, "SAVE", kSaveHint, [this](auto) { actions.save(); });
    text(476, 526, "COPY", kCopyHint, [this](auto) { actions.copy(); });
    text(528, 582, "PASTE", kPasteHint, [this](auto) { actions.paste(); });
    setupA = text(590, 618, "A", kSetupHint, [this](auto) { actions.selectSetup(false); });
    setupB = text(620, 648, "B", kSetupHint, [this](auto) { actions.selectSetup(true); });
    copySetup =
        text(650, 700, "A > B", kSetupCopyHint, [this](auto) { actions.copyBetweenSetups(); });
    addView(new ProductLabel(CRect(706, 4, 784, 37), kProductLabelId,
                             [this](auto) { editor.openAbout(); }));
    const bool open = switchState(editor.model().value(kShowHideExtensions));
    const uint32_t fold = open ? kHideExtensionsId : kShowExtensionsId;
    extensions = add(new ActionButton(CRect(790, kTop, 874, kBottom), static_cast<int32_t>(fold),
                                      Look::Text, "EXTENSIONS",
                                      [this, open](auto) {
                                          editor.setParameter(kShowHideExtensions, open ? 0.0 : 1.0);
                                      }),
                     hintText(fold));
    extensions->setLit(open);
    zoom = add(
        new ActionButton(CRect(882, kTop, 934, kBottom), -1, Look::Text, "",
                         [this](auto) { editor.openMenu(zoomMenu(editor), editorRect(*zoom)); }),
        "Click to change the size of the editor");
    text(938, 990, "MENU", kConfigurationHint, [this](auto) {
        editor.openMenu(settingsMenu(editor, actions), CRect(938, kTop, 990, kBottom));
    });
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
    star->setEnabled(actions.canBeFavourite());
    star->setFavourite(actions.isFavourite());
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
    invalidRect(kMessageRect);
}

std::string PresetBar::wholeTextAt(CPoint where) const {
    return kMessageRect.pointInside(where) &&
                   isCut(message, kMessageRect.getWidth(), Theme::Face::Label)
               ? message
               : "";
}

void PresetBar::drawBackgroundRect(VSTGUI::CDrawContext* context, const CRect&) {
    context->setDrawMode(VSTGUI::kAliasing);
    context->setFillColor(Theme::kBar);
    context->drawRect(CRect(0.0, 0.0, getWidth(), Theme::kButtonsHeight), VSTGUI::kDrawFilled);
    context->setFillColor(Theme::kFaceTop);
    context->drawRect(CRect(0.0, Theme::kButtonsHeight, getWidth(), getHeight()),
                      VSTGUI::kDrawFilled);
    drawText(*context, message, kMessageRect, Theme::Face::Label, Theme::kAccent, Align::Left);
}

}  // namespace Quorvant
