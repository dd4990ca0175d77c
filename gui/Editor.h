// The whole editor: opens its views in a frame, gives them what they ask for, and keeps them up
// with the plug-in.
#pragma once

#include "gui/ClickCounter.h"
#include "gui/Clipboard.h"
#include "gui/Desk.h"
#include "gui/EditorContext.h"
#include "gui/EditorModel.h"
#include "gui/KeyboardLoan.h"
#include "gui/LiveModel.h"
#include "gui/PresetActions.h"
#include "gui/Scene.h"

#include <vstgui/lib/cframe.h>

#include <cstdint>
#include <memory>
#include <string>

namespace Quorvant {

class Editor final : private EditorContext,
                     private VSTGUI::IKeyboardHook,
                     private VSTGUI::IMouseObserver {
  public:
    // The model outlives the editor, and so does the desk where one is given.
    explicit Editor(EditorModel& model, Desk* desk = nullptr);
    ~Editor() override;
    Editor(const Editor&) = delete;
    Editor& operator=(const Editor&) = delete;

    // Fills the frame and gives it the size of width() and height(). The frame may be open already
    // or be opened afterwards, and must stay until close().
    void open(VSTGUI::CFrame& frame);
    void close();

    // The present size in pixels: the user's zoom times the host's content scale.
    int width() const;
    int height() const;
    // The nearest size that the editor can have, given a width, for hosts that ask.
    std::pair<int, int> nearestSize(int pixelWidth) const;
    // The host has given the view this size; what doesn't keep the shape is fitted by the smaller
    // scale.
    void resized(int pixelWidth, int pixelHeight);
    // False for a factor that no screen has: below 0.25, above 8, or no number.
    bool setContentScale(double factor);
    int zoomPercent() const override { return zoom; }
    // Asks the host for the size; nothing changes if it refuses. Held within 50 ... 300.
    void setZoom(int percent) override;

    // The value of a parameter, or anything about presets, has changed.
    void parameterChanged(uint32_t index);
    void presetsChanged();
    // Lamps, meters and hints follow, and the panels that the parameters ask for; to be called 30
    // to 60 times a second while the editor is open.
    void idle();

    // Whether something is open that keys are for; otherwise they belong to the host.
    bool wantsKeyboard() const;

  private:
    // EditorContext
    EditorModel& model() override { return live; }
    bool globalMode() const override;
    const UserSettings& settings() const override { return userSettings; }
    void changeSettings(const std::function<void(UserSettings&)>& change) override;
    void edited(uint32_t index) override { parameterChanged(index); }
    void setParameter(uint32_t index, double value) override;
    void typeValue(uint32_t index, const CRect& over) override;
    void openHostMenu(uint32_t index, CPoint where) override;
    void showValue(uint32_t index, const CRect& control, bool byKeys) override;
    void takeKeyboard(Control& control) override;
    void openMenu(Menu menu, const CRect& anchor) override;
    void openBrowser() override;
    void openAbout() override;
    void openManual() override;
    void tell(std::string text) override;
    void ask(std::string question, std::vector<Answer> answers,
             std::optional<std::string> initial) override;
    void openLink(std::string_view address) override;
    bool askForFile(bool forSaving, const std::string& title, const std::filesystem::path& folder,
                    const std::string& name,
                    std::function<void(std::filesystem::path)> done) override;

    // VSTGUI
    void onKeyboardEvent(VSTGUI::KeyboardEvent& event, VSTGUI::CFrame* frame) override;
    void onMouseEntered(VSTGUI::CView* view, VSTGUI::CFrame* frame) override;
    void onMouseExited(VSTGUI::CView* view, VSTGUI::CFrame* frame) override;
    void onMouseEvent(VSTGUI::MouseEvent& event, VSTGUI::CFrame* frame) override;

    double scale() const { return zoom / 100.0 * contentScale; }
    double contentHeight() const;  // unzoomed
    void build();
    void followExtensions();
    void fitFrame(double newScale);
    // Opens the overlay that `make` gives for the scene's size, once the present event is over.
    void open(std::function<Overlay*(const CRect& size)> make);
    std::vector<HostMenuItem> itemsFor(uint32_t index, CPoint where);
    void enter(uint32_t index, const std::string& text);

    Theme::FontUse fonts;
    EditorModel& owner;
    LiveModel live;
    Desk systemDesk;
    Desk* desktop;
    UserSettings userSettings;
    PresetActions actions;
    VSTGUI::CFrame* window = nullptr;
    // While a frame is open.
    std::optional<ClipboardUse> clipboard;
    std::unique_ptr<Scene> scene;
    double contentScale = 1.0;
    int zoom = 100;
    bool presetsStale = false;
    std::string message;
    uint32_t messageEnd = 0;  // tick count
    CPoint pointer;  // in the editor's pixels
    ClickCounter clicks;
    KeyboardLoan keyboard;
    bool keyboardTaken = false;
};

}  // namespace Quorvant
