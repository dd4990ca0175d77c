#include "gui/Editor.h"

#include "dsp/OutputIndex.h"
#include "gui/TextEntry.h"
#include "params/ParameterLaws.h"
#include "params/ParameterText.h"
#include "platform/TickCount.h"
#include "presets/PresetTexts.h"

#include <algorithm>
#include <cmath>

namespace Quorvant {
namespace {

constexpr uint32_t kHintDelay = 700;     // ms
constexpr uint32_t kMessageTime = 4000;  // ms
constexpr int kZoomSteps[] = {50, 75, 100, 125, 150, 175, 200, 250, 300};

// Holds all views. Where several rectangles are drawn in one go, VSTGUI's Windows side leaves each
// one's clip in force while it clears the next; a last stroke of nothing leaves a clip that
// contains them all.
class Root final : public VSTGUI::CViewContainer {
  public:
    explicit Root(const CRect& size) : CViewContainer(size) { setTransparency(true); }
    void drawRect(VSTGUI::CDrawContext* context, const CRect& update) override {
        CViewContainer::drawRect(context, update);
        context->setClipRect(getViewSize());
        context->setFillColor(VSTGUI::kTransparentCColor);
        context->drawRect(CRect(0.0, 0.0, 1.0, 1.0), VSTGUI::kDrawFilled);
    }
};

// Tells tempo and rate at the end of the strip.
class StatusLine final : public Control {
  public:
    StatusLine(const CRect& size, const EditorModel& source) : Control(size), model(source) {
        setMouseEnabled(false);
    }
    void idle() {
        if (text() != drawn) invalid();
    }
    void draw(VSTGUI::CDrawContext* context) override {
        drawn = text();
        drawText(*context, drawn, getViewSize(), Theme::Face::Small, Theme::kTextFaint,
                 Align::Right);
        setDirty(false);
    }

  private:
    std::string text() const {
        const double rate = model.reading(kOutSampleRate) * 1000.0;  // kHz
        if (rate < 1.0) return "not processing yet";
        const bool whole = std::fabs(rate - std::round(rate)) < 0.05;
        const bool connected = model.reading(kOutSideChainConnected) > 0.5;
        return std::string(connected ? "side chain connected" : "no side chain") + "    " +
               fixedText(rate, whole ? 0 : 1) + " kHz";
    }
    const EditorModel& model;
    std::string drawn;
};

// The corner that resizes the editor.
class Grip final : public Control {
  public:
    Grip(const CRect& size, std::function<void(CPoint)> dragTo)
        : Control(size), dragged(std::move(dragTo)) {}
    void draw(VSTGUI::CDrawContext* context) override {
        const CRect& size = getViewSize();
        for (const double away : {4.0, 8.0, 12.0}) {
            line(*context, CPoint(size.right - away, size.bottom - 2.0),
                 CPoint(size.right - 2.0, size.bottom - away), Theme::kTextFaint, 1.2);
        }
        setDirty(false);
    }
    void onMouseDownEvent(VSTGUI::MouseDownEvent& event) override {
        down = event.buttonState.isLeft();
        event.consumed = down;
    }
    void onMouseMoveEvent(VSTGUI::MouseMoveEvent& event) override {
        if (!down) return;
        dragged(event.mousePosition);
        event.consumed = true;
    }
    void onMouseUpEvent(VSTGUI::MouseUpEvent& event) override {
        down = false;
        event.consumed = true;
    }

  private:
    std::function<void(CPoint)> dragged;
    bool down = false;
};

}  // namespace

Editor::Editor(EditorModel& model, Desk* desk)
    : owner(model),
      desktop(desk ? desk : &systemDesk),
      userSettings(loadUserSettings()),
      actions(*this) {
    const int own = owner.zoom();
    zoom = std::clamp(own > 0 ? own : userSettings.zoom, kLowestZoom, kHighestZoom);
}

Editor::~Editor() {
    close();
}

bool Editor::globalMode() const {
    return switchState(owner.value(kGlobal));
}

double Editor::stripTop() const {
    const bool open = switchState(owner.value(kShowHideExtensions));
    return Theme::kBarHeight + Theme::kFrontHeight + (open ? Theme::kExtensionsHeight : 0.0);
}

double Editor::contentHeight() const {
    return stripTop() + Theme::kStripHeight;
}

int Editor::width() const {
    return static_cast<int>(std::lround(Theme::kWidth * scale()));
}

int Editor::height() const {
    return static_cast<int>(std::lround(contentHeight() * scale()));
}

int Editor::heightFor(int pixelWidth) const {
    return static_cast<int>(std::lround(pixelWidth * contentHeight() / Theme::kWidth));
}

void Editor::open(VSTGUI::CFrame& frame) {
    close();
    // "Show" opens the panel with every editor; otherwise it is as it was left.
    if (switchState(owner.value(kDefaultExtensionsPanel)) &&
        !switchState(owner.value(kShowHideExtensions))) {
        setParameter(kShowHideExtensions, 1.0);
    }
    window = &frame;
    window->registerKeyboardHook(this);
    window->registerMouseObserver(this);
    window->setBackgroundColor(Theme::kBar);
    build();
    fitFrame(scale());
}

void Editor::close() {
    if (!window) return;
    hideHint();
    hintView = nullptr;
    window->unregisterKeyboardHook(this);
    window->unregisterMouseObserver(this);
    sideChain.reset();
    window->removeView(root);
    root = nullptr;
    bar = nullptr;
    front = extensions = nullptr;
    browser = nullptr;
    window = nullptr;
}

void Editor::build() {
    const CRect all(0.0, 0.0, Theme::kWidth, contentHeight());
    root = new Root(all);
    bar = new PresetBar(CRect(0.0, 0.0, Theme::kWidth, Theme::kBarHeight), *this, actions);
    bar->setZoomText(std::to_string(zoom) + " %");
    bar->setMessage(message);
    root->addView(bar);

    const Quorvant::PanelActions panelActions = {
        [this](bool open) { later([this, open] { showExtensions(open); }); },
        [this](bool open) { later([this, open] { showAbout(open); }); }, [this] { openManual(); }};
    const double frontBottom = Theme::kBarHeight + Theme::kFrontHeight;
    const CRect frontRect(0.0, Theme::kBarHeight, Theme::kWidth, frontBottom);
    front = nullptr;
    if (aboutShown) {
        root->addView(new AboutBox(frontRect, panelActions, *desktop));
    } else {
        front = new Panel(frontRect, *this, kFrontGroups, kFrontControls, panelActions);
        root->addView(front);
    }
    extensions = nullptr;
    if (stripTop() > frontBottom) {
        extensions = new Panel(CRect(0.0, frontBottom, Theme::kWidth, stripTop()), *this,
                               kExtensionGroups, kExtensionControls, panelActions);
        root->addView(extensions);
    }
    window->addView(root);
    sideChain = std::make_unique<QVXSideChainBar>(editor(), *root, Theme::kWidth, stripTop());
    const double bottom = contentHeight();
    root->addView(new StatusLine(CRect(510.0, stripTop() + 1.0, 974.0, bottom - 1.0), owner));
    root->addView(new Grip(CRect(980.0, bottom - 18.0, 1000.0, bottom), [this](CPoint at) {
        setZoom(static_cast<int>(std::lround(at.x / Theme::kWidth * zoom)));
    }));
    root->invalid();
}

void Editor::rebuild() {
    if (!window) return;
    hideHint();
    hintView = nullptr;
    sideChain.reset();
    browser = nullptr;
    window->removeView(root);
    build();
    fitFrame(scale());
}

void Editor::fitFrame(double newScale) {
    if (!window) return;
    window->setAutosizingEnabled(false);
    window->setTransform(VSTGUI::CGraphicsTransform().scale(newScale, newScale));
    window->setSize(std::lround(Theme::kWidth * newScale), std::lround(contentHeight() * newScale));
    window->invalid();
}

void Editor::setZoom(int percent) {
    percent = std::clamp(percent, kLowestZoom, kHighestZoom);
    if (percent == zoom) return;
    const double newScale = percent / 100.0 * contentScale;
    const auto pixels = [newScale](double length) {
        return static_cast<int>(std::lround(length * newScale));
    };
    if (window && !owner.requestSize(pixels(Theme::kWidth), pixels(contentHeight()))) {
        tell("The host does not allow this size");
        return;
    }
    zoom = percent;
    owner.setZoom(zoom);
    if (bar) bar->setZoomText(std::to_string(zoom) + " %");
    fitFrame(newScale);
}

void Editor::resized(int pixelWidth, int pixelHeight) {
    if (pixelWidth <= 0 || pixelHeight <= 0) return;
    if (pixelWidth == width() && pixelHeight == height()) return;
    const double newScale = std::min(pixelWidth / Theme::kWidth, pixelHeight / contentHeight());
    const int percent = static_cast<int>(std::lround(newScale / contentScale * 100.0));
    zoom = std::clamp(percent, kLowestZoom, kHighestZoom);
    owner.setZoom(zoom);
    if (bar) bar->setZoomText(std::to_string(zoom) + " %");
    fitFrame(scale());
}

void Editor::setContentScale(double factor) {
    if (!(factor > 0.0) || factor == contentScale) return;
    contentScale = factor;
    if (window) owner.requestSize(width(), height());
    fitFrame(scale());
}

void Editor::parameterChanged(uint32_t index) {
    if (!window) return;
    if (index == kShowHideExtensions) {
        const bool open = switchState(owner.value(kShowHideExtensions));
        if (open != (extensions != nullptr)) {
            later([this] {
                if (owner.requestSize(width(), height())) {
                    rebuild();
                    return;
                }
                tell("The host does not allow this size");
                setParameter(kShowHideExtensions, extensions ? 1.0 : 0.0);
            });
        }
        return;
    }
    if (front) front->parameterChanged(index);
    if (extensions) extensions->parameterChanged(index);
    if (index < kParameterCount) sideChain->parameterChanged(index, owner.value(index));
    if (bar) bar->refresh();
}

void Editor::presetsChanged() {
    if (!window) return;
    bar->refresh();
    browserStale = true;
}

void Editor::idle() {
    if (!window) return;
    const uint32_t now = tickCountMs();
    // Every edit of a parameter changes presets too; the lists follow at this pace.
    if (browser && browserStale) browser->refresh();
    browserStale = false;
    if (front) front->idle();
    if (extensions) extensions->idle();
    sideChain->idle();
    root->forEachChild([](VSTGUI::CView* view) {
        if (auto* status = dynamic_cast<StatusLine*>(view)) status->idle();
    });
    if (keyboardTaken && !wantsKeyboard()) {
        keyboardTaken = false;
        keyboard.giveBack(*window);
    }
    if (!message.empty() && static_cast<int32_t>(now - messageEnd) >= 0) {
        message.clear();
        bar->setMessage(message);
    }
    if (hintView && !hint && userSettings.hints && static_cast<int32_t>(now - hintDue) >= 0) {
        showHint();
    }
}

bool Editor::wantsKeyboard() const {
    return window && dynamic_cast<VSTGUI::CTextEdit*>(window->getFocusView()) != nullptr;
}

void Editor::setParameter(uint32_t index, double value) {
    owner.beginEdit(index);
    owner.performEdit(index, value);
    owner.endEdit(index);
    parameterChanged(index);
}

void Editor::typeValue(uint32_t index, const CRect& over) {
    char text[kTextCapacity];
    getParameterText(static_cast<int32_t>(index), owner.value(index), text);
    std::string initial = text;
    if (index == kManualTempo) initial = fixedText(bpmFromManualTempo(owner.value(index)), 1);
    const double fieldWidth = std::max(over.getWidth(), 76.0);
    CRect rect(0.0, 0.0, fieldWidth, 22.0);
    rect.offset(over.getCenter().x - fieldWidth / 2.0, over.getCenter().y - 11.0);
    rect.offset(std::clamp(rect.left, 2.0, Theme::kWidth - fieldWidth - 2.0) - rect.left, 0.0);
    later([this, rect, initial, index] {
        auto* overlay = new Overlay(root->getViewSize(), nullptr);
        auto* field = new TextField(rect, initial);
        field->onDone = [this, overlay, index](bool accepted, const std::string& typed) {
            removeOverlay(overlay);
            if (!accepted) return;
            if (const auto value = valueFromTyped(index, typed)) {
                setParameter(index, *value);
            } else {
                tell("\"" + typed + "\" is no value here");
            }
        };
        overlay->setCloseAction([field] { field->finish(true); });
        overlay->addView(field);
        place(overlay);
        field->takeFocus();
    });
}

void Editor::openHostMenu(uint32_t index, CPoint where) {
    owner.showHostMenu(index, where.x * scale(), where.y * scale());
}

void Editor::openMenu(Menu menu, const CRect& anchor) {
    later([this, menu = std::move(menu), anchor] {
        auto* popup = new PopupMenu(root->getViewSize(), menu, anchor, nullptr);
        popup->setCloseAction([this, popup] { removeOverlay(popup); });
        place(popup);
    });
}

void Editor::tell(std::string text) {
    message = std::move(text);
    messageEnd = tickCountMs() + kMessageTime;
    if (bar) bar->setMessage(message);
}

void Editor::ask(std::string question, std::vector<QuestionBox::Answer> answers,
                 const std::string* initial) {
    const std::string start = initial ? *initial : std::string();
    const bool withField = initial != nullptr;
    later([this, question, answers, start, withField] {
        auto* box = new QuestionBox(root->getViewSize(), question, answers, nullptr,
                                    withField ? &start : nullptr);
        box->setCloseAction([this, box] { removeOverlay(box); });
        place(box);
        if (box->textField()) box->textField()->takeFocus();
    });
}

void Editor::openBrowser(bool open) {
    if (!actions.manager()) return;
    later([this, open] {
        if (browser) {
            auto* old = browser;
            browser = nullptr;
            removeOverlay(old);
        }
        if (!open) return;
        const CRect sheet(0.0, Theme::kBarHeight, Theme::kWidth, stripTop());
        browser = new PresetBrowser(root->getViewSize(), sheet, *this, actions,
                                    [this] { openBrowser(false); });
        place(browser);
        browser->searchField().takeFocus();
    });
}

void Editor::openZoomMenu(const CRect& anchor) {
    Menu menu;
    for (const int step : kZoomSteps) {
        menu.push_back(
            {std::to_string(step) + " %", [this, step] { setZoom(step); }, step == zoom});
    }
    menu.push_back(
        {"Use for new instances",
         [this] { changeSettings([this](UserSettings& changed) { changed.zoom = zoom; }); },
         userSettings.zoom == zoom});
    openMenu(std::move(menu), anchor);
}

void Editor::openConfiguration(const CRect& anchor) {
    const bool circular = userSettings.knobMode == KnobMode::Circular;
    const bool fractions = switchState(owner.value(kNoteViewStyle));
    const bool alwaysOpen = switchState(owner.value(kDefaultExtensionsPanel));
    const auto knobs = [this](KnobMode mode) {
        return [this, mode] {
            changeSettings([mode](UserSettings& changed) { changed.knobMode = mode; });
        };
    };
    const auto parameter = [this](uint32_t index, double value) {
        return [this, index, value] { setParameter(index, value); };
    };
    Menu menu = {
        {"ZOOM"},
    };
    for (const int step : kZoomSteps) {
        menu.push_back(
            {std::to_string(step) + " %", [this, step] { setZoom(step); }, step == zoom});
    }
    menu.push_back(
        {"Use for new instances",
         [this] { changeSettings([this](UserSettings& changed) { changed.zoom = zoom; }); },
         userSettings.zoom == zoom});
    const Menu rest = {
        {"HINTS", {}, false, true, true},
        {"Hints: shown",
         [this] { changeSettings([](UserSettings& changed) { changed.hints = true; }); },
         userSettings.hints},
        {"Hints: hidden",
         [this] {
             changeSettings([](UserSettings& changed) { changed.hints = false; });
             hideHint();
         },
         !userSettings.hints},
        {"KNOBS"},
        {"Drag up and down", knobs(KnobMode::Vertical), !circular},
        {"Drag around", knobs(KnobMode::Circular), circular},
        {"NOTES"},
        {"As names (1/4 Dotted)", parameter(kNoteViewStyle, 0.0), !fractions},
        {"As fractions (3/8)", parameter(kNoteViewStyle, 1.0), fractions},
        {"EXTENSIONS PANEL", {}, false, true, true},
        {"As it was left", parameter(kDefaultExtensionsPanel, 0.0), !alwaysOpen},
        {"Shown with every editor", parameter(kDefaultExtensionsPanel, 1.0), alwaysOpen},
        {"PRESETS"},
        {"Open preset folder", [this] { actions.openFolder(); }},
        {"Load or import preset file...", [this] { actions.load(); }},
        {"Scan preset folder again",
         [this] {
             if (auto* presets = actions.manager()) presets->refreshFolders();
         }},
        {"HELP"},
        {"Manual", [this] { openManual(); }},
        {"About Corvane QVX77x", [this] { later([this] { showAbout(true); }); }},
    };
    menu.insert(menu.end(), rest.begin(), rest.end());
    openMenu(std::move(menu), anchor);
}

void Editor::changeSettings(const std::function<void(UserSettings&)>& change) {
    // Another instance may have changed something else since.
    userSettings = loadUserSettings();
    change(userSettings);
    if (!saveUserSettings(userSettings)) tell("The setting could not be stored");
}

void Editor::openManual() {
    if (!desktop->openManual())
        tell("There is no manual beside this plug-in, or nothing to show it");
}

void Editor::showAbout(bool open) {
    if (open == aboutShown) return;
    aboutShown = open;
    rebuild();
}

void Editor::showExtensions(bool open) {
    setParameter(kShowHideExtensions, open ? 1.0 : 0.0);
}

void Editor::later(std::function<void()> action) {
    if (!window) return;
    const auto ifOpen = [this, alive = std::weak_ptr(life), action = std::move(action)] {
        if (!alive.expired() && window) action();
    };
    if (!window->inEventProcessing() || !window->doAfterEventProcessing(ifOpen)) ifOpen();
}

void Editor::place(VSTGUI::CViewContainer* overlay) {
    hideHint();
    root->addView(overlay);
    overlay->invalid();
}

void Editor::removeOverlay(VSTGUI::CViewContainer* overlay) {
    later([this, overlay] {
        if (root->isChild(overlay)) root->removeView(overlay);
        root->invalid();
    });
}

void Editor::onKeyboardEvent(VSTGUI::KeyboardEvent& event, VSTGUI::CFrame*) {
    // Above the browser a question may have the keyboard.
    if (!browser || event.type != VSTGUI::EventType::KeyDown) return;
    const auto* focused = window->getFocusView();
    if (focused && focused != &browser->searchField()) return;
    if (browser->key(event.virt)) event.consumed = true;
}

void Editor::onMouseEntered(VSTGUI::CView* view, VSTGUI::CFrame*) {
    uint32_t size = 0;
    if (!view->getAttributeSize(VSTGUI::kCViewTooltipAttribute, size) || size == 0) return;
    hintView = VSTGUI::shared(view);
    hintDue = tickCountMs() + kHintDelay;
}

void Editor::onMouseExited(VSTGUI::CView* view, VSTGUI::CFrame*) {
    if (hintView != view) return;
    hintView = nullptr;
    hideHint();
}

void Editor::onMouseEvent(VSTGUI::MouseEvent& event, VSTGUI::CFrame*) {
    if (event.type == VSTGUI::EventType::MouseDown) {
        hideHint();
        hintView = nullptr;
        keyboard.note(*window);
        keyboardTaken = true;
    } else if (event.type == VSTGUI::EventType::MouseMove && !hint) {
        hintDue = tickCountMs() + kHintDelay;  // once the pointer rests
    }
}

void Editor::showHint() {
    if (!hintView->isAttached()) {
        hintView = nullptr;
        return;
    }
    uint32_t size = 0;
    hintView->getAttributeSize(VSTGUI::kCViewTooltipAttribute, size);
    std::string text(size, '\0');
    hintView->getAttribute(VSTGUI::kCViewTooltipAttribute, size, text.data(), size);
    text.resize(std::min(text.find('\0'), text.size()));
    hint = new HintBubble(root->getViewSize(), editorRect(*hintView), text);
    root->addView(hint);
    hint->invalid();
}

void Editor::hideHint() {
    if (!hint) return;
    auto* old = hint;
    hint = nullptr;
    old->invalid();
    later([this, old] { root->removeView(old); });
}

}  // namespace Quorvant
