#include "gui/Editor.h"

#include "gui/AboutBox.h"
#include "gui/PopupMenu.h"
#include "gui/PresetBrowser.h"
#include "gui/QuestionBox.h"
#include "gui/TextEntry.h"
#include "gui/ValueField.h"
#include "params/ParameterLaws.h"
#include "params/ParameterTable.h"
#include "params/ParameterText.h"
#include "platform/TickCount.h"

#include <algorithm>
#include <cmath>

namespace Quorvant {
namespace {

constexpr uint32_t kMessageTime = 4000;  // ms
constexpr double kLeastContentScale = 0.25;
constexpr double kMostContentScale = 8.0;
constexpr char kSizeRefused[] = "The host does not allow this size";

int pixels(double length) {
    return static_cast<int>(std::lround(length));
}

}  // namespace

Editor::Editor(EditorModel& model, Desk* desk)
    : owner(model),
      live(model),
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

double Editor::contentHeight() const {
    return Scene::height(switchState(owner.value(kShowHideExtensions)));
}

int Editor::width() const {
    return pixels(Theme::kWidth * scale());
}

int Editor::height() const {
    return pixels(contentHeight() * scale());
}

std::pair<int, int> Editor::nearestSize(int pixelWidth) const {
    const int percent = pixels(pixelWidth / Theme::kWidth / contentScale * 100.0);
    const double wanted = std::clamp(percent, kLowestZoom, kHighestZoom) / 100.0 * contentScale;
    return {pixels(Theme::kWidth * wanted), pixels(contentHeight() * wanted)};
}

void Editor::open(VSTGUI::CFrame& frame) {
    close();
    // "Show" opens the panel with every editor; otherwise it is as it was left.
    if (switchState(owner.value(kDefaultExtensionsPanel)) &&
        !switchState(owner.value(kShowHideExtensions))) {
        setParameter(kShowHideExtensions, 1.0);
    }
    window = &frame;
    clipboard.emplace();
    window->registerKeyboardHook(this);
    window->registerMouseObserver(this);
    window->setBackgroundColor(Theme::kBar);
    window->setFocusColor(Theme::kTextSelection);
    build();
}

void Editor::close() {
    if (!window) return;
    scene.reset();
    clipboard.reset();
    window->unregisterKeyboardHook(this);
    window->unregisterMouseObserver(this);
    window = nullptr;
}

// Takes the place of what was there.
void Editor::build() {
    scene.reset();
    EditorContext& context = *this;
    scene = std::make_unique<Scene>(*window, live, context, actions, [this](CPoint at) {
        setZoom(pixels(at.x / Theme::kWidth * zoom));
    });
    scene->bar().setZoomText(std::to_string(zoom) + " %");
    scene->bar().setMessage(message);
    fitFrame(scale());
}

void Editor::fitFrame(double newScale) {
    if (!window) return;
    window->setAutosizingEnabled(false);
    window->setTransform(VSTGUI::CGraphicsTransform().scale(newScale, newScale));
    window->setSize(pixels(Theme::kWidth * newScale), pixels(contentHeight() * newScale));
    window->invalid();
}

void Editor::setZoom(int percent) {
    percent = std::clamp(percent, kLowestZoom, kHighestZoom);
    if (percent == zoom) return;
    const double newScale = percent / 100.0 * contentScale;
    if (window &&
        !owner.requestSize(pixels(Theme::kWidth * newScale), pixels(contentHeight() * newScale))) {
        tell(kSizeRefused);
        return;
    }
    zoom = percent;
    owner.setZoom(zoom);
    if (scene) scene->bar().setZoomText(std::to_string(zoom) + " %");
    fitFrame(newScale);
}

void Editor::resized(int pixelWidth, int pixelHeight) {
    if (pixelWidth <= 0 || pixelHeight <= 0) return;
    if (pixelWidth == width() && pixelHeight == height()) return;
    const double newScale = std::min(pixelWidth / Theme::kWidth, pixelHeight / contentHeight());
    zoom = std::clamp(pixels(newScale / contentScale * 100.0), kLowestZoom, kHighestZoom);
    owner.setZoom(zoom);
    if (scene) scene->bar().setZoomText(std::to_string(zoom) + " %");
    fitFrame(scale());
}

bool Editor::setContentScale(double factor) {
    if (!(factor >= kLeastContentScale && factor <= kMostContentScale)) return false;
    if (factor == contentScale) return true;
    contentScale = factor;
    if (window) owner.requestSize(width(), height());
    fitFrame(scale());
    return true;
}

void Editor::parameterChanged(uint32_t index) {
    if (scene) scene->parameterChanged(index, owner.value(index));
}

void Editor::presetsChanged() {
    if (!scene) return;
    scene->bar().refresh();
    presetsStale = true;
}

void Editor::idle() {
    if (!window) return;
    const uint32_t now = tickCountMs();
    live.idle(now);
    followExtensions();
    if (!scene) return;  // the host may have closed it over the size
    // Every edit of a parameter changes presets too; the lists follow at this pace.
    auto* browser = scene->overlays().find<PresetBrowser>();
    if (browser && presetsStale) browser->refresh();
    presetsStale = false;
    scene->idle();
    if (userSettings.hints) scene->hints().idle(now);
    scene->values().idle(now);
    if (keyboardTaken && !wantsKeyboard()) {
        keyboardTaken = false;
        keyboard.giveBack(*window);
    }
    if (!message.empty() && static_cast<int32_t>(now - messageEnd) >= 0) {
        message.clear();
        scene->bar().setMessage(message);
    }
}

// The panel comes and goes between events and gestures, whoever has changed the parameter.
void Editor::followExtensions() {
    if (switchState(owner.value(kShowHideExtensions)) == scene->hasExtensions()) return;
    if (owner.requestSize(width(), height())) {
        if (window) build();
    } else {
        tell(kSizeRefused);
        setParameter(kShowHideExtensions, scene->hasExtensions() ? 1.0 : 0.0);
    }
}

bool Editor::wantsKeyboard() const {
    return scene && (!scene->overlays().empty() || scene->focus().owner());
}

void Editor::setParameter(uint32_t index, double value) {
    owner.beginEdit(index);
    owner.performEdit(index, value);
    owner.endEdit(index);
    parameterChanged(index);
}

void Editor::open(std::function<Overlay*(const CRect& size)> make) {
    if (!scene) return;
    scene->later([this, make = std::move(make)] {
        scene->hints().forget();
        scene->values().forget();
        scene->overlays().open(make(scene->size()));
    });
}

void Editor::typeValue(uint32_t index, const CRect& over) {
    const std::string initial = textToType(index, owner.value(index));
    const auto take = [this, index](const std::string& typed) { enter(index, typed); };
    open([over, initial, take](const CRect& size) {
        return new ValueField(size, over, initial, take);
    });
}

void Editor::enter(uint32_t index, const std::string& text) {
    if (const auto value = valueFromTyped(index, text)) {
        setParameter(index, *value);
    } else {
        tell("\"" + text + "\" is no value here");
    }
}

void Editor::openHostMenu(uint32_t index, CPoint where) {
    if (!scene) return;
    scene->later([this, index, where] {
        scene->hints().forget();
        const auto items = itemsFor(index, where);
        const auto alive = scene->lifetime();
        if (owner.showHostMenu(index, items, where.x * scale(), where.y * scale()) ||
            alive.expired())
            return;
        Menu menu;
        for (const auto& [title, action] : items) menu.push_back({title, action});
        openMenu(std::move(menu), CRect(where, CPoint()));
    });
}

// They do nothing any more once the scene is gone.
std::vector<HostMenuItem> Editor::itemsFor(uint32_t index, CPoint where) {
    const VSTGUI::SharedPointer<Control> control = scene->focus().controlAt(where);
    const bool ofOwnPlace = control && dynamic_cast<ParameterControl*>(control.get());
    const CRect place = ofOwnPlace ? editorRect(*control) : CRect(where, CPoint());
    std::vector<HostMenuItem> items = {
        {"Type a value\u2026", [this, index, place] { typeValue(index, place); }},
        {"Default", [this, index] { setParameter(index, parameterDefault(index)); }},
        {"Copy value",
         [this, index] {
             if (!copyToClipboard(textWithUnit(index, owner.value(index))))
                 tell("The clipboard can't be reached");
         }},
        {"Paste value",
         [this, index] {
             takeFromClipboard([this, index, alive = scene->lifetime()](const std::string& text) {
                 if (!alive.expired()) enter(index, text);
             });
         }},
        {"Hint",
         [this, control] {
             if (control && control->isAttached()) scene->hints().show(*control);
         }},
    };
    for (auto& [title, action] : items) {
        action = [alive = scene->lifetime(), what = std::move(action)] {
            if (!alive.expired()) what();
        };
    }
    return items;
}

void Editor::showValue(uint32_t index, const CRect& control, bool byKeys) {
    if (!scene) return;
    scene->hints().forget();
    scene->values().show(textWithUnit(index, owner.value(index)), control,
                         byKeys ? control.getCenter() : pointer, tickCountMs());
}

void Editor::takeKeyboard(Control& control) {
    if (scene) scene->focus().set(&control);
}

void Editor::openMenu(Menu menu, const CRect& anchor) {
    open([menu = std::move(menu), anchor](const CRect& size) {
        return new PopupMenu(size, menu, anchor);
    });
}

void Editor::tell(std::string text) {
    message = std::move(text);
    messageEnd = tickCountMs() + kMessageTime;
    if (scene) scene->bar().setMessage(message);
}

void Editor::ask(std::string question, std::vector<Answer> answers,
                 std::optional<std::string> initial) {
    open([=](const CRect& size) { return new QuestionBox(size, question, answers, initial); });
}

void Editor::openLink(std::string_view address) {
    if (!desktop->openLink(address)) tell("There is nothing to show " + std::string(address));
}

bool Editor::askForFile(bool forSaving, const std::string& title,
                        const std::filesystem::path& folder, const std::string& name,
                        std::function<void(std::filesystem::path)> done) {
    if (!scene) return false;
    return desktop->askForFile(
        *window, forSaving, title, folder, name,
        [alive = scene->lifetime(), done = std::move(done)](std::filesystem::path file) {
            if (!alive.expired()) done(std::move(file));
        });
}

void Editor::openBrowser() {
    if (!actions.manager()) return;
    open([this](const CRect& size) {
        actions.scanFolders();  // other instances may have saved
        return new PresetBrowser(size, scene->belowBar(), *this, actions);
    });
}

void Editor::openAbout() {
    if (!scene || scene->overlays().find<AboutBox>()) return;
    open([this](const CRect&) { return new AboutBox(scene->frontRect(), *this); });
}

void Editor::openManual() {
    if (!desktop->openManual())
        tell("There is no manual beside this plug-in, or nothing to show it");
}

void Editor::changeSettings(const std::function<void(UserSettings&)>& change) {
    // Another instance may have changed something else since.
    userSettings = loadUserSettings();
    change(userSettings);
    if (!saveUserSettings(userSettings)) tell("The setting could not be stored");
    if (scene && !userSettings.hints) scene->hints().forget();
}

void Editor::onKeyboardEvent(VSTGUI::KeyboardEvent& event, VSTGUI::CFrame*) {
    if (!scene) return;
    if (scene->overlays().empty()) {
        scene->focus().key(event);
    } else {
        scene->overlays().key(event);
    }
}

void Editor::onMouseEntered(VSTGUI::CView* view, VSTGUI::CFrame*) {
    if (scene) scene->hints().entered(*view, tickCountMs());
}

void Editor::onMouseExited(VSTGUI::CView* view, VSTGUI::CFrame*) {
    if (scene) scene->hints().exited(*view);
}

void Editor::onMouseEvent(VSTGUI::MouseEvent& event, VSTGUI::CFrame*) {
    if (!scene) return;
    const uint32_t now = tickCountMs();
    pointer = event.mousePosition;
    if (event.type == VSTGUI::EventType::MouseDown) {
        scene->hints().forget();
        scene->values().forget();
        // The control that is clicked takes it, if it wants to.
        if (scene->overlays().empty() && event.buttonState.isLeft()) scene->focus().clear();
        keyboard.note(*window);
        keyboardTaken = true;
        auto& down = VSTGUI::castMouseDownEvent(event);
        down.clickCount = clicks.press(down.mousePosition, down.buttonState, now);
    } else if (event.type == VSTGUI::EventType::MouseMove) {
        scene->hints().moved(event.mousePosition, now);
        clicks.move(event.mousePosition);
    }
}

}  // namespace Quorvant
