// Presets of the delivered plug-in on the command line: chosen, shown, and carried between formats.
#include "presets/PresetBlob.h"
#include "presets/PresetFile.h"
#include "tests/tools/CommandRun.h"
#include "tools/corvane-host/PluginChoice.h"
#include "tools/corvane-host/PresetFormats.h"

#include <boost/endian/conversion.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>

namespace Quorvant::Hosting {

namespace {

namespace fs = std::filesystem;

std::string textOf(const std::vector<std::byte>& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// A file of the earlier version that holds these slots.
std::string legacyFile(const std::vector<std::pair<uint32_t, float>>& slots) {
    const auto count = static_cast<uint32_t>(slots.size());
    std::vector<uint32_t> words = {0x02000000u, 18u, count, 0u, count * 32, 0u, 0u, 0u, 0u};
    for (const auto& [slot, value] : slots)
        words.insert(words.end(), {1u, 20u, 0u, slot, 0u, 0u, std::bit_cast<uint32_t>(value), 0u});
    std::string bytes = "77SP\x22";
    for (uint32_t word : words) {
        boost::endian::native_to_little_inplace(word);
        bytes.append(reinterpret_cast<const char*>(&word), sizeof word);
    }
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

class PresetCommands : public testing::Test {
  protected:
    std::string path(const std::string& name) const { return files.path(name); }
    void exports(const std::string& from, const std::string& name) const {
        EXPECT_EQ(files.output({"presets", "export", from, path(name)}), "") << from;
    }
    std::string shown(const std::string& nameOrFile) const {
        return files.output({"presets", "show", nameOrFile, "--plain"});
    }
    std::vector<Words> list() const {
        return tableOf(files.output({"presets", "list", "--plain"}));
    }
    // The name of a preset in the user's folder.
    std::string imported(const std::string& name) const {
        QVXPresetRecord record{};
        const auto folder = files.home() / "Documents/Quorvant/Corvane QVX77x/User Presets";
        EXPECT_EQ(loadPreset(folder / name, record), PresetFault::None) << name;
        return std::string(presetName(record));
    }

    Workspace files;
};

}  // namespace

TEST_F(PresetCommands, ChooseTheSameByNameNumberAndFileAndBeforeParameters) {
    const std::string wiper = shown("WIPER");
    EXPECT_NE(wiper.find("Processing Mode\tLegacy\n"), std::string::npos);
    EXPECT_EQ(wiper.find("Heartbeat"), std::string::npos);
    exports("wiper", "wiper.qvx");
    exports("wiper", "wiper.vstpreset");
    std::vector<float> saw(2000);
    for (size_t i = 0; i < saw.size(); ++i) saw[i] = static_cast<float>(i % 97) / 200.0f;
    files.writeAudio("in.wav", saw, 2, 44100);
    const auto rendered = [&](const Words& options) {
        Words line = {"render", path("in.wav"), path("out.wav"), "--tail", "0.5"};
        line.insert(line.end(), options.begin(), options.end());
        files.output(line);
        return readAudio(path("out.wav")).samples;
    };
    const auto chosen = rendered({"--param", "Input=6", "--preset", "wiper"});
    EXPECT_NE(chosen, rendered({"--preset", "wiper"}));
    for (const std::string& source : Words{"2", path("wiper.qvx"), path("wiper.vstpreset")}) {
        EXPECT_EQ(shown(source), wiper) << source;
        EXPECT_EQ(rendered({"--param", "Input=6", "--preset", source}), chosen) << source;
    }
    // A file's global set is left out, as when it is chosen in the editor.
    QVXPresetRecord louder{};
    ASSERT_EQ(loadPreset(path("wiper.qvx"), louder), PresetFault::None);
    louder.values[8] = louder.values[9] = 0.9f;
    files.writeText("louder.qvx", textOf(serialisePreset(louder, 0, 0)));
    EXPECT_NE(shown(path("louder.qvx")), wiper);
    EXPECT_EQ(rendered({"--param", "Input=6", "--preset", path("louder.qvx")}), chosen);
}

TEST_F(PresetCommands, CarryPresetsThroughBothFormatsByteForByte) {
    // Every value and byte of a file, the global set and what other versions may add too.
    const std::string odd = textOf(serialisePreset(oddRecord(), 0, static_cast<uint32_t>(-1)));
    files.writeText("odd.qvx", odd);
    for (const std::string& source : Words{"2", "131", path("odd.qvx")}) {
        exports(source, "a.qvx");
        exports(path("a.qvx"), "a.vstpreset");
        exports(path("a.vstpreset"), "b.qvx");
        EXPECT_EQ(files.readText("a.qvx").size(), size_t{1425});
        EXPECT_EQ(files.readText("b.qvx"), files.readText("a.qvx")) << source;
        exports(path("a.vstpreset"), "b.vstpreset");
        EXPECT_EQ(files.readText("b.vstpreset"), files.readText("a.vstpreset")) << source;
    }
    EXPECT_EQ(files.readText("b.qvx"), odd);
    const std::string longer = textOf(serialisePreset(oddRecord(), 7, 8)) + "more";
    files.writeText("longer.qvx", longer);
    exports(path("longer.qvx"), "same.qvx");
    EXPECT_EQ(files.readText("same.qvx"), longer);
}

TEST_F(PresetCommands, SayInOneSentenceWhatAConversionLeavesOut) {
    const PluginChoice choice{CORVANE_MODULE, "wiper", {"Suspend=On"}};
    const auto plugin = openPlugin(choice);
    prepareAsItIs(*plugin, 48000.0, 512);
    applySettings(*plugin, choice);
    saveVstPreset(*plugin, path("still.vstpreset"), {std::string(30, 'n'), {}, true});
    std::string outside = textOf(serialisePreset(oddRecord(), 0, 0));
    outside.replace(outside.size() - 8, 4, std::string("\0\0\0\x40", 4));  // 2.0
    files.writeText("outside.qvx", outside);
    files.writeText("cut.qvx", outside.substr(0, 1000));
    files.writeText("loop.qvx", legacyFile({{3, 0.9f}, {13, 1.0f}}));
    files.writeText("early.qvx", legacyFile({{3, 0.9f}, {13, 0.0f}}));
    const std::vector<std::pair<const char*, Words>> cases = {
        {"still.vstpreset", {"suspend", "setup", "view", "cut to 'nnn"}},
        {"outside.qvx", {"out of range", "1"}},
        {"cut.qvx", {"ends early"}},
        {"loop.qvx", {"Inf Repeat"}},
        {"early.qvx", {}},
    };
    for (const auto& [source, words] : cases) {
        const Outcome outcome = files.run({"presets", "export", path(source), path("new.qvx")});
        EXPECT_EQ(outcome.status, 0) << source;
        EXPECT_EQ(std::ranges::count(outcome.err, '\n'), words.empty() ? 0 : 1) << outcome.err;
        for (const std::string& word : words)
            EXPECT_NE(outcome.err.find(word), std::string::npos) << word << ": " << outcome.err;
        QVXPresetRecord record{};
        ASSERT_EQ(loadPreset(path("new.qvx"), record), PresetFault::None) << source;
        EXPECT_EQ(record.values[25], 0.0f) << source;  // Inf Repeat
    }
}

TEST_F(PresetCommands, RefuseDamagedStates) {
    exports("wiper", "good.vstpreset");
    const std::string whole = files.readText("good.vstpreset");
    for (size_t length = 5; length < whole.size(); length += whole.size() / 20) {
        files.writeText("cut.vstpreset", whole.substr(0, length));
        const Outcome outcome = files.run({"presets", "show", path("cut.vstpreset")});
        EXPECT_EQ(outcome.status, 1) << "cut to " << length;
        EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1) << outcome.err;
    }
    const Outcome other = files.run({"presets", "show", path("good.vstpreset"), "--plugin", PROBE});
    EXPECT_NE(other.err.find("another plug-in"), std::string::npos) << other.err;
}

TEST_F(PresetCommands, ImportIntoTheUsersFolderAndReplaceOnlyWhenTold) {
    exports("wiper", "One.vstpreset");
    exports("0", "Two.qvx");
    files.writeText("Three.qvx", legacyFile({{3, 0.9f}}));
    const Outcome outcome = files.run({"presets", "import", path("One.vstpreset"), path("none.qvx"),
                                       path("Two.qvx"), path("Three.qvx")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("none.qvx"), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("1 of 4"), std::string::npos) << outcome.err;
    EXPECT_EQ(imported("One.qvx"), "wiper");
    EXPECT_EQ(imported("Two.qvx"), "Default");
    imported("Three.qvx");

    exports("wiper", "Two.qvx");
    const Outcome refused = files.run({"presets", "import", path("Two.qvx")});
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find("--force"), std::string::npos) << refused.err;
    EXPECT_EQ(imported("Two.qvx"), "Default");
    files.output({"presets", "import", "--force", path("Two.qvx")});
    EXPECT_EQ(imported("Two.qvx"), "wiper");
}

TEST_F(PresetCommands, ExportAllUnderNamesThatEverySystemTakes) {
    const auto rows = list();
    ASSERT_GT(rows.size(), size_t{100});
    EXPECT_EQ(rows[1], (Words{"1", "Default Legacy", "Legacy"}));
    files.output({"presets", "export", "--all", path("all")});
    size_t count = 0;
    for (const auto& entry : fs::directory_iterator(path("all"))) {
        EXPECT_TRUE(isFileName(entry.path().filename().string())) << entry.path();
        EXPECT_EQ(entry.path().extension(), ".vstpreset");
        ++count;
    }
    EXPECT_EQ(count, rows.size());
    // Presets that were chosen before leave no trace in it.
    const std::string& last = rows.back()[1];
    exports(last, "last.vstpreset");
    EXPECT_EQ(files.readText("all/" + fileNameFor(last) + ".vstpreset"),
              files.readText("last.vstpreset"));
}

}  // namespace Quorvant::Hosting
