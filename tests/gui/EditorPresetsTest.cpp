// The preset bar and the browser.
#include "presets/PresetTexts.h"
#include "tests/gui/EditorTest.h"

namespace Quorvant::Testing {
namespace {

TEST_F(EditorTest, PresetBarStepsSavesComparesAndTakesBack) {
    auto& presets = model.manager;
    const auto name = [&] { return screen->find<PresetBar>()->nameDisplay(); };
    const std::string first = name();
    EXPECT_EQ(first.substr(0, 4), "00: ");
    EXPECT_FALSE(screen->find<PresetBar>()->undoButton().isEnabled());
    screen->click({45, 18});  // next
    EXPECT_EQ(name().substr(0, 4), "01: ");
    screen->click({21, 18});  // previous
    EXPECT_EQ(name(), first);
    screen->click({351, 18});  // undo
    EXPECT_EQ(name().substr(0, 4), "01: ");
    screen->click({379, 18});  // redo
    EXPECT_EQ(name(), first);

    model.set(kFeedback, 0.77);
    EXPECT_EQ(name(), first + " *");
    press("COPY");
    press("B");
    EXPECT_EQ(presets.selectedSetup(), Setup::B);
    EXPECT_NE(model.value(kFeedback), 0.77);
    press("PASTE");
    EXPECT_EQ(name().substr(0, 3), "CP:");
    EXPECT_NEAR(model.value(kFeedback), 0.77, 1e-6);
    press("B > A");
    press("A");
    EXPECT_EQ(name().substr(0, 3), "CP:");

    screen->rightClick({200, 18});
    type("My sound");
    EXPECT_EQ(presetName(presets.current()), "My sound");

    screen->desk.answer = folder / "Chosen";
    press("SAVE");
    EXPECT_EQ(screen->desk.askedTitle, "Save preset");
    EXPECT_EQ(screen->desk.askedName, "My sound.qvx");
    EXPECT_TRUE(std::filesystem::exists(folder / "Chosen.qvx"));
    // The dialog knew nothing of the file that the extension leads to.
    std::filesystem::resize_file(folder / "Chosen.qvx", 1);
    press("SAVE");
    EXPECT_TRUE(screen->key(VSTGUI::VirtualKey::Return)) << "which replaces nothing";
    EXPECT_EQ(std::filesystem::file_size(folder / "Chosen.qvx"), 1u);
    press("SAVE");
    press("Replace");
    EXPECT_GT(std::filesystem::file_size(folder / "Chosen.qvx"), 1u);
    screen->desk.answer = folder / "Chosen.qvx";
    press("SAVE");
    EXPECT_EQ(screen->find<QuestionBox>(), nullptr) << "that the dialog has asked already";

    // Without a system's dialog, the editor asks itself, and before it overwrites.
    screen->desk.hasDialogs = false;
    press("SAVE");
    type("Second.qvx");
    EXPECT_TRUE(std::filesystem::exists(folder / "Second.qvx"));
    std::filesystem::remove(folder / "Second.qvx");
    std::filesystem::create_directories(folder / "Second.qvx");
    press("SAVE");
    type("Second");
    ASSERT_NE(screen->find<QuestionBox>(), nullptr);
    press("Cancel");
    EXPECT_EQ(screen->find<QuestionBox>(), nullptr);
    EXPECT_TRUE(std::filesystem::is_directory(folder / "Second.qvx"));
}

TEST_F(EditorTest, BrowserFindsChoosesAndKeepsPresets) {
    auto& presets = model.manager;
    ASSERT_EQ(presets.presetNames(kFromFolder, 0).size(), 0u);
    FakeModel other(folder);  // saves what this instance has not seen
    other.manager.setName("Mine");
    ASSERT_EQ(other.manager.save(folder / "Mine.qvx"), PresetFault::None);
    screen->click({200, 18});
    auto* browser = screen->find<PresetBrowser>();
    ASSERT_NE(browser, nullptr);
    const auto row = [&](ListColumn& column, const std::string& part) {
        for (std::size_t i = 0; i < column.rows().size(); ++i) {
            if (!column.rows()[i].heading &&
                column.rows()[i].text.find(part) != std::string::npos) {
                return static_cast<int>(i);
            }
        }
        return -1;
    };
    const auto point = [&](ListColumn& column, int index) {
        column.select(index);
        return column.rowRect(index).getCenter();
    };

    // A category, then one of its presets by a click, and one by the keyboard.
    screen->click(point(browser->groupColumn(), row(browser->groupColumn(), "Vibrato")));
    ASSERT_GT(browser->presetColumn().rows().size(), 2u);
    screen->click(browser->presetColumn().rowRect(1).getCenter());
    EXPECT_EQ(presets.location().preset, 1);
    EXPECT_TRUE(screen->key(VSTGUI::VirtualKey::Down));
    EXPECT_EQ(presets.location().preset, 2);
    EXPECT_TRUE(screen->key(VSTGUI::VirtualKey::Up));
    EXPECT_EQ(presets.location().preset, 1);
    EXPECT_TRUE(presets.canUndo());

    // Search goes through every list.
    browser->searchField().setText("mine");
    ASSERT_EQ(browser->presetColumn().rows().size(), 1u);
    screen->click(browser->presetColumn().rowRect(0).getCenter());
    EXPECT_EQ(presets.location().source, kFromFolder);

    // Results are shown from the first, wherever the list was.
    const auto last = presets.presetNames(kFromCategory, 10).size() - 1;
    ASSERT_EQ(presets.choose({kFromCategory, 10, static_cast<int32_t>(last)}), PresetFault::None);
    browser->searchField().setText("e");
    auto& found = browser->presetColumn();
    EXPECT_GT(found.rows().size(), 3u * static_cast<std::size_t>(found.rowsPerColumn()));
    EXPECT_EQ(found.rowRect(0).left, found.getViewSize().left);
    browser->searchField().setText("mine");
    screen->click(browser->presetColumn().rowRect(0).getCenter());

    // Favourites.
    const auto rowPoint = browser->presetColumn().rowRect(0).getCenter();
    screen->rightClick(rowPoint);
    choose("Add to favourites");
    EXPECT_TRUE(browser->presetColumn().rows()[0].starred);
    browser->searchField().setText("");
    screen->click(screen->middleOf(browser->favouritesButton()));
    EXPECT_EQ(browser->presetColumn().rows().size(), 1u);
    screen->rightClick(rowPoint);
    choose("Remove from favourites");
    EXPECT_EQ(browser->presetColumn().rows().size(), 0u);

    // Mix lock.
    screen->click(screen->middleOf(browser->mixLockButton()));
    model.set(kMix, 0.123);
    screen->click(point(browser->groupColumn(), row(browser->groupColumn(), "Flanger")));
    screen->click(browser->presetColumn().rowRect(0).getCenter());
    EXPECT_EQ(model.value(kMix), 0.123);
    EXPECT_FALSE(screen->find<PresetBar>()->nameDisplay().ends_with('*')) << "nobody changed it";
    screen->click(screen->middleOf(browser->mixLockButton()));
    screen->click(browser->presetColumn().rowRect(1).getCenter());
    EXPECT_NE(model.value(kMix), 0.123);

    // A designer's photo opens the link; factory presets are no files.
    screen->rightClick(browser->presetColumn().rowRect(0).getCenter());
    choose("Factory presets are integral part of the plugin");
    screen->click(point(browser->groupColumn(), row(browser->groupColumn(), "Dub")));
    screen->click({915, 90});
    EXPECT_EQ(screen->desk.opened.substr(0, 8), "https://");

    // User presets are renamed, and deleted only after a question.
    screen->click(point(browser->groupColumn(), row(browser->groupColumn(), "#MAIN FOLDER")));
    ASSERT_EQ(browser->presetColumn().rows().size(), 1u);
    screen->rightClick(rowPoint);
    choose("Add to favourites");
    screen->rightClick(rowPoint);
    choose("Rename...");
    type("Renamed");
    EXPECT_TRUE(loadUserSettings().favourites.contains("file:#MAIN FOLDER/Renamed"));
    screen->editor->idle();
    EXPECT_NE(browser->presetColumn().rows()[0].text.find("Renamed"), std::string::npos);
    EXPECT_TRUE(std::filesystem::exists(folder / "Renamed.qvx"));
    screen->rightClick(rowPoint);
    choose("Delete...");
    press("Cancel");
    EXPECT_TRUE(std::filesystem::exists(folder / "Renamed.qvx"));
    screen->rightClick(rowPoint);
    choose("Delete...");
    press("Delete");
    EXPECT_FALSE(std::filesystem::exists(folder / "Renamed.qvx"));

    EXPECT_TRUE(screen->key(VSTGUI::VirtualKey::Escape));
    EXPECT_EQ(screen->find<PresetBrowser>(), nullptr);
    EXPECT_FALSE(screen->key(VSTGUI::VirtualKey::Down)) << "keys belong to the host now";
}

}  // namespace
}  // namespace Quorvant::Testing
