// What opens above the panels.
#include "presets/PresetTexts.h"
#include "tests/gui/EditorTest.h"

#include <cstdlib>

namespace Quorvant::Testing {
namespace {

// What is open is cancelled by whatever closes it, and then does nothing any more.
TEST_F(EditorTest, WhatLiesAboveThePanelsIsAnsweredOrCancelled) {
    using VSTGUI::VirtualKey;
    auto& presets = model.manager;
    const auto before = presetName(presets.current());
    const auto rename = [&] {
        screen->rightClick({200, 18});
        screen->find<QuestionBox>()->textField()->setText("Renamed");
    };
    rename();
    press("Cancel");
    rename();
    screen->click({20, 340});
    rename();
    EXPECT_TRUE(screen->key(VirtualKey::Tab));
    EXPECT_TRUE(screen->key(VirtualKey::Return)) << "on the answer that Tab has led to";
    rename();
    model.set(kShowHideExtensions, 0.0);  // the host's automation
    screen->editor->idle();
    EXPECT_EQ(screen->find<QuestionBox>(), nullptr);
    model.set(kShowHideExtensions, 1.0);
    screen->editor->idle();
    rename();
    screen = nullptr;
    EXPECT_EQ(presetName(presets.current()), before);
    screen = std::make_unique<OffScreen>(model);

    // A number is taken by a click elsewhere and by Tab, but not by the end of the editor. One that
    // was only looked at stays what it was, unrounded.
    const double odd = 0.123456789;
    model.set(kFeedback, odd);
    model.gestures.clear();
    screen->doubleClick(at(kFeedback));
    EXPECT_TRUE(screen->key(VirtualKey::Return));
    screen->doubleClick(at(kFeedback));
    screen->find<ValueField>()->textField()->setText("7");
    screen = nullptr;
    EXPECT_EQ(model.value(kFeedback), odd);
    EXPECT_TRUE(model.gestures.empty());
    screen = std::make_unique<OffScreen>(model);
    screen->doubleClick(at(kFeedback));
    screen->find<ValueField>()->textField()->setText("7");
    screen->click({20, 340});
    EXPECT_EQ(shown(kFeedback), "7.0");
    screen->doubleClick(at(kFeedback));
    screen->find<ValueField>()->textField()->setText("3");
    EXPECT_TRUE(screen->key(VirtualKey::Tab));
    EXPECT_EQ(shown(kFeedback), "3.0");

    // Menus by the arrows: up from what is in force.
    screen->click({900, 18});
    EXPECT_TRUE(screen->key(VirtualKey::Down));
    EXPECT_TRUE(screen->key(VirtualKey::Up));
    EXPECT_TRUE(screen->key(VirtualKey::Return));
    EXPECT_EQ(model.storedZoom, 75);
    screen->click({960, 18});
    EXPECT_TRUE(screen->key(VirtualKey::Down));
    EXPECT_TRUE(screen->key(VirtualKey::Right));
    EXPECT_TRUE(screen->key(VirtualKey::Escape));
    EXPECT_EQ(screen->find<PopupMenu>(), nullptr);

    const auto favourites = loadUserSettings().favourites;
    // A row's menu lies above the browser, and goes with it.
    screen->click({200, 18});
    auto* browser = screen->find<PresetBrowser>();
    screen->rightClick(browser->presetColumn().rowRect(0).getCenter());
    EXPECT_TRUE(screen->key(VirtualKey::Escape));
    EXPECT_EQ(screen->find<PopupMenu>(), nullptr);
    EXPECT_NE(screen->find<PresetBrowser>(), nullptr);
    screen->rightClick(browser->presetColumn().rowRect(0).getCenter());
    const auto row = screen->find<PopupMenu>()->itemRect(0).getCenter();
    browser->cancel();
    screen->click(row);
    EXPECT_EQ(loadUserSettings().favourites, favourites);
    EXPECT_FALSE(screen->key(VirtualKey::Escape)) << "keys belong to the host now";
}

TEST_F(EditorTest, ConfigurationMenuDoesWhatItSays) {
    const CPoint menu(960, 18);
    const auto pick = [&](const std::string& title) {
        screen->click(menu);
        choose(title);
    };
    for (const int zoom : {50, 75, 125, 150, 175, 200, 250, 300, 100}) {
        pick(std::to_string(zoom) + " %");
        EXPECT_EQ(model.storedZoom, zoom);
        EXPECT_EQ(screen->editor->width(), 10 * zoom);
        EXPECT_EQ(model.requestedSize->first, 10 * zoom);
    }
    pick("125 %");
    pick("Use for new instances");
    EXPECT_EQ(loadUserSettings().zoom, 125);
    pick("100 %");
    pick("Use for new instances");
    model.sizesAllowed = false;
    pick("200 %");
    EXPECT_EQ(screen->editor->zoomPercent(), 100) << "the host had refused";
    model.sizesAllowed = true;

    // The zoom field opens the same steps.
    press("100 %");
    choose("150 %");
    EXPECT_EQ(model.storedZoom, 150);
    press("150 %");
    choose("100 %");

    pick("Hints: hidden");
    EXPECT_FALSE(loadUserSettings().hints);
    pick("Hints: shown");
    EXPECT_TRUE(loadUserSettings().hints);
    pick("As fractions (3/8)");
    EXPECT_EQ(model.value(kNoteViewStyle), 1.0);
    pick("As names (1/4 Dotted)");
    EXPECT_EQ(model.value(kNoteViewStyle), 0.0);
    pick("Shown with every editor");
    EXPECT_EQ(model.value(kDefaultExtensionsPanel), 1.0);
    pick("As it was left");
    EXPECT_EQ(model.value(kDefaultExtensionsPanel), 0.0);

    model.manager.setName("File");
    model.set(kFeedback, 0.66);
    ASSERT_EQ(model.manager.save(folder / "File.qvx"), PresetFault::None);
    model.set(kFeedback, 0.1);
    screen->desk.answer = folder / "File.qvx";
    pick("Load or import preset file...");
    EXPECT_NEAR(model.value(kFeedback), 0.66, 1e-6);
    std::filesystem::copy(folder / "File.qvx", folder / "Came later.qvx");
    const auto files = [&] { return model.manager.presetNames(kFromFolder, 0).size(); };
    const auto before = files();
    pick("Scan preset folder again");
    EXPECT_EQ(files(), before + 1);
    const std::string path = std::getenv("PATH");
    setenv("PATH", folder.c_str(), 1);  // holds no program to open folders with
    pick("Open preset folder");
    setenv("PATH", path.c_str(), 1);
    EXPECT_EQ(screen->find<PresetBar>()->messageText(), kNoPresetFolderText);
    pick("Manual");
    EXPECT_EQ(screen->desk.opened, "manual");
    screen->desk.hasManual = false;
    pick("Manual");
    EXPECT_NE(screen->find<PresetBar>()->messageText().find("no manual"), std::string::npos);
    pick("About Corvane QVX77x");
    EXPECT_NE(screen->find<AboutBox>(), nullptr);
    screen->click(at(kAboutLabelId));
    EXPECT_EQ(screen->find<AboutBox>(), nullptr);
    screen->click(at(kProductLabelId));
    EXPECT_NE(screen->find<AboutBox>(), nullptr);
    press("BACK TO THE PANEL");
    // A click beside a menu closes it and does nothing else.
    screen->click(menu);
    screen->click(at(kHighCut));
    EXPECT_EQ(screen->find<PopupMenu>(), nullptr);
    EXPECT_EQ(model.value(kHighCut), 0.0);
}

}  // namespace
}  // namespace Quorvant::Testing
