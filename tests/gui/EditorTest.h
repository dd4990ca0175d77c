// The editor without a window, used as a person uses it: synthetic events go into the real view
// tree, and what the plug-in then holds is looked at.
#pragma once

#include "gui/AboutBox.h"
#include "gui/Editor.h"
#include "gui/PopupMenu.h"
#include "gui/PresetBrowser.h"
#include "gui/QuestionBox.h"
#include "gui/ValueField.h"
#include "params/ParameterText.h"
#include "tests/gui/FakeModel.h"
#include "tests/presets/TestFolder.h"

#include <gtest/gtest.h>
#include <vstgui/lib/cbitmap.h>
#include <vstgui/lib/cframe.h>
#include <vstgui/lib/events.h>

#include <memory>
#include <string>
#include <vector>

namespace Quorvant::Testing {

using VSTGUI::ModifierKey;
using VSTGUI::Modifiers;
using VSTGUI::VirtualKey;

// In the bar, and in no control.
inline constexpr CPoint kNameField(200, 18), kMenuButton(960, 18), kNowhere(20, 340);

struct Picture {
    int width = 0;
    int height = 0;
    std::vector<uint32_t> pixels;  // 0xAARRGGBB
};
Picture pictureOf(VSTGUI::IPlatformBitmap& bitmap);
// How many pixels differ by more than so much, of 255, in any colour. The sizes are the same.
std::size_t differentPixels(const Picture& a, const Picture& b, int more = 0);

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

    std::string shown(uint32_t index) const {
        return parameterText(static_cast<int32_t>(index), model.value(index));
    }
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
