// The preset bar and the browser.
#include "presets/PresetTexts.h"
#include "tests/gui/EditorTest.h"

namespace Quorvant::Testing {
namespace {

class EditorPresets : public EditorTest {
  protected:
    std::string name() { return find<PresetBar>()->nameDisplay(); }
    ListColumn& list() { return find<PresetBrowser>()->presetColumn(); }
    void search(const char* words) { find<PresetBrowser>()->textField()->setText(words); }
    CPoint row(int index) { return list().rowRect(index).getCenter(); }
    void pickGroup(const std::string& part) {
        ListColumn& groups = find<PresetBrowser>()->groupColumn();
        const auto& rows = groups.rows();
        const auto at = std::ranges::find_if(rows, [&](const ListRow& candidate) {
            return !candidate.heading && candidate.text.find(part) != std::string::npos;
        });
        ASSERT_NE(at, rows.end()) << part;
        const auto index = static_cast<int>(at - rows.begin());
        groups.select(index);
        click(groups.rowRect(index).getCenter());
    }
    void rowMenu(const std::string& title) {
        rightClick(row(0));
        choose(title);
    }
};

TEST_F(EditorPresets, BarStepsComparesAndTakesBack) {
    const CPoint previous(21, 18), next(45, 18), undo(351, 18), redo(379, 18);
    const std::string first = name();
    const auto lit = [&] {
        std::string arrows;
        for (const auto* button : all<ActionButton>())
            if (hintOf(*button) == "Click the left/right arrow to undo/redo action")
                arrows += button->isEnabled() ? '+' : '-';
        return arrows;
    };
    const struct {
        CPoint place;
        const char *shown, *lit;  // undo, redo
    } steps[] = {{kNowhere, "00: ", "--"},
                 {next, "01: ", "+-"},
                 {undo, "00: ", "-+"},
                 {redo, "01: ", "+-"},
                 {previous, "00: ", "+-"}};
    for (const auto& step : steps) {
        click(step.place);
        EXPECT_EQ(name().substr(0, 4), step.shown);
        EXPECT_EQ(lit(), step.lit) << step.shown;
    }
    model.set(kFeedback, 0.77);
    EXPECT_EQ(name(), first + " *");
    press("COPY");
    press("B");
    EXPECT_EQ(model.manager.selectedSetup(), Setup::B);
    EXPECT_NE(model.value(kFeedback), 0.77);
    press("PASTE");
    EXPECT_EQ(name().substr(0, 3), "CP:");
    EXPECT_NEAR(model.value(kFeedback), 0.77, 1e-6);
    press("B > A");
    press("A");
    EXPECT_EQ(name().substr(0, 3), "CP:");
}

TEST_F(EditorPresets, SavingAsksBeforeItReplaces) {
    const auto file = folder / "Chosen.qvx";
    model.manager.setName("My sound");
    desk.answer = folder / "Chosen";
    press("SAVE");
    EXPECT_EQ(desk.asked, "Save preset: My sound.qvx");
    EXPECT_TRUE(std::filesystem::exists(file));
    // The dialog knew nothing of the file that the extension leads to.
    std::filesystem::resize_file(file, 1);
    press("SAVE");
    EXPECT_TRUE(strike(VirtualKey::Return)) << "which replaces nothing";
    EXPECT_EQ(std::filesystem::file_size(file), 1u);
    press("SAVE");
    press("Replace");
    EXPECT_GT(std::filesystem::file_size(file), 1u);
    desk.answer = file;
    press("SAVE");
    EXPECT_EQ(find<QuestionBox>(), nullptr) << "that the dialog has asked already";

    // Without a system's dialog, the editor asks itself, and before it overwrites.
    desk.works = false;
    for (const bool replaces : {false, true}) {
        press("SAVE");
        enter("Second");
        EXPECT_EQ(find<QuestionBox>() != nullptr, replaces);
        EXPECT_TRUE(std::filesystem::exists(folder / "Second.qvx"));
    }
}

TEST_F(EditorPresets, BrowserFindsAndChooses) {
    auto& presets = model.manager;
    EXPECT_EQ(presets.presetNames(kFromFolder, 0).size(), 0u);
    FakeModel other(folder.path);  // saves what this instance has not seen
    ASSERT_EQ(other.manager.save(folder / "Mine.qvx"), PresetFault::None);
    click(kNameField);

    // A category, then one of its presets by a click, and one by the keyboard.
    pickGroup("Vibrato");
    click(row(1));
    EXPECT_EQ(presets.location().preset, 1);
    EXPECT_TRUE(strike(VirtualKey::Down));
    EXPECT_EQ(presets.location().preset, 2);

    // Search goes through every list.
    search("mine");
    ASSERT_EQ(list().rows().size(), 1u);
    click(row(0));
    EXPECT_EQ(presets.location().source, kFromFolder);

    // A designer's photo opens the link.
    pickGroup("Dub");
    click({915, 90});
    EXPECT_EQ(desk.opened.substr(0, 8), "https://");
    EXPECT_TRUE(strike(VirtualKey::Escape));
    EXPECT_EQ(find<PresetBrowser>(), nullptr);
}

TEST_F(EditorPresets, BrowserKeepsFavouritesFilesAndTheMix) {
    ASSERT_EQ(model.manager.save(folder / "Mine.qvx"), PresetFault::None);
    click(kNameField);
    search("mine");
    rowMenu("Add to favourites");
    search("");
    press("FAVOURITES");
    ASSERT_EQ(list().rows().size(), 1u);
    EXPECT_TRUE(list().rows()[0].starred);
    rowMenu("Remove from favourites");
    EXPECT_EQ(list().rows().size(), 0u);

    press("MIX LOCK");
    model.set(kMix, 0.123);
    pickGroup("Flanger");
    click(row(0));
    EXPECT_EQ(model.value(kMix), 0.123);
    EXPECT_FALSE(name().ends_with('*')) << "nobody changed it";
    press("MIX LOCK");
    click(row(1));
    EXPECT_NE(model.value(kMix), 0.123);
    rowMenu(kFactoryFileText);
    EXPECT_EQ(message(), kFactoryFileHint);

    // User presets are renamed, and deleted only after a question.
    pickGroup("#MAIN FOLDER");
    rowMenu("Add to favourites");
    rowMenu("Rename...");
    enter("Renamed");
    EXPECT_TRUE(loadUserSettings().favourites.contains("file:#MAIN FOLDER/Renamed"));
    EXPECT_TRUE(std::filesystem::exists(folder / "Renamed.qvx"));
    editor->idle();
    for (const auto& [answer, stays] : {std::pair{"Cancel", true}, {"Delete", false}}) {
        rowMenu("Delete...");
        press(answer);
        EXPECT_EQ(std::filesystem::exists(folder / "Renamed.qvx"), stays);
        EXPECT_EQ(loadUserSettings().favourites.empty(), !stays);
    }
}

}  // namespace
}  // namespace Quorvant::Testing
