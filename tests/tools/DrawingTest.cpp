// The pictures that the command line draws: of editors, and of what was rendered.
#include "tests/tools/CommandRun.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace Quorvant::Hosting {

namespace {

// The big-endian number that a PNG keeps at a place of its header; 0 for anything else.
unsigned pngNumber(const std::string& png, size_t place) {
    unsigned number = 0;
    for (size_t i = place; png.starts_with("\x89PNG") && i < place + 4; ++i)
        number = number << 8 | static_cast<unsigned char>(png[i]);
    return number;
}
unsigned widthOf(const std::string& png) {
    return pngNumber(png, 16);
}
unsigned heightOf(const std::string& png) {
    return pngNumber(png, 20);
}

}  // namespace

TEST(EditorPicture, ShowsTheEditorWithoutADisplay) {
    Workspace files;
    const auto draw = [&](const Words& options) {
        Words line = {"editor", "--screenshot", files.path("a.png"), "--zoom", "150"};
        line.insert(line.end(), options.begin(), options.end());
        files.output(line);
        return files.readText("a.png");
    };
    const auto plain = draw({});
    EXPECT_EQ(widthOf(plain), 1500u);
    EXPECT_EQ(heightOf(plain), 534u);
    EXPECT_NE(draw({"--preset", "wiper"}), plain);
    EXPECT_NE(draw({"--click", "960,18"}), draw({"--click", "2,2"}));
    EXPECT_EQ(heightOf(draw({"--param", "Show-Hide Extensions=@0"})), 384u);
}

#ifndef _WIN32
TEST(Plot, ShowsWhatWasRendered) {
    if (std::system("gnuplot --version >/dev/null 2>&1") != 0) GTEST_SKIP() << "no gnuplot here";
    Workspace files;
    files.writeAudio("steady.wav", std::vector<float>(24000, 0.3f), 1, 48000);
    files.writeAudio("none.wav", {}, 1, 48000);
    const auto plot = [&](const std::string& name, const Words& options) {
        Words line = {"render", files.path(name), files.path("out.wav"), "--tail",
                      "0",      "--plot",         files.path("a.png")};
        line.insert(line.end(), options.begin(), options.end());
        files.output(line);
        return files.readText("a.png");
    };
    const auto steady = plot("steady.wav", {});
    EXPECT_EQ(widthOf(steady), 1600u);
    EXPECT_EQ(plot("steady.wav", {}), steady);
    EXPECT_NE(plot("steady.wav", {"--param", "Input=6"}), steady);
    EXPECT_EQ(widthOf(plot("none.wav", {"--plugin", PROBE})), 1600u);
    EXPECT_EQ(files.names(), (Words{"a.png", "none.wav", "out.wav", "steady.wav"}));
}

TEST(Plot, IsRefusedBeforeAnythingIsWrittenWhereGnuplotIsMissing) {
    Workspace files;
    files.writeAudio("in.wav", {0.5f}, 1, 48000);
    const std::string path = std::getenv("PATH");
    setenv("PATH", "/nowhere", 1);
    const Outcome missing = files.run(
        {"render", files.path("in.wav"), files.path("out.wav"), "--plot", files.path("a.png")});
    setenv("PATH", path.c_str(), 1);
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.err.find("gnuplot"), std::string::npos) << missing.err;
    EXPECT_EQ(files.names(), Words{"in.wav"});
}
#endif

}  // namespace Quorvant::Hosting
