// The editor's look against pictures that were looked at and kept. After a change of the look:
//   CORVANE_KEEP_PICTURES=1 gui-tests --gtest_filter='Pictures.*'
#include "dsp/OutputIndex.h"
#include "tests/gui/OffScreen.h"

#include <gtest/gtest.h>
#include <vstgui/lib/platform/iplatformbitmap.h>
#include <vstgui/lib/platform/platformfactory.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace Quorvant::Testing {
namespace {

constexpr int kNoticed = 40;          // of 255, in any channel
constexpr double kTolerated = 0.004;  // share of the pixels

Picture load(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(stream)), {});
    const auto bitmap = VSTGUI::getPlatformFactory().createBitmapFromMemory(
        bytes.data(), static_cast<uint32_t>(bytes.size()));
    Picture picture;
    if (!bitmap) return picture;
    const auto access = bitmap->lockPixels(true);
    picture.width = static_cast<int>(bitmap->getSize().x);
    picture.height = static_cast<int>(bitmap->getSize().y);
    for (int y = 0; y < picture.height; ++y) {
        const auto* row =
            reinterpret_cast<const uint32_t*>(access->getAddress() + y * access->getBytesPerRow());
        picture.pixels.insert(picture.pixels.end(), row, row + picture.width);
    }
    return picture;
}

double difference(const Picture& a, const Picture& b) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < a.pixels.size(); ++i) {
        for (int shift = 0; shift < 24; shift += 8) {
            const int x = static_cast<int>(a.pixels[i] >> shift & 0xff);
            const int y = static_cast<int>(b.pixels[i] >> shift & 0xff);
            if (std::abs(x - y) > kNoticed) {
                ++count;
                break;
            }
        }
    }
    return static_cast<double>(count) / static_cast<double>(a.pixels.size());
}

TEST(Pictures, LookAsTheyWereKept) {
    if (!std::filesystem::exists("/usr/share/fonts/truetype/liberation")) {
        GTEST_SKIP() << "the pictures were drawn with Liberation Sans, which isn't installed";
    }
    const std::filesystem::path folder = CORVANE_SOURCE_DIR "/tests/gui/pictures";
    for (const int zoom : {100, 175}) {
        FakeModel model(std::filesystem::temp_directory_path() / "corvane-no-presets");
        model.readings = {
            {kOutProcessingActivity, 1.0},       {kOutHostSync, 1.0}, {kOutHeadroom, 0.3},
            {kOutDelayReadout, 375.0 / 28800.0}, {kOutTempo, 0.012},  {kOutSampleRate, 0.048}};
        model.values[kDelayClockMode] = zoom == 175 ? 1.0 : 0.0;
        model.values[kGlobal] = zoom == 175 ? 1.0 : 0.0;
        OffScreen screen(model, zoom);
        screen.editor->idle();
        const auto file = folder / ("editor-" + std::to_string(zoom) + ".png");
        if (std::getenv("CORVANE_KEEP_PICTURES")) {
            std::filesystem::create_directories(folder);
            const auto png = screen.drawPng();
            std::ofstream(file, std::ios::binary)
                .write(reinterpret_cast<const char*>(png.data()),
                       static_cast<std::streamsize>(png.size()));
        }
        const Picture kept = load(file);
        const Picture now = screen.draw();
        ASSERT_EQ(kept.width, now.width) << file;
        ASSERT_EQ(kept.height, now.height) << file;
        EXPECT_LT(difference(kept, now), kTolerated) << file;
        // The comparison does see a control in another position.
        model.set(kFeedback, 0.9);
        model.set(kDepth, 0.9);
        EXPECT_GT(difference(kept, screen.draw()), difference(kept, now));
    }
}

}  // namespace
}  // namespace Quorvant::Testing
