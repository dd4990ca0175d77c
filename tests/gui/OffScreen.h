// An editor without a window: drawn into a picture, played by synthetic events.
#pragma once

#include "gui/AboutBox.h"
#include "gui/Editor.h"
#include "gui/PopupMenu.h"
#include "gui/PresetBrowser.h"
#include "gui/ValueField.h"
#include "tests/gui/FakeModel.h"

#include <vstgui/lib/cframe.h>
#include <vstgui/lib/events.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace Quorvant::Testing {

// The user's settings go to a folder of this process. Before anything of VSTGUI.
void startVstgui();

struct Picture {
    int width = 0;
    int height = 0;
    std::vector<uint32_t> pixels;  // 0xAARRGGBB
};

class OffScreen {
  public:
    // `zoom` in percent, 0 for the user's default.
    explicit OffScreen(FakeModel& model, int zoom = 0);
    ~OffScreen();

    Picture draw();
    std::vector<uint8_t> drawPng();

    // Positions are in the editor's unzoomed pixels.
    void down(VSTGUI::CPoint at, VSTGUI::Modifiers modifiers = {},
              VSTGUI::MouseButton button = VSTGUI::MouseButton::Left);
    void move(VSTGUI::CPoint to, VSTGUI::Modifiers modifiers = {}, bool held = true);
    void up(VSTGUI::CPoint at);
    void click(VSTGUI::CPoint at, VSTGUI::Modifiers modifiers = {});
    void doubleClick(VSTGUI::CPoint at, VSTGUI::Modifiers modifiers = {});
    void rightClick(VSTGUI::CPoint at);
    void wheel(VSTGUI::CPoint at, double steps, VSTGUI::Modifiers modifiers = {});
    bool key(VSTGUI::VirtualKey key);

    // The first view of a type that `wanted` accepts, or null.
    template <typename View, typename Predicate>
    View* find(Predicate wanted) {
        return findIn<View>(*frame, wanted);
    }
    template <typename View>
    View* find() {
        return find<View>([](const View&) { return true; });
    }
    // The middle of the control with a tag.
    VSTGUI::CPoint middleOf(int32_t tag);
    VSTGUI::CPoint middleOf(const VSTGUI::CView& view) const;

    FakeModel& model;
    FakeDesk desk;
    VSTGUI::CFrame* frame;
    std::unique_ptr<Editor> editor;

  private:
    template <typename View, typename Predicate>
    static View* findIn(VSTGUI::CViewContainer& container, Predicate& wanted) {
        View* found = nullptr;
        container.forEachChild([&](VSTGUI::CView* child) {
            if (found) return;
            if (auto* view = dynamic_cast<View*>(child); view && wanted(*view)) found = view;
            auto* inner = child->asViewContainer();
            if (!found && inner) found = findIn<View>(*inner, wanted);
        });
        return found;
    }
    VSTGUI::CPoint pixels(VSTGUI::CPoint at) const;
    VSTGUI::SharedPointer<VSTGUI::CBitmap> render();
};

}  // namespace Quorvant::Testing
