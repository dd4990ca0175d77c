// The editor as the command line draws it.
#include "tests/tools/CommandRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

namespace Quorvant::Hosting {

namespace {

// The big-endian number that a PNG keeps at a place of its header.
size_t numberAt(const std::string& png, size_t place) {
    size_t number = 0;
    for (size_t i = place; i < std::min(place + 4, png.size()); ++i)
        number = number << 8 | static_cast<uint8_t>(png[i]);
    return number;
}

}  // namespace

TEST(EditorCommand, DrawsTheEditorWithoutADisplay) {
    Workspace files;
    const auto draw = [&](const std::string& name, std::vector<std::string> more) {
        std::vector<std::string> line = {"editor",       "--plugin",       CORVANE_MODULE,
                                         "--screenshot", files.path(name), "--zoom",
                                         "150"};
        line.insert(line.end(), more.begin(), more.end());
        const auto outcome = files.run(line);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return files.readBytes(name);
    };
    const auto plain = draw("plain.png", {});
    EXPECT_EQ(plain.substr(1, 3), "PNG");
    EXPECT_EQ(numberAt(plain, 16), 1500u);
    EXPECT_EQ(numberAt(plain, 20), 534u);
    EXPECT_NE(draw("preset.png", {"--preset", "wiper"}), plain);
    EXPECT_NE(draw("menu.png", {"--click", "960,18"}), plain);
    const auto closed = draw("closed.png", {"--param", "Show-Hide Extensions=@0"});
    EXPECT_EQ(numberAt(closed, 20), 384u);
}

TEST(EditorCommand, SaysWhatFailedAndWritesNothing) {
    Workspace files;
    const std::string picture = files.path("picture.png");
    const auto none =
        files.run({"editor", "--plugin", probePath(), "--screenshot", picture, "--zoom", "100"});
    EXPECT_EQ(none.status, 1);
    EXPECT_NE(none.err.find("'Probe' has no editor"), std::string::npos) << none.err;
    for (const char* const wrong : {"5", "a,b", "1,2,3", ","}) {
        const auto outcome = files.run(
            {"editor", "--plugin", CORVANE_MODULE, "--screenshot", picture, "--click", wrong});
        EXPECT_EQ(outcome.status, 2) << wrong;
        EXPECT_NE(outcome.err.find("is not X,Y"), std::string::npos) << outcome.err;
    }
    const auto folder = files.run(
        {"editor", "--plugin", CORVANE_MODULE, "--screenshot", files.path("nowhere/picture.png")});
    EXPECT_EQ(folder.status, 1);
    EXPECT_NE(folder.err.find("can't be written"), std::string::npos) << folder.err;
    EXPECT_TRUE(files.names().empty());
}

}  // namespace Quorvant::Hosting
