// What corvane-host says where it can't do what it is asked for, and what it tells of plug-ins.
#include "tests/tools/CommandRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace Quorvant::Hosting {

namespace {

struct Case {
    Words line;
    Words words;  // that the sentence must hold
};

}  // namespace

class CommandLine : public testing::Test {
  protected:
    CommandLine() {
        files.writeAudio("in.wav", std::vector<float>(100, 0.5f), 1, 44100);
        files.writeAudio("slow.wav", std::vector<float>(100, 0.5f), 1, 8000);
        files.writeAudio("three.wav", std::vector<float>(300, 0.5f), 3, 44100);
        files.writeText("notes.txt", "no audio and no preset at all");
        files.writeText("time.csv", "# a comment\n0,Level,50\n-1,Level,50\n");
        files.writeText("name.csv", "0,Levle,50\n");
        files.writeText("short.csv", "0,Level\n");
    }

    std::string path(const std::string& name) const { return files.path(name); }
    Words renderFrom(const std::string& input, const Words& options = {}) const {
        Words line = {"render", path(input), path("out.wav"), "--plugin", PROBE};
        line.insert(line.end(), options.begin(), options.end());
        return line;
    }
    Words render(const Words& options) const { return renderFrom("in.wav", options); }

    Workspace files;
};

TEST_F(CommandLine, SaysInOneSentenceWhatFailedAndWritesNothing) {
    const std::string in = path("in.wav"), out = path("out.wav"), png = path("a.png");
    const std::string none = path("none.vst3"), notes = path("notes.txt");
    const std::vector<Case> cases = {
        {renderFrom("nowhere.wav"), {"nowhere.wav"}},
        {renderFrom("notes.txt"), {"notes.txt"}},
        {renderFrom("three.wav"), {"3 channels", "mono and stereo"}},
        {renderFrom("slow.wav"), {"Probe", "8000 Hz"}},
        {render({"--param", "Eco=On"}), {"'Eco'", "params"}},
        {render({"--param", "Peak=1"}), {"'Peak'", "read-only"}},
        {render({"--param", "Level=loud"}), {"'loud'", "0.0000 ... 100.0000 %"}},
        {render({"--param", "Level=250"}), {"'250'"}},
        {render({"--param", "Level=5\xff"}), {"'Level'"}},
        {render({"--param", "Level=" + std::string(300, '5')}), {"'Level'", "100"}},
        {render({"--param", "Level=@1.5"}), {"@1.5", "@0", "@1"}},
        {render({"--param", "Echo="}), {"Off, On"}},
        {render({"--automate", path("time.csv")}), {"line 3", "'-1'"}},
        {render({"--automate", path("name.csv")}), {"line 1", "'Levle'"}},
        {render({"--automate", path("short.csv")}), {"line 1", "seconds"}},
        {render({"--automate", path("none.csv")}), {"none.csv"}},
        {render({"--sidechain", path("slow.wav")}), {"8000 Hz", "44100 Hz"}},
        {render({"--format", "mp3"}), {"'mp3'", "wav16"}},
        {render({"--plot", path("a.jpg")}), {"a.jpg", ".png"}},
        {render({"--plot", path("none/a.png")}), {"none"}},
        {render({"--preset", "wiper"}), {"'wiper'"}},
        {render({"--preset", path("none.qvx")}), {"none.qvx"}},
        {{"render", in, path("out.doc"), "--plugin", PROBE}, {"out.doc", "wav32f"}},
        {{"render", in, path("none/out.wav"), "--plugin", PROBE}, {"none"}},
        {{"render", in, out, "--plugin", none}, {"none.vst3"}},
        {{"render", in, out, "--plugin", notes}, {"notes.txt", "cannot be loaded"}},
        {{"bench", "--preset", "wipre"}, {"'wipre'", "presets list"}},
        {{"phrase", path("phrase.doc")}, {"phrase.doc"}},
        {{"editor", "--plugin", PROBE, "--screenshot", png}, {"'Probe' has no editor"}},
        {{"editor", "--screenshot", path("none/a.png")}, {"cannot write"}},
        {{"presets", "show", "wipre"}, {"'wipre'", "presets list"}},
        {{"presets", "show", notes}, {"notes.txt", "no preset"}},
        {{"presets", "list", "--plugin", PROBE}, {"offers no presets"}},
        {{"presets", "export", "wiper", path("out.qvx"), "--plugin", PROBE}, {"another plug-in"}},
        {{"presets", "export", "wiper", path("out.txt")}, {".qvx", ".vstpreset"}},
        {{"presets", "export", "wiper", path("none/out.qvx")}, {"none"}},
        {{"presets", "import", notes}, {"notes.txt", "no preset"}},
    };
    const auto before = files.names();
    for (const Case& one : cases) {
        const Outcome outcome = files.run(one.line);
        const std::string said = testing::PrintToString(one.line) + " says: " + outcome.err;
        EXPECT_EQ(outcome.status, 1) << said;
        EXPECT_EQ(outcome.out, "") << said;
        EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1) << said;
        for (const std::string& word : one.words)
            EXPECT_NE(outcome.err.find(word), std::string::npos) << word << ": " << said;
        EXPECT_EQ(files.names(), before) << said;
    }
}

TEST_F(CommandLine, AnswersAWrongCommandLineWithStatusTwo) {
    const std::vector<Words> lines = {
        render({"--param", "Level"}),
        render({"--block", "0"}),
        render({"--bits", "24"}),
        render({"--tail", "long"}),
        render({"--tail", "-1"}),
        render({"--tempo", "nan"}),
        {"meters", path("in.wav"), "--every", "0"},
        {"editor", "--screenshot", path("a.png"), "--click", "5"},
        {"editor", "--screenshot", path("a.png"), "--click", "1,2,3"},
        {"editor", "--click", "1,2"},
        {"presets", "export"},
        {"presets", "export", "wiper"},
        {"presets", "export", "wiper", "x.qvx", "--all", "x"},
    };
    const auto before = files.names();
    for (const auto& line : lines) {
        const Outcome outcome = files.run(line);
        EXPECT_EQ(outcome.status, 2) << testing::PrintToString(line);
        EXPECT_NE(outcome.err, "");
        EXPECT_EQ(files.names(), before);
    }
    EXPECT_NE(files.output({"render", "--help"}).find("--automate"), std::string::npos);
}

TEST_F(CommandLine, TellsOfAPluginInPlainRows) {
    const auto rows = tableOf(files.output({"params", "--plain", "--plugin", PROBE}));
    const std::vector<Words> expected = {
        {"0", "Level", "Lvl", "%", "0", "100.0000", "automatable", "0.0000 ... 100.0000"},
        {"1", "Echo", "", "", "1", "Off", "automatable list", "Off, On"},
        {"2", "Fault", "", "", "2", "None", "automatable list", "None, Not Finite, Crash"},
        {"100", "Peak", "", "", "0", "0.0000", "read-only", "0.0000 ... 1.0000"},
    };
    EXPECT_EQ(rows, expected);
    // People get a heading and columns instead.
    EXPECT_EQ(files.output({"params", "--plugin", PROBE}).substr(0, 5), "id   ");
}

TEST_F(CommandLine, MeasuresAnyNumberOfInstances) {
    const auto rows = tableOf(files.output(
        {"bench", "--plain", "--plugin", PROBE, "--instances", "3", "--seconds", "0.1"}));
    ASSERT_EQ(rows.size(), size_t{6});
    EXPECT_EQ(rows[1], (Words{"set-up", "3 x 48000 Hz, blocks of 512, 32 bits"}));
    for (const size_t row : {2, 3, 4, 5}) EXPECT_GT(std::stod(rows[row][1]), 0.0) << rows[row][0];
}

TEST_F(CommandLine, WritesTheSamePhraseEveryTime) {
    for (const char* name : {"a.wav", "b.wav"}) files.output({"phrase", path(name)});
    const Audio phrase = readAudio(path("a.wav"));
    EXPECT_EQ(phrase.channels, 2);
    EXPECT_EQ(phrase.rate, 44100);
    EXPECT_EQ(phrase.frames(), size_t{6 * 44100});
    EXPECT_EQ(phrase.samples, readAudio(path("b.wav")).samples);
    EXPECT_GT(std::ranges::max(phrase.samples), 0.1f);
}

}  // namespace Quorvant::Hosting
