// Presets of the delivered plug-in on the command line: chosen, shown, and carried between formats.
#include "presets/PresetBlob.h"
#include "presets/PresetFile.h"
#include "tests/tools/CommandRun.h"

#include <boost/endian/conversion.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>

namespace Quorvant::Hosting {

namespace {

namespace fs = std::filesystem;

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::string textOf(const std::vector<std::byte>& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

void appendWord(std::string& bytes, uint32_t word) {
    boost::endian::native_to_little_inplace(word);
    bytes.append(reinterpret_cast<const char*>(&word), sizeof word);
}

// A file of the earlier version that holds these slots.
std::string legacyFile(const std::vector<std::pair<uint32_t, float>>& slots) {
    const auto count = static_cast<uint32_t>(slots.size());
    std::string bytes;
    appendWord(bytes, 0x50533737);
    bytes += '\x22';
    for (const uint32_t word : {0x02000000u, 18u, count, 0u, count * 32, 0u, 0u, 0u, 0u})
        appendWord(bytes, word);
    for (const auto& [slot, value] : slots)
        for (const uint32_t word : {1u, 20u, 0u, slot, 0u, 0u, std::bit_cast<uint32_t>(value), 0u})
            appendWord(bytes, word);
    return bytes;
}

// No two values are alike, and the name holds what XML and file systems treat apart.
QVXPresetRecord oddRecord() {
    QVXPresetRecord record{};
    setPresetName(record, "\"Q\" & <A>: f\xc3\xbcr 'x'");
    for (size_t i = 0; i < std::size(record.values); ++i)
        record.values[i] = 0.013f + static_cast<float>(i) / 39.0f;
    record.values[25] = 0.0f;  // Inf Repeat
    return record;
}

}  // namespace

class PresetCommands : public testing::Test {
  protected:
    PresetCommands() {
        // The user's preset folder lies below the home folder.
        home = files.path("home");
        fs::create_directories(home);
#ifdef _WIN32
        _putenv_s("USERPROFILE", home.c_str());
#else
        setenv("HOME", home.c_str(), 1);
#endif
    }

    Outcome presets(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "presets");
        return files.run(arguments);
    }
    // Without a word on either stream.
    void exports(const std::string& from, const std::string& name) const {
        const Outcome outcome = presets({"export", from, files.path(name)});
        EXPECT_EQ(outcome.status, 0) << from;
        EXPECT_EQ(outcome.err, "") << from;
        EXPECT_EQ(outcome.out, "") << from;
    }
    std::string shown(const std::string& nameOrFile) const {
        const Outcome outcome = presets({"show", nameOrFile, "--plain"});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return outcome.out;
    }
    fs::path imported(const std::string& name) const {
        return fs::path(home) / "Documents" / "Quorvant" / "Corvane QVX77x" / "User Presets" / name;
    }

    Workspace files;
    std::string home;
};

TEST_F(PresetCommands, ListAndShowWhatTheEffectOffers) {
    const auto rows = tableOf(presets({"list", "--plain"}).out);
    ASSERT_GT(rows.size(), size_t{100});
    for (size_t number = 0; number < rows.size(); ++number) {
        ASSERT_EQ(rows[number].size(), size_t{3});
        EXPECT_EQ(rows[number][0], std::to_string(number));
        EXPECT_NE(rows[number][1], "");
        EXPECT_NE(rows[number][2], "");
    }
    EXPECT_EQ(rows[1][1], "Default Legacy");
    EXPECT_EQ(rows[1][2], "Legacy");
    const std::string wiper = shown("WIPER");
    EXPECT_EQ(shown("2"), wiper);
    EXPECT_NE(shown("Default Legacy"), wiper);
    EXPECT_TRUE(contains(wiper, "Processing Mode\tLegacy\n"));
    EXPECT_FALSE(contains(wiper, "Heartbeat"));
}

TEST_F(PresetCommands, ChooseTheSameByNameNumberAndFileAndBeforeParameters) {
    exports("wiper", "wiper.qvx");
    exports("wiper", "wiper.vstpreset");
    const std::vector<std::string> sources = {"2", files.path("wiper.qvx"),
                                              files.path("wiper.vstpreset")};
    for (const auto& source : sources) EXPECT_EQ(shown(source), shown("wiper")) << source;

    std::vector<double> noise(2000);
    for (size_t i = 0; i < noise.size(); ++i)
        noise[i] = 0.3 * std::sin(static_cast<double>(i * i % 977));
    files.writeAudio("in.wav", noise, 2, 44100);
    const auto rendered = [&](std::vector<std::string> options) {
        options.insert(options.begin(),
                       {"render", files.path("in.wav"), files.path("out.wav"), "--tail", "0.5"});
        const Outcome outcome = files.run(options);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return readAudio(files.path("out.wav")).samples;
    };
    const auto chosen = rendered({"--preset", "wiper"});
    EXPECT_NE(chosen, rendered({}));
    for (const auto& source : sources) EXPECT_EQ(rendered({"--preset", source}), chosen) << source;

    ASSERT_EQ(files
                  .run({"state", "save", files.path("louder.vstpreset"), "--param", "Input=6",
                        "--preset", "wiper"})
                  .status,
              0);
    const auto before = tableOf(shown("wiper"));
    const auto after = tableOf(shown(files.path("louder.vstpreset")));
    ASSERT_EQ(before.size(), after.size());
    for (size_t row = 0; row < before.size(); ++row) {
        if (before[row][1] == "Input")
            EXPECT_EQ(after[row][2], "6.0 dB");
        else
            EXPECT_EQ(before[row], after[row]);
    }
}

TEST_F(PresetCommands, LeaveTheGlobalSetAloneWhenAFileIsChosen) {
    QVXPresetRecord record = oddRecord();
    files.writeText("odd.qvx", textOf(serialisePreset(record, 0, 0)));
    const auto state = [&](std::vector<std::string> options) {
        options.insert(options.begin(), {"state", "save", files.path("a.vstpreset")});
        EXPECT_EQ(files.run(options).status, 0);
        return tableOf(shown(files.path("a.vstpreset")));
    };
    const auto plain = state({});
    const auto chosen = state({"--preset", files.path("odd.qvx")});
    for (const size_t id : {8, 9, 10, 11, 12, 13, 14, 34, 35})
        EXPECT_EQ(chosen[id], plain[id]) << id;
    EXPECT_NE(chosen[4], plain[4]);
    EXPECT_NE(chosen[15], plain[15]);
}

TEST_F(PresetCommands, SayWhatIsWrongAndLeaveNothing) {
    files.writeAudio("in.wav", std::vector<double>(100, 0.5), 1, 44100);
    files.writeText("notes.txt", "no preset at all");
    files.writeText("good.qvx", textOf(serialisePreset(oddRecord(), 0, 0)));
    const std::string good = files.path("good.qvx");
    const auto render = [&](const std::string& preset) {
        return std::vector<std::string>{"render", files.path("in.wav"), files.path("out.wav"),
                                        "--preset", preset};
    };
    struct Case {
        std::vector<std::string> line;
        std::vector<std::string> words;
    };
    const std::vector<Case> cases = {
        {render("wipre"), {"'wipre'", "'wiper'"}},
        {render("dub"), {"Dub'"}},
        {render(files.path("none.qvx")), {"none.qvx"}},
        {render(files.path("notes.txt")), {"notes.txt", "no preset"}},
        {{"bench", "--preset", "wipre"}, {"'wiper'"}},
        {{"presets", "show", "wipre"}, {"'wiper'"}},
        {{"presets", "show", good, "--plugin", probePath()}, {"another plug-in"}},
        {{"presets", "show", "wiper", "--plugin", probePath()}, {"offers no presets", "'wiper'"}},
        {{"presets", "list", "--plugin", probePath()}, {"offers no presets"}},
        {{"presets", "export", "--all", files.path("all"), "--plugin", probePath()},
         {"offers no presets"}},
        {{"presets", "export", "wiper", files.path("out.txt")}, {".qvx", ".vstpreset"}},
        {{"presets", "export", "wiper", files.path("none/out.qvx")}, {"none"}},
        {{"presets", "export", "wiper", files.path("none/out.vstpreset")}, {"none"}},
        {{"presets", "import", files.path("none.qvx")}, {"none.qvx"}},
        {{"presets", "import", files.path("notes.txt")}, {"notes.txt", "no preset"}},
        {{"presets", "import", good, "--plugin", probePath()}, {"another plug-in"}},
    };
    const auto before = files.names();
    for (const Case& one : cases) {
        std::string line;
        for (const std::string& argument : one.line) line += argument + " ";
        SCOPED_TRACE(line);
        const Outcome outcome = files.run(one.line);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1) << outcome.err;
        for (const std::string& word : one.words)
            EXPECT_TRUE(contains(outcome.err, word)) << word << " is not in: " << outcome.err;
        EXPECT_EQ(files.names(), before);
    }
    const std::vector<std::vector<std::string>> wrongLines = {
        {},         {"export"}, {"export", "wiper"}, {"export", "wiper", "x.qvx", "--all", "x"},
        {"import"}, {"show"}};
    for (const auto& line : wrongLines) EXPECT_EQ(presets(line).status, 2);
}

TEST_F(PresetCommands, CarryPresetsThroughBothFormatsByteForByte) {
    for (const char* number : {"1", "2", "66", "121", "131"}) {
        exports(number, "a.qvx");
        exports(files.path("a.qvx"), "a.vstpreset");
        (void)presets({"export", files.path("a.vstpreset"), files.path("b.qvx")});
        EXPECT_EQ(files.readBytes("a.qvx").size(), size_t{1425});
        EXPECT_EQ(files.readBytes("a.qvx"), files.readBytes("b.qvx")) << number;
        exports(number, "c.vstpreset");
        (void)presets({"export", files.path("c.vstpreset"), files.path("c.qvx")});
        EXPECT_EQ(files.readBytes("a.qvx"), files.readBytes("c.qvx")) << number;
        exports(files.path("c.vstpreset"), "d.vstpreset");
        EXPECT_EQ(files.readBytes("c.vstpreset"), files.readBytes("d.vstpreset")) << number;
    }
    // Every value and byte of a file, the global set and what other versions may add too.
    constexpr auto kNoPlace = static_cast<uint32_t>(-1);
    const std::string odd = textOf(serialisePreset(oddRecord(), 0, kNoPlace));
    files.writeText("odd.qvx", odd);
    exports(files.path("odd.qvx"), "odd.vstpreset");
    exports(files.path("odd.vstpreset"), "back.qvx");
    EXPECT_EQ(files.readBytes("back.qvx"), odd);
    const std::string longer = textOf(serialisePreset(oddRecord(), 7, 8)) + "more";
    files.writeText("longer.qvx", longer);
    exports(files.path("longer.qvx"), "same.qvx");
    EXPECT_EQ(files.readBytes("same.qvx"), longer);
}

TEST_F(PresetCommands, SayInOneSentenceWhatAConversionLeavesOut) {
    ASSERT_EQ(files
                  .run({"state", "save", files.path("still.vstpreset"), "--preset", "wiper",
                        "--param", "Suspend=On"})
                  .status,
              0);
    std::string outside = textOf(serialisePreset(oddRecord(), 0, 0));
    outside.replace(outside.size() - 8, 4, std::string("\0\0\0\x40", 4));  // 2.0
    files.writeText("outside.qvx", outside);
    files.writeText("cut.qvx", textOf(serialisePreset(oddRecord(), 0, 0)).substr(0, 1000));
    files.writeText("loop.qvx", legacyFile({{3, 0.9f}, {13, 1.0f}}));
    files.writeText("early.qvx", legacyFile({{3, 0.9f}, {13, 0.0f}}));
    struct Case {
        const char* source;
        std::vector<std::string> words;
    };
    const std::vector<Case> cases = {
        {"still.vstpreset", {"suspend", "setup", "view"}},
        {"outside.qvx", {"1 value lies out of range"}},
        {"cut.qvx", {"ends early"}},
        {"loop.qvx", {"Inf Repeat"}},
        {"early.qvx", {}},
    };
    for (const Case& one : cases) {
        const Outcome outcome =
            presets({"export", files.path(one.source), files.path("converted.qvx")});
        EXPECT_EQ(outcome.status, 0) << one.source;
        EXPECT_EQ(std::ranges::count(outcome.err, '\n'), one.words.empty() ? 0 : 1) << outcome.err;
        for (const std::string& word : one.words)
            EXPECT_TRUE(contains(outcome.err, word)) << word << " is not in: " << outcome.err;
        QVXPresetRecord record{};
        ASSERT_EQ(loadPreset(files.path("converted.qvx"), record), PresetFault::None);
        EXPECT_EQ(files.readBytes("converted.qvx").size(), size_t{1425});
        if (contains(one.source, "loop")) {
            EXPECT_FLOAT_EQ(record.values[15], 0.3f);
            EXPECT_EQ(record.values[25], 0.0f);
        }
    }
}

TEST_F(PresetCommands, ImportIntoTheUsersFolderAndReplaceOnlyWhenTold) {
    exports("wiper", "One.vstpreset");
    exports("0", "Two.qvx");
    files.writeText("Three.qvx", legacyFile({{3, 0.9f}}));
    const Outcome outcome = presets({"import", files.path("One.vstpreset"), files.path("none.qvx"),
                                     files.path("Two.qvx"), files.path("Three.qvx")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(contains(outcome.err, "none.qvx"));
    EXPECT_TRUE(contains(outcome.err, "1 of 4"));
    QVXPresetRecord one{}, two{}, three{};
    EXPECT_EQ(loadPreset(imported("One.qvx"), one), PresetFault::None);
    EXPECT_EQ(presetName(one), "wiper");
    EXPECT_EQ(loadPreset(imported("Two.qvx"), two), PresetFault::None);
    EXPECT_EQ(presetName(two), "Default");
    EXPECT_EQ(loadPreset(imported("Three.qvx"), three), PresetFault::None);
    EXPECT_FLOAT_EQ(three.values[15], 0.3f);

    exports("wiper", "Two.qvx");
    const Outcome refused = presets({"import", files.path("Two.qvx")});
    EXPECT_EQ(refused.status, 1);
    EXPECT_TRUE(contains(refused.err, "--force")) << refused.err;
    EXPECT_EQ(loadPreset(imported("Two.qvx"), two), PresetFault::None);
    EXPECT_EQ(presetName(two), "Default");
    EXPECT_EQ(presets({"import", "--force", files.path("Two.qvx")}).status, 0);
    EXPECT_EQ(loadPreset(imported("Two.qvx"), two), PresetFault::None);
    EXPECT_EQ(presetName(two), "wiper");
}

TEST_F(PresetCommands, ExportAllUnderNamesThatEverySystemTakes) {
    const auto rows = tableOf(presets({"list", "--plain"}).out);
    ASSERT_EQ(presets({"export", "--all", files.path("all")}).status, 0);
    size_t count = 0;
    for (const auto& entry : fs::directory_iterator(files.path("all"))) {
        EXPECT_TRUE(isFileName(entry.path().filename().string())) << entry.path();
        EXPECT_EQ(entry.path().extension(), ".vstpreset");
        ++count;
    }
    EXPECT_EQ(count, rows.size());
    for (const size_t number : {size_t{2}, rows.size() - 1}) {
        const std::string& name = rows[number][1];
        const std::string file = files.path("all/" + fileNameFor(name) + ".vstpreset");
        EXPECT_EQ(shown(file), shown(name));
        const std::string alone = std::to_string(number) + ".vstpreset";
        exports(name, alone);
        // Presets that were chosen before leave no trace in it.
        EXPECT_EQ(files.readBytes("all/" + fileNameFor(name) + ".vstpreset"),
                  files.readBytes(alone));
    }
}

}  // namespace Quorvant::Hosting
