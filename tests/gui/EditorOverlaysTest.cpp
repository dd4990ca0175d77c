// What opens above the panels.
#include "presets/PresetTexts.h"
#include "tests/gui/EditorTest.h"

#include <cstdlib>

namespace Quorvant::Testing {
namespace {

using EditorOverlays = EditorTest;

TEST_F(EditorOverlays, DoNothingOnceTheyAreCancelled) {
    const std::string before(presetName(model.manager.current()));
    const auto strikeAll = [&](std::initializer_list<VirtualKey> keys) {
        for (const auto key : keys) EXPECT_TRUE(strike(key));
    };
    const std::function<void()> cancels[] = {[&] { press("Cancel"); },
                                             [&] { click(kNowhere); },
                                             [&] { strikeAll({VirtualKey::Escape}); },
                                             [&] {
                                                 strikeAll({VirtualKey::Tab, VirtualKey::Return});
                                             },     // to the second answer
                                             [&] {  // the host's automation
                                                 model.set(kShowHideExtensions, 0.0);
                                                 editor->idle();
                                             },
                                             [&] { reopen(); }};
    for (const auto& cancel : cancels) {
        rightClick(kNameField);
        type("Renamed");
        cancel();
        EXPECT_EQ(find<QuestionBox>(), nullptr);
        EXPECT_FALSE(strike(VirtualKey::Return)) << "keys belong to the host now";
        EXPECT_EQ(presetName(model.manager.current()), before);
    }
    rightClick(kNameField);
    enter("Renamed");
    EXPECT_EQ(presetName(model.manager.current()), "Renamed");
}

TEST_F(EditorOverlays, TakeTypedValuesByReturnTabAndAClickElsewhere) {
    const double odd = 0.123456789;
    model.set(kFeedback, odd);
    doubleClick(at(kFeedback));
    strike(VirtualKey::Return);  // leaves what was only looked at
    for (const auto& [leave, expected] :
         {std::pair<std::function<void()>, double>{[&] { strike(VirtualKey::Escape); }, odd},
          {[&] { reopen(); }, odd},
          {[&] { click(kNowhere); }, 0.7},
          {[&] { strike(VirtualKey::Tab); }, 0.7}}) {
        EXPECT_EQ(model.gestures.empty(), model.value(kFeedback) == odd);
        doubleClick(at(kFeedback));
        type("7");
        leave();
        EXPECT_EQ(model.value(kFeedback), expected);
        if (expected != odd) model.set(kFeedback, 0.1);
    }
}

TEST_F(EditorOverlays, ObeyArrowsAndCloseWithWhatTheyBelongTo) {
    press("100 %");
    for (const auto key : {VirtualKey::Down, VirtualKey::Up, VirtualKey::Return}) {
        EXPECT_TRUE(strike(key));  // up from what is in force
    }
    EXPECT_EQ(model.storedZoom, 75);
    // A click beside a menu closes it and does nothing else.
    click(kMenuButton);
    click(at(kHighCut));
    EXPECT_EQ(find<PopupMenu>(), nullptr);
    EXPECT_EQ(model.value(kHighCut), 0.0);

    // A row's menu lies above the browser, and goes with it.
    click(kNameField);
    auto* browser = find<PresetBrowser>();
    const CPoint preset = browser->presetColumn().rowRect(0).getCenter();
    rightClick(preset);
    EXPECT_TRUE(strike(VirtualKey::Escape));
    EXPECT_EQ(find<PresetBrowser>(), browser);
    rightClick(preset);
    const auto row = find<PopupMenu>()->itemRect(0).getCenter();
    browser->cancel();
    click(row);
    EXPECT_TRUE(loadUserSettings().favourites.empty());
}

TEST_F(EditorOverlays, DoWhatTheMenuSays) {
    for (const int zoom : {50, 300, 125}) {
        chooseFromMenu(std::to_string(zoom) + " %");
        EXPECT_EQ(model.storedZoom, zoom);
        EXPECT_EQ(model.requestedSize.first, 10 * zoom);
    }
    model.sizesAllowed = false;
    chooseFromMenu("200 %");
    EXPECT_EQ(editor->zoomPercent(), 125) << "the host had refused";
    chooseFromMenu("Use for new instances");
    for (const auto& [stored, width] : {std::pair{4711, 3000}, {200, 2000}, {0, 1250}}) {
        model.storedZoom = stored;
        reopen();
        EXPECT_EQ(editor->width(), width);
        EXPECT_EQ(model.storedZoom, stored) << "the default is no choice for this instance";
    }
    for (const bool on : {true, false}) {
        chooseFromMenu(on ? "Drag around" : "Drag up and down");
        EXPECT_EQ(loadUserSettings().knobMode, on ? KnobMode::Circular : KnobMode::Vertical);
        chooseFromMenu(on ? "Hints: shown" : "Hints: hidden");
        EXPECT_EQ(loadUserSettings().hints, on);
        chooseFromMenu(on ? "As fractions (3/8)" : "As names (1/4 Dotted)");
        EXPECT_EQ(model.value(kNoteViewStyle), on);
        chooseFromMenu(on ? "Shown with every editor" : "As it was left");
        EXPECT_EQ(model.value(kDefaultExtensionsPanel), on);
    }

    model.set(kFeedback, 0.66);
    ASSERT_EQ(model.manager.save(folder / "File.qvx"), PresetFault::None);
    model.set(kFeedback, 0.1);
    desk.answer = folder / "File.qvx";
    chooseFromMenu("Load or import preset file...");
    EXPECT_NEAR(model.value(kFeedback), 0.66, 1e-6);
    std::filesystem::copy(folder / "File.qvx", folder / "Came later.qvx");
    chooseFromMenu("Scan preset folder again");
    EXPECT_EQ(model.manager.presetNames(kFromFolder, 0).size(), 2u);
    setenv("PATH", folder.path.c_str(), 1);  // holds no program to open folders with
    chooseFromMenu("Open preset folder");
    EXPECT_EQ(message(), kNoPresetFolderText);
}

TEST_F(EditorOverlays, LeadToManualAndWebsite) {
    click(at(kProductLabelId));
    const struct {
        const char *title, *opened, *told;
    } doors[] = {{"MANUAL", "manual", "no manual"},
                 {"WEBSITE", "https://www.quorvant.example", "nothing to show https"}};
    for (const bool works : {true, false}) {
        desk.works = works;
        for (const auto& door : doors) {
            press(door.title);
            EXPECT_EQ(std::exchange(desk.opened, ""), door.opened);
            EXPECT_EQ(message().find(door.told) != std::string::npos, !works) << message();
        }
    }
    click(at(kAboutLabelId));
    EXPECT_EQ(find<AboutBox>(), nullptr);
    chooseFromMenu("About Corvane QVX77x");
    press("BACK TO THE PANEL");
    chooseFromMenu("Manual");
    EXPECT_EQ(desk.opened, "manual");
}

}  // namespace
}  // namespace Quorvant::Testing
