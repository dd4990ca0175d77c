// What corvane-host says and leaves behind, command by command.
#include "tests/tools/CommandRun.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace Quorvant::Hosting {

namespace {

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

const std::string* findRow(const std::vector<std::vector<std::string>>& rows,
                           const std::string& key, size_t keyColumn, size_t valueColumn) {
    for (const auto& row : rows)
        if (row.size() > valueColumn && row[keyColumn] == key) return &row[valueColumn];
    return nullptr;
}

}  // namespace

class CommandLine : public testing::Test {
  protected:
    CommandLine() {
        files.writeAudio("in.wav", std::vector<double>(100, 0.5), 1, 44100);
        files.writeAudio("slow.wav", std::vector<double>(100, 0.5), 1, 8000);
        files.writeAudio("three.wav", std::vector<double>(300, 0.5), 3, 44100);
        files.writeText("notes.txt", "no audio at all");
        files.writeText("time.csv", "# a comment\n0,Level,50\n-1,Level,50\n");
        files.writeText("name.csv", "0,Levle,50\n");
        files.writeText("short.csv", "0,Level\n");
    }

    std::vector<std::string> render(const std::string& input,
                                    const std::vector<std::string>& options) const {
        std::vector<std::string> line = {"render", files.path(input), files.path("out.wav"),
                                         "--plugin", probePath()};
        line.insert(line.end(), options.begin(), options.end());
        return line;
    }

    Workspace files;
};

TEST_F(CommandLine, SaysInOneSentenceWhatFailedAndWritesNothing) {
    struct Case {
        std::vector<std::string> line;
        std::vector<std::string> words;  // that the sentence must hold
    };
    const std::string out = files.path("out.wav");
    const std::vector<Case> cases = {
        {render("nowhere.wav", {}), {"nowhere.wav"}},
        {render("notes.txt", {}), {"notes.txt"}},
        {render("three.wav", {}), {"3 channels", "mono and stereo"}},
        {render("slow.wav", {}), {"Probe", "8000 Hz"}},
        {render("in.wav", {"--param", "Eco=On"}), {"'Eco'", "'Echo'", "'Ecoh'"}},
        {render("in.wav", {"--param", "Peak=1"}), {"'Peak'", "read-only"}},
        {render("in.wav", {"--param", "Level=loud"}), {"'loud'", "'0", "'100", "%"}},
        {render("in.wav", {"--param", "Level=250"}), {"'250'"}},
        {render("in.wav", {"--param", "Level=5\xff"}), {"'Level'"}},
        {render("in.wav", {"--param", "Level=" + std::string(300, '5')}), {"'Level'", "'100"}},
        {render("in.wav", {"--param", "Level=@1.5"}), {"@1.5", "@0", "@1"}},
        {render("in.wav", {"--param", "Echo="}), {"'Off'", "'On'"}},
        {render("in.wav", {"--param", "Fault=Some"}), {"'None'", "'Not Finite'", "'Crash'"}},
        {render("in.wav", {"--automate", files.path("time.csv")}), {"line 3", "'-1'"}},
        {render("in.wav", {"--automate", files.path("name.csv")}), {"line 1", "'Level'"}},
        {render("in.wav", {"--automate", files.path("short.csv")}), {"line 1", "seconds"}},
        {render("in.wav", {"--automate", files.path("none.csv")}), {"none.csv"}},
        {render("in.wav", {"--sidechain", files.path("none.wav")}), {"none.wav"}},
        {render("in.wav", {"--state", files.path("notes.txt")}), {"Probe", "notes.txt"}},
        {render("in.wav", {"--format", "mp3"}), {"'mp3'", "wav16"}},
        {render("in.wav", {"--class", "Prob"}), {"'Prob'", "'Probe'"}},
        {{"render", files.path("in.wav"), files.path("out.doc"), "--plugin", probePath()},
         {"out.doc", "wav32f"}},
        {{"render", files.path("in.wav"), files.path("none/out.wav"), "--plugin", probePath()},
         {"none"}},
        {{"render", files.path("in.wav"), out, "--plugin", files.path("none.vst3")}, {"none.vst3"}},
        {{"render", files.path("in.wav"), out, "--plugin", files.path("notes.txt")}, {"notes.txt"}},
        {{"info", "--plugin", files.path(".")}, {"cannot be loaded"}},
        {{"bench", "--plugin", probePath(), "--rate", "8000"}, {"8000 Hz"}},
        {{"scan", files.path("none")}, {"none"}},
        {{"scan", files.path(".")}, {"no .vst3"}},
        {{"state", "load", files.path("notes.txt"), "--plugin", probePath()}, {"refuses"}},
        {{"phrase", files.path("phrase.doc")}, {"phrase.doc"}},
    };
    const auto before = files.names();
    for (const Case& one : cases) {
        std::string line;
        for (const std::string& argument : one.line) line += argument + " ";
        SCOPED_TRACE(line);
        const Outcome outcome = files.run(one.line);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1) << outcome.err;
        for (const std::string& word : one.words)
            EXPECT_TRUE(contains(outcome.err, word)) << word << " is not in: " << outcome.err;
        EXPECT_EQ(files.names(), before);
    }
}

TEST_F(CommandLine, AnswersAWrongCommandLineWithStatusTwo) {
    const std::vector<std::vector<std::string>> lines = {
        {},
        {"transmogrify"},
        {"render", "in.wav"},
        {"state"},
        render("in.wav", {"--loud"}),
        render("in.wav", {"--param", "Level"}),
        render("in.wav", {"--block", "0"}),
        render("in.wav", {"--bits", "24"}),
        render("in.wav", {"--tail", "long"}),
        render("in.wav", {"--tail", "-1"}),
        render("in.wav", {"--tempo", "fast"}),
        render("in.wav", {"--rate", "nan"}),
    };
    const auto before = files.names();
    for (const auto& line : lines) {
        const Outcome outcome = files.run(line);
        EXPECT_EQ(outcome.status, 2) << (line.empty() ? "" : line.back());
        EXPECT_NE(outcome.err, "");
        EXPECT_EQ(files.names(), before);
    }
}

TEST_F(CommandLine, HelpsOnEachLevel) {
    for (const char* command :
         {"render", "meters", "info", "params", "presets", "state", "scan", "bench", "phrase"}) {
        const Outcome outcome = files.run({command, "--help"});
        EXPECT_EQ(outcome.status, 0) << command;
        EXPECT_TRUE(contains(outcome.out, "Usage: corvane-host " + std::string(command)))
            << outcome.out;
        EXPECT_TRUE(contains(files.run({"--help"}).out, command));
    }
}

TEST_F(CommandLine, ListsParametersInPlainRowsOfEightFields) {
    const Outcome outcome = files.run({"params", "--plain", "--plugin", probePath()});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const auto rows = tableOf(outcome.out);
    ASSERT_EQ(rows.size(), size_t{5});
    for (const auto& row : rows) EXPECT_EQ(row.size(), size_t{8});
    EXPECT_EQ(rows[0][0], "0");
    EXPECT_EQ(rows[0][1], "Level");
    EXPECT_EQ(rows[0][2], "Lvl");
    EXPECT_EQ(rows[0][3], "%");
    EXPECT_EQ(rows[2][4], "2");
    EXPECT_EQ(rows[2][7], "None, Not Finite, Crash");
    EXPECT_EQ(rows[4][6], "read-only");
    // People get a heading and columns instead.
    const Outcome wide = files.run({"params", "--plugin", probePath()});
    EXPECT_FALSE(contains(wide.out, "\t"));
    EXPECT_EQ(wide.out.substr(0, 2), "id");
}

TEST_F(CommandLine, DescribesAPlugin) {
    const Outcome outcome = files.run({"info", "--plain", "--plugin", probePath()});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const auto rows = tableOf(outcome.out);
    EXPECT_EQ(*findRow(rows, "Probe", 1, 3), "Fx|Tools");
    EXPECT_EQ(*findRow(rows, "Side", 1, 2), "1 channel");
    EXPECT_EQ(*findRow(rows, "Side", 1, 3), "auxiliary");
    EXPECT_EQ(*findRow(rows, "latency", 0, 1), "100 frames");
    EXPECT_EQ(*findRow(rows, "tail", 0, 1), "120000 frames at 48000 Hz");
    EXPECT_EQ(*findRow(rows, "Echo", 2, 3), "Off");
}

TEST_F(CommandLine, CarriesStatesThroughBothKindsOfFile) {
    for (const char* name : {"preset.vstpreset", "plain.state"}) {
        ASSERT_EQ(files
                      .run({"state", "save", files.path(name), "--plugin", probePath(), "--param",
                            "Level=25", "--param", "Echo=On"})
                      .status,
                  0);
        const Outcome loaded =
            files.run({"state", "load", files.path(name), "--plain", "--plugin", probePath()});
        ASSERT_EQ(loaded.status, 0) << loaded.err;
        const auto rows = tableOf(loaded.out);
        EXPECT_EQ(findRow(rows, "Level", 1, 2)->substr(0, 2), "25");
        EXPECT_EQ(*findRow(rows, "Echo", 1, 2), "On");

        // Parameters given beside a state come after it.
        ASSERT_EQ(files
                      .run(render("in.wav", {"--state", files.path(name), "--param", "Echo=Off",
                                             "--tail", "0"}))
                      .status,
                  0);
        EXPECT_EQ(readAudio(files.path("out.wav")).samples, std::vector<double>(100, 0.125));
    }
    const Outcome other = files.run(
        {"state", "load", files.path("preset.vstpreset"), "--plugin", probePath("OtherProbe")});
    EXPECT_EQ(other.status, 1);
    EXPECT_TRUE(contains(other.err, "another plug-in")) << other.err;
}

TEST_F(CommandLine, RefusesDamagedStates) {
    ASSERT_EQ(
        files.run({"state", "save", files.path("good.vstpreset"), "--plugin", probePath()}).status,
        0);
    ASSERT_EQ(
        files.run({"state", "save", files.path("good.state"), "--plugin", probePath()}).status, 0);
    for (const char* name : {"good.vstpreset", "good.state"}) {
        const std::string whole = files.readText(name);
        for (size_t length = 0; length < whole.size(); length += 11) {
            files.writeText("cut", whole.substr(0, length));
            const Outcome outcome =
                files.run({"state", "load", files.path("cut"), "--plugin", probePath()});
            EXPECT_EQ(outcome.status, 1) << name << " cut to " << length;
            EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1) << outcome.err;
        }
    }
}

TEST_F(CommandLine, MeasuresAnyNumberOfInstances) {
    const Outcome outcome = files.run({"bench", "--plain", "--plugin", probePath(), "--instances",
                                       "3", "--seconds", "0.1", "--block", "33", "--bits", "64"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const auto rows = tableOf(outcome.out);
    EXPECT_EQ(*findRow(rows, "set-up", 0, 1), "3 x 48000 Hz, blocks of 33, 64 bits");
    for (const char* key : {"frames a second", "speed", "time a frame", "peak memory"}) {
        ASSERT_NE(findRow(rows, key, 0, 1), nullptr) << key;
        EXPECT_GT(std::stod(*findRow(rows, key, 0, 1)), 0.0) << key;
    }
}

TEST_F(CommandLine, WritesTheSamePhraseEveryTime) {
    ASSERT_EQ(files.run({"phrase", files.path("a.wav")}).status, 0);
    ASSERT_EQ(files.run({"phrase", files.path("b.wav")}).status, 0);
    const Audio phrase = readAudio(files.path("a.wav"));
    EXPECT_EQ(phrase.channels, 2);
    EXPECT_EQ(phrase.rate, 44100.0);
    EXPECT_EQ(phrase.samples.size(), size_t{2 * 6 * 44100});
    EXPECT_EQ(phrase.samples, readAudio(files.path("b.wav")).samples);
    const auto [low, high] = std::ranges::minmax(phrase.samples);
    EXPECT_GT(high, 0.1);
    EXPECT_LT(std::max(high, -low), 1.0);
}

#ifndef _WIN32
TEST_F(CommandLine, ScansOnWhenAModuleCrashesOrIsBroken) {
    const std::filesystem::path folder = files.path("plugins");
    const auto options = std::filesystem::copy_options::recursive;
    std::filesystem::create_directories(folder / "deep" / "er");
    std::filesystem::copy(probePath(), folder / "deep" / "er" / "Probe.vst3", options);
    std::filesystem::copy(probePath("CrashingProbe"), folder / "CrashingProbe.vst3", options);
    std::filesystem::create_directories(folder / "Empty.vst3");
    files.writeText("plugins/Text.vst3", "not a module");

    const Outcome outcome = files.run({"scan", "--plain", folder.string()});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    const auto rows = tableOf(outcome.out);
    ASSERT_EQ(rows.size(), size_t{4}) << outcome.out;
    for (const char* broken : {"CrashingProbe.vst3", "Empty.vst3", "Text.vst3"}) {
        const std::string path = (folder / broken).string();
        ASSERT_NE(findRow(rows, path, 0, 2), nullptr) << outcome.out;
        EXPECT_EQ(*findRow(rows, path, 0, 1), "error");
        EXPECT_TRUE(contains(*findRow(rows, path, 0, 2), broken));
    }
    EXPECT_EQ(*findRow(rows, "Probe", 1, 5), "5 parameters");
}
#endif

}  // namespace Quorvant::Hosting
