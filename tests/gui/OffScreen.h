// An editor without a window: drawn into a picture, played by synthetic events.
#pragma once

#include "gui/AboutBox.h"
#include "gui/Editor.h"
#include "gui/PopupMenu.h"
#include "gui/PresetBrowser.h"
#include "gui/QuestionBox.h"
#include "gui/ValueField.h"
#include "tests/gui/FakeModel.h"

#include <vstgui/lib/cbitmap.h>
#include <vstgui/lib/cframe.h>
#include <vstgui/lib/events.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace Quorvant::Testing {

struct Picture {
    int width = 0;
    int height = 0;
    std::vector<uint32_t> pixels;  // 0xAARRGGBB
};
Picture pictureOf(VSTGUI::IPlatformBitmap& bitmap);
// How many pixels differ by more than so much, of 255, in any colour. The sizes are the same.
std::size_t differentPixels(const Picture& a, const Picture& b, int more = 0);

class OffScreen {
  public:
    // `zoom` in percent, 0 for the user's default. The user's settings go to a folder of this
    // process.
    explicit OffScreen(FakeModel& model, int zoom = 0);
    ~OffScreen();

    VSTGUI::SharedPointer<VSTGUI::CBitmap> bitmap();
    Picture draw() { return pictureOf(*bitmap()->getPlatformBitmap()); }

    // Positions are in the editor's unzoomed pixels.
    void down(CPoint at, VSTGUI::Modifiers modifiers = {},
              VSTGUI::MouseButton button = VSTGUI::MouseButton::Left);
    void move(CPoint to, VSTGUI::Modifiers modifiers = {}, bool held = true);
    void up(CPoint at);
    void click(CPoint at, VSTGUI::Modifiers modifiers = {}) {
        down(at, modifiers);
        up(at);
    }
    void doubleClick(CPoint at, VSTGUI::Modifiers modifiers = {}) {
        click(at, modifiers);
        click(at, modifiers);
    }
    void rightClick(CPoint at) { down(at, {}, VSTGUI::MouseButton::Right); }
    void drag(CPoint from, CPoint to, VSTGUI::Modifiers modifiers = {}) {
        down(from, modifiers);
        move(to, modifiers);
        up(to);
    }
    void wheel(CPoint at, double steps, VSTGUI::Modifiers modifiers = {});
    // Whether the editor had a use for it.
    bool key(VSTGUI::VirtualKey key);

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

    FakeModel& model;
    FakeDesk desk;
    VSTGUI::CFrame* frame;
    std::unique_ptr<Editor> editor;

  private:
    void dispatch(VSTGUI::MousePositionEvent&& event, CPoint at, VSTGUI::Modifiers modifiers);
};

}  // namespace Quorvant::Testing
