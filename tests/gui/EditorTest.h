// The editor used as a person uses it: events go into the real view tree, and what the plug-in then
// holds is looked at.
#pragma once

#include "params/ParameterText.h"
#include "tests/gui/OffScreen.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

namespace Quorvant::Testing {

using VSTGUI::ModifierKey;
using VSTGUI::Modifiers;
using VSTGUI::VirtualKey;

// In the bar, and in no control.
inline constexpr CPoint kNameField(200, 18), kMenuButton(960, 18), kNowhere(20, 340);

class EditorTest : public ::testing::Test {
  protected:
    EditorTest() { std::filesystem::create_directories(folder); }
    ~EditorTest() override { std::filesystem::remove_all(folder); }
    void reopen() {
        screen.reset();
        screen.emplace(model);
    }
    std::string shown(uint32_t index) const {
        char text[kTextCapacity];
        getParameterText(static_cast<int32_t>(index), model.value(index), text);
        return text;
    }
    // Where the control with a tag is.
    CRect place(uint32_t tag) {
        const auto* control = screen->control(tag);
        EXPECT_TRUE(control) << "no control " << tag;
        return control ? editorRect(*control) : CRect();
    }
    CPoint at(uint32_t tag) { return place(tag).getCenter(); }
    // Into the field that is open.
    void type(const std::string& text) {
        TextField* field = nullptr;
        for (auto* overlay : screen->all<Overlay>())
            if (overlay->textField()) field = overlay->textField();
        ASSERT_NE(field, nullptr) << "no field for '" << text << "'";
        field->setText(text.c_str());
    }
    void enter(const std::string& text) {
        type(text);
        EXPECT_TRUE(screen->key(VirtualKey::Return));
    }
    // Chooses from the menu that is open.
    void choose(const std::string& title) {
        auto* menu = screen->find<PopupMenu>();
        ASSERT_NE(menu, nullptr) << "no menu for '" << title << "'";
        const auto item = std::ranges::find(menu->items(), title, &MenuItem::title);
        ASSERT_NE(item, menu->items().end()) << "no entry '" << title << "'";
        const auto index = static_cast<std::size_t>(item - menu->items().begin());
        screen->click(menu->itemRect(index).getCenter());
    }
    void chooseFromMenu(const std::string& title) {
        screen->click(kMenuButton);
        choose(title);
    }
    void press(const std::string& title) {
        auto* button = screen->find<ActionButton>(
            [&](const ActionButton& candidate) { return candidate.text() == title; });
        ASSERT_NE(button, nullptr) << "no button '" << title << "'";
        screen->click(editorRect(*button).getCenter());
    }
    const std::string& message() { return screen->find<PresetBar>()->messageText(); }
    static std::string hintOf(const VSTGUI::CView& view) {
        char text[1024] = "";
        uint32_t size = 0;
        view.getAttribute(VSTGUI::kCViewTooltipAttribute, sizeof text, text, size);
        return text;
    }

    const std::filesystem::path folder = std::filesystem::temp_directory_path() /
                                         ("corvane-gui-presets-" + std::to_string(getpid()));
    FakeModel model{folder};
    std::optional<OffScreen> screen{model};
};

}  // namespace Quorvant::Testing
