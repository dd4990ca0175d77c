// The whole editor: builds its views into a frame and keeps them up with the plug-in.
#pragma once

#include "gui/Desk.h"
#include "gui/EditorContext.h"
#include "gui/EditorModel.h"
#include "gui/KeyboardLoan.h"
#include "gui/Overlays.h"
#include "gui/Panels.h"
#include "gui/PresetActions.h"
#include "gui/PresetBar.h"
#include "gui/PresetBrowser.h"
#include "gui/SideChainBar.h"

#include <vstgui/lib/cframe.h>

#include <cstdint>
#include <memory>
#include <string>

namespace Quorvant {

class Editor final : private EditorContext,
                     private PresetDesk,
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
    // The height that keeps the editor's shape at a width, for hosts that ask.
    int heightFor(int pixelWidth) const;
    // The host has given the view this size; what doesn't keep the shape is fitted by the smaller
    // scale.
    void resized(int pixelWidth, int pixelHeight);
    void setContentScale(double factor);
    int zoomPercent() const { return zoom; }
    // Asks the host for the size; nothing changes if it refuses. Held within 50 ... 300.
    void setZoom(int percent);

    // The value of a parameter, or anything about presets, has changed.
    void parameterChanged(uint32_t index);
    void presetsChanged();
    // Lamps, meters and hints follow; to be called 30 to 60 times a second while the editor is
    // open.
    void idle();

    // Whether a text field has the keyboard; otherwise keys belong to the host.
    bool wantsKeyboard() const;

  private:
    // EditorContext
    EditorModel& model() override { return owner; }
    const UserSettings& settings() const override { return userSettings; }
    bool globalMode() const override;
    void edited(uint32_t index) override { parameterChanged(index); }
    void setParameter(uint32_t index, double value) override;
    void typeValue(uint32_t index, const CRect& over) override;
    void openHostMenu(uint32_t index, CPoint where) override;
    void openMenu(Menu menu, const CRect& anchor) override;

    // PresetDesk
    EditorContext& editor() override { return *this; }
    Desk& desk() override { return *desktop; }
    VSTGUI::CFrame* frame() override { return window; }
    void tell(std::string text) override;
    void ask(std::string question, std::vector<QuestionBox::Answer> answers,
             const std::string* initial) override;
    void openBrowser(bool open) override;
    void openConfiguration(const CRect& anchor) override;
    void openZoomMenu(const CRect& anchor) override;
    void changeSettings(const std::function<void(UserSettings&)>& change) override;

    // VSTGUI
    void onKeyboardEvent(VSTGUI::KeyboardEvent& event, VSTGUI::CFrame* frame) override;
    void onMouseEntered(VSTGUI::CView* view, VSTGUI::CFrame* frame) override;
    void onMouseExited(VSTGUI::CView* view, VSTGUI::CFrame* frame) override;
    void onMouseEvent(VSTGUI::MouseEvent& event, VSTGUI::CFrame* frame) override;

    double scale() const { return zoom / 100.0 * contentScale; }
    double contentHeight() const;  // unzoomed
    double stripTop() const;
    void build();
    void rebuild();
    void fitFrame(double newScale);
    void openManual();
    void showAbout(bool open);
    void showExtensions(bool open);
    // Once the present event is done with: views may then be removed.
    void later(std::function<void()> action);
    void place(VSTGUI::CViewContainer* overlay);
    void removeOverlay(VSTGUI::CViewContainer* overlay);
    void showHint();
    void hideHint();

    Theme::FontUse fonts;
    EditorModel& owner;
    Desk systemDesk;
    Desk* desktop;
    UserSettings userSettings;
    PresetActions actions;
    VSTGUI::CFrame* window = nullptr;
    double contentScale = 1.0;
    int zoom = 100;
    bool aboutShown = false;
    bool browserStale = false;
    // Gone with the editor, so that what waits for the end of an event can tell.
    std::shared_ptr<int> life = std::make_shared<int>(0);

    // All are children of `root` and live as long as it does.
    VSTGUI::CViewContainer* root = nullptr;
    PresetBar* bar = nullptr;
    Panel* front = nullptr;
    Panel* extensions = nullptr;
    PresetBrowser* browser = nullptr;
    std::unique_ptr<QVXSideChainBar> sideChain;

    std::string message;
    uint32_t messageEnd = 0;  // tick count
    VSTGUI::SharedPointer<VSTGUI::CView> hintView;
    HintBubble* hint = nullptr;
    uint32_t hintDue = 0;  // tick count
    KeyboardLoan keyboard;
    bool keyboardTaken = false;
};

}  // namespace Quorvant
