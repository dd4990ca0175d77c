// The editor used as a person uses it: events go into the real view tree, and what the plug-in then
// holds is looked at.
#pragma once

#include "params/ParameterText.h"
#include "tests/gui/OffScreen.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>

namespace Quorvant::Testing {

using VSTGUI::CPoint;
using VSTGUI::ModifierKey;
using VSTGUI::Modifiers;

class EditorTest : public ::testing::Test {
  protected:
    EditorTest()
        : folder(std::filesystem::temp_directory_path() /
                 ("corvane-gui-presets-" + std::to_string(getpid()))),
          model(folder),
          screen(std::make_unique<OffScreen>(model)) {
        std::filesystem::create_directories(folder);
    }
    ~EditorTest() override {
        screen.reset();
        std::filesystem::remove_all(folder);
    }

    std::string shown(uint32_t index) const {
        char text[kTextCapacity];
        getParameterText(static_cast<int32_t>(index), model.value(index), text);
        return text;
    }
    void drag(CPoint from, double up, Modifiers modifiers = {}) {
        screen->down(from, modifiers);
        screen->move({from.x, from.y - up}, modifiers);
        screen->up({from.x, from.y - up});
    }
    void type(const std::string& text, bool accepted = true) {
        auto* box = screen->find<QuestionBox>();
        auto* value = screen->find<ValueField>();
        auto* field = box ? box->textField() : value ? value->textField() : nullptr;
        ASSERT_NE(field, nullptr) << "no text field for '" << text << "'";
        field->setText(text.c_str());
        EXPECT_TRUE(
            screen->key(accepted ? VSTGUI::VirtualKey::Return : VSTGUI::VirtualKey::Escape));
    }
    // Chooses from the menu that is open.
    void choose(const std::string& title) {
        auto* menu = screen->find<PopupMenu>();
        ASSERT_NE(menu, nullptr) << "no menu for '" << title << "'";
        for (std::size_t i = 0; i < menu->items().size(); ++i) {
            if (menu->items()[i].title == title) {
                screen->click(menu->itemRect(i).getCenter());
                return;
            }
        }
        FAIL() << "no entry '" << title << "'";
    }
    void press(const std::string& title) {
        auto* button = screen->find<ActionButton>(
            [&](const ActionButton& candidate) { return candidate.text() == title; });
        ASSERT_NE(button, nullptr) << "no button '" << title << "'";
        screen->click(screen->middleOf(*button));
    }
    CPoint at(uint32_t tag) { return screen->middleOf(static_cast<int32_t>(tag)); }

    std::filesystem::path folder;
    FakeModel model;
    std::unique_ptr<OffScreen> screen;
};

}  // namespace Quorvant::Testing
