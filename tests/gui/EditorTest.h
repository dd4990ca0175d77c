// The editor without a window, used as a person uses it: synthetic events go into the real view
// tree, and what the plug-in then holds is looked at.
#pragma once

#include "gui/AboutBox.h"
#include "gui/Desk.h"
#include "gui/Editor.h"
#include "gui/PopupMenu.h"
#include "gui/PresetBrowser.h"
#include "gui/QuestionBox.h"
#include "gui/ValueField.h"
#include "params/ParameterTable.h"
#include "params/ParameterText.h"
#include "presets/PresetManager.h"
#include "tests/TestFolder.h"

#include <gtest/gtest.h>
#include <vstgui/lib/cbitmap.h>
#include <vstgui/lib/cframe.h>
#include <vstgui/lib/events.h>

#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Quorvant::Testing {

using VSTGUI::ModifierKey;
using VSTGUI::Modifiers;
using VSTGUI::VirtualKey;

// In the bar, and in no control.
inline constexpr CPoint kNameField(200, 18), kMenuButton(960, 18), kNowhere(20, 340);

// A plug-in for the editor to stand in front of: parameters, readings and a real preset manager
// with a folder of its own.
class FakeModel final : public EditorModel, private PresetHost {
  public:
    explicit FakeModel(const std::filesystem::path& presetFolder) : manager(*this, presetFolder) {
        for (uint32_t i = 0; i < kParameterCount; ++i) values[i] = parameterDefault(i);
        for (uint32_t i = 0; i < kStoredParameterCount; ++i) manager.parameterEdited(i, values[i]);
    }

    Editor* editor = nullptr;  // told of what changes, as the controller does
    std::array<double, kParameterCount> values{};
    std::map<uint32_t, double> readings;
    bool processing = true;             // the heartbeat goes on
    std::vector<std::string> gestures;  // "begin 21", "21", "end 21", "menu 21"
    VSTGUI::CPoint menuAt;
    std::pair<int, int> requestedSize;
    bool sizesAllowed = true;
    int storedZoom = 0;
    PresetManager manager;

    double value(uint32_t index) const override { return values.at(index); }
    void beginEdit(uint32_t index) override {
        gestures.push_back("begin " + std::to_string(index));
    }
    void performEdit(uint32_t index, double newValue) override {
        gestures.push_back(std::to_string(index));
        set(index, newValue);
    }
    void endEdit(uint32_t index) override { gestures.push_back("end " + std::to_string(index)); }
    double reading(uint32_t index) const override {
        if (index == kHeartbeat) return processing ? ++beats : beats;
        const auto found = readings.find(index);
        return found == readings.end() ? 0.0 : found->second;
    }
    PresetManager* presets() override { return &manager; }
    bool showHostMenu(uint32_t index, double x, double y) override {
        gestures.push_back("menu " + std::to_string(index));
        menuAt = {x, y};
        return true;
    }
    bool requestSize(int width, int height) override {
        requestedSize = {width, height};
        return sizesAllowed;
    }
    int zoom() const override { return storedZoom; }
    void setZoom(int percent) override { storedZoom = percent; }

    // As the host's automation does.
    void set(uint32_t index, double newValue) {
        values.at(index) = newValue;
        if (index < kStoredParameterCount) manager.parameterEdited(index, newValue);
        if (editor) editor->parameterChanged(index);
    }

  private:
    mutable double beats = 0.0;

    void applyParameters(std::span<const ParameterEdit> edits) override {
        for (const ParameterEdit& edit : edits) set(edit.index, edit.value);
    }
    void presetsChanged() override {
        if (editor) editor->presetsChanged();
    }
};

class FakeDesk final : public Desk {
  public:
    bool works = true;             // there are dialogs, a manual and a browser
    std::filesystem::path answer;  // empty: cancelled
    std::string asked, opened;

    bool askForFile(VSTGUI::CFrame&, bool, const std::string& title, const std::filesystem::path&,
                    const std::string& name,
                    std::function<void(std::filesystem::path)> done) override {
        asked = title + ": " + name;
        if (works && !answer.empty()) done(answer);
        return works;
    }
    bool openManual() override { return openLink("manual"); }
    bool openLink(std::string_view address) override {
        opened = address;
        return works;
    }
};

using Picture = std::vector<uint32_t>;  // 0xAARRGGBB

Picture pictureOf(VSTGUI::IPlatformBitmap& bitmap);

class EditorTest : public ::testing::Test {
  protected:
    // Each test has a user of its own, who has chosen nothing yet.
    EditorTest();
    ~EditorTest() override { close(); }
    void reopen();

    VSTGUI::SharedPointer<VSTGUI::CBitmap> bitmap();
    Picture draw() { return pictureOf(*bitmap()->getPlatformBitmap()); }

    // Positions are in the editor's unzoomed pixels.
    void down(CPoint at, Modifiers modifiers = {},
              VSTGUI::MouseButton button = VSTGUI::MouseButton::Left);
    void move(CPoint to, Modifiers modifiers = {}, bool held = true);
    void up(CPoint at);
    void cancelDrag();  // as a system does that takes the pointer away
    void click(CPoint at, Modifiers modifiers = {}) {
        down(at, modifiers);
        up(at);
    }
    void doubleClick(CPoint at, Modifiers modifiers = {}) {
        for (int i = 0; i < 2; ++i) click(at, modifiers);
    }
    void rightClick(CPoint at) { down(at, {}, VSTGUI::MouseButton::Right); }
    void drag(CPoint from, CPoint to, Modifiers modifiers = {}) {
        down(from, modifiers);
        move(to, modifiers);
        up(to);
    }
    void wheel(CPoint at, double steps, Modifiers modifiers = {});
    // Whether the editor had a use for it.
    bool strike(VirtualKey key);

    // All views of a type, later ones above earlier ones.
    template <typename View>
    std::vector<View*> all() {
        std::vector<View*> views;
        frame->getChildViewsOfType<View>(views, true);
        return views;
    }
    // The first of them that `wanted` accepts, or null.
    template <typename View, typename Predicate>
    View* find(Predicate wanted) {
        for (View* view : all<View>())
            if (wanted(*view)) return view;
        return nullptr;
    }
    template <typename View>
    View* find() {
        return find<View>([](const View&) { return true; });
    }
    // The control with a tag, or null.
    VSTGUI::CControl* control(uint32_t tag);
    // Where the control with a tag is.
    CRect place(uint32_t tag);
    CPoint at(uint32_t tag) { return place(tag).getCenter(); }

    // Into the field that is open.
    void type(const std::string& text);
    void enter(const std::string& text) {
        type(text);
        EXPECT_TRUE(strike(VirtualKey::Return));
    }
    // Chooses from the menu that is open.
    void choose(const std::string& title);
    void chooseFromMenu(const std::string& title) {
        click(kMenuButton);
        choose(title);
    }
    void press(const std::string& title);

    const std::string& message() { return find<PresetBar>()->messageText(); }
    static std::string hintOf(const VSTGUI::CView& view);

    const TestFolder folder, settings;
    FakeModel model{folder.path};
    FakeDesk desk;
    VSTGUI::CFrame* frame = nullptr;
    std::unique_ptr<Editor> editor;

  private:
    void close();
    void dispatch(VSTGUI::MousePositionEvent&& event, CPoint at, Modifiers modifiers);
};

}  // namespace Quorvant::Testing
