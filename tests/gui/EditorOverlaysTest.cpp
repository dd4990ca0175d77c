// What opens above the panels.
#include "presets/PresetTexts.h"
#include "tests/gui/EditorTest.h"

#include <cstdlib>

namespace Quorvant::Testing {
namespace {

using EditorOverlays = EditorTest;

TEST_F(EditorOverlays, DoNothingOnceTheyAreCancelled) {
    const std::string before(presetName(model.manager.current()));
    const std::function<void()> cancels[] = {[&] { press("Cancel"); },
                                             [&] { screen->click(kNowhere); },
                                             [&] { EXPECT_TRUE(screen->key(VirtualKey::Escape)); },
                                             [&] {  // the answer that Tab leads to
                                                 EXPECT_TRUE(screen->key(VirtualKey::Tab));
                                                 EXPECT_TRUE(screen->key(VirtualKey::Return));
                                             },
                                             [&] {  // the host's automation
                                                 model.set(kShowHideExtensions, 0.0);
                                                 screen->editor->idle();
                                             },
                                             [&] { reopen(); }};
    for (const auto& cancel : cancels) {
        screen->rightClick(kNameField);
        type("Renamed");
        cancel();
        EXPECT_EQ(screen->find<QuestionBox>(), nullptr);
        EXPECT_FALSE(screen->key(VirtualKey::Return)) << "keys belong to the host now";
        EXPECT_EQ(presetName(model.manager.current()), before);
    }
    screen->rightClick(kNameField);
    enter("Renamed");
    EXPECT_EQ(presetName(model.manager.current()), "Renamed");
}

TEST_F(EditorOverlays, TakeTypedValuesByReturnTabAndAClickElsewhere) {
    const double odd = 0.123456789;
    model.set(kFeedback, odd);
    screen->doubleClick(at(kFeedback));
    EXPECT_TRUE(screen->key(VirtualKey::Return)) << "which leaves what was only looked at";
    for (const auto& leave :
         {std::function<void()>([&] { screen->key(VirtualKey::Escape); }), {[&] { reopen(); }}}) {
        screen->doubleClick(at(kFeedback));
        type("7");
        leave();
    }
    EXPECT_EQ(model.value(kFeedback), odd);
    EXPECT_TRUE(model.gestures.empty());
    screen->doubleClick(at(kFeedback));
    type("7");
    screen->click(kNowhere);
    EXPECT_EQ(shown(kFeedback), "7.0");
    screen->doubleClick(at(kFeedback));
    type("3");
    EXPECT_TRUE(screen->key(VirtualKey::Tab));
    EXPECT_EQ(shown(kFeedback), "3.0");
}

TEST_F(EditorOverlays, ObeyArrowsAndCloseWithWhatTheyBelongTo) {
    press("100 %");
    for (const auto key : {VirtualKey::Down, VirtualKey::Up, VirtualKey::Return}) {
        EXPECT_TRUE(screen->key(key));  // up from what is in force
    }
    EXPECT_EQ(model.storedZoom, 75);
    screen->click(kMenuButton);
    for (const auto key : {VirtualKey::Down, VirtualKey::Right, VirtualKey::Return}) {
        EXPECT_TRUE(screen->key(key));
    }
    EXPECT_EQ(loadUserSettings().knobMode, KnobMode::Vertical);
    // A click beside a menu closes it and does nothing else.
    screen->click(kMenuButton);
    screen->click(at(kHighCut));
    EXPECT_EQ(screen->find<PopupMenu>(), nullptr);
    EXPECT_EQ(model.value(kHighCut), 0.0);

    // A row's menu lies above the browser, and goes with it.
    screen->click(kNameField);
    auto* browser = screen->find<PresetBrowser>();
    const CPoint preset = browser->presetColumn().rowRect(0).getCenter();
    screen->rightClick(preset);
    EXPECT_TRUE(screen->key(VirtualKey::Escape));
    EXPECT_EQ(screen->find<PopupMenu>(), nullptr);
    EXPECT_EQ(screen->find<PresetBrowser>(), browser);
    screen->rightClick(preset);
    const auto row = screen->find<PopupMenu>()->itemRect(0).getCenter();
    browser->cancel();
    screen->click(row);
    EXPECT_TRUE(loadUserSettings().favourites.empty());
}

TEST_F(EditorOverlays, DoWhatTheMenuSays) {
    for (const int zoom : {50, 75, 125, 150, 175, 200, 250, 300, 100}) {
        chooseFromMenu(std::to_string(zoom) + " %");
        EXPECT_EQ(model.storedZoom, zoom);
        EXPECT_EQ(model.requestedSize.first, 10 * zoom);
        EXPECT_EQ(screen->editor->width(), 10 * zoom);
    }
    model.sizesAllowed = false;
    chooseFromMenu("200 %");
    EXPECT_EQ(screen->editor->zoomPercent(), 100) << "the host had refused";
    model.sizesAllowed = true;
    for (const int zoom : {125, 100}) {
        chooseFromMenu(std::to_string(zoom) + " %");
        chooseFromMenu("Use for new instances");
        EXPECT_EQ(loadUserSettings().zoom, zoom);
    }
    for (const bool on : {true, false}) {
        chooseFromMenu(on ? "Hints: shown" : "Hints: hidden");
        EXPECT_EQ(loadUserSettings().hints, on);
        chooseFromMenu(on ? "As fractions (3/8)" : "As names (1/4 Dotted)");
        EXPECT_EQ(model.value(kNoteViewStyle), on);
        chooseFromMenu(on ? "Shown with every editor" : "As it was left");
        EXPECT_EQ(model.value(kDefaultExtensionsPanel), on);
    }
    chooseFromMenu("Hints: shown");

    model.set(kFeedback, 0.66);
    ASSERT_EQ(model.manager.save(folder / "File.qvx"), PresetFault::None);
    model.set(kFeedback, 0.1);
    screen->desk.answer = folder / "File.qvx";
    chooseFromMenu("Load or import preset file...");
    EXPECT_NEAR(model.value(kFeedback), 0.66, 1e-6);
    const auto files = [&] { return model.manager.presetNames(kFromFolder, 0).size(); };
    std::filesystem::copy(folder / "File.qvx", folder / "Came later.qvx");
    EXPECT_EQ(files(), 1u);
    chooseFromMenu("Scan preset folder again");
    EXPECT_EQ(files(), 2u);
    const std::string path = std::getenv("PATH");
    setenv("PATH", folder.c_str(), 1);  // holds no program to open folders with
    chooseFromMenu("Open preset folder");
    setenv("PATH", path.c_str(), 1);
    EXPECT_EQ(message(), kNoPresetFolderText);
}

TEST_F(EditorOverlays, LeadToManualAndWebsite) {
    screen->click(at(kProductLabelId));
    struct Door {
        bool works;
        const char *title, *opened, *told;
    };
    for (const Door& door :
         {Door{true, "MANUAL", "manual", ""},
          {true, "WEBSITE", "https://www.quorvant.example", ""},
          {false, "MANUAL", "manual", "no manual"},
          {false, "WEBSITE", "https://www.quorvant.example", "nothing to show https"}}) {
        screen->desk.works = door.works;
        press(door.title);
        EXPECT_EQ(std::exchange(screen->desk.opened, ""), door.opened);
        EXPECT_NE(message().find(door.told), std::string::npos) << message();
        EXPECT_EQ(message().empty(), door.works);
    }
    screen->click(at(kAboutLabelId));
    EXPECT_EQ(screen->find<AboutBox>(), nullptr);
    chooseFromMenu("About Corvane QVX77x");
    press("BACK TO THE PANEL");
    EXPECT_EQ(screen->find<AboutBox>(), nullptr);
    chooseFromMenu("Manual");
    EXPECT_EQ(screen->desk.opened, "manual");
}

}  // namespace
}  // namespace Quorvant::Testing
