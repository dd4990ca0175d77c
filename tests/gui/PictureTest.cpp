// The editor's look against a picture that was looked at and kept.
#include "dsp/OutputIndex.h"
#include "tests/gui/EditorTest.h"

#include <vstgui/lib/platform/iplatformbitmap.h>
#include <vstgui/lib/platform/platformfactory.h>

namespace Quorvant::Testing {
namespace {

constexpr int kNoticed = 40;              // of 255
constexpr std::size_t kTolerated = 1400;  // pixels, of 356,000

// The pictures have one size.
std::size_t differentPixels(const Picture& a, const Picture& b) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const auto differs = [&](int shift) {
            const int x = a[i] >> shift & 0xff, y = b[i] >> shift & 0xff;
            return std::abs(x - y) > kNoticed;
        };
        if (differs(0) || differs(8) || differs(16)) ++count;
    }
    return count;
}

using EditorPicture = EditorTest;

TEST_F(EditorPicture, IsStillTheOneThatWasKept) {
    if (!std::filesystem::exists("/usr/share/fonts/truetype/liberation")) {
        GTEST_SKIP() << "the picture was drawn with Liberation Sans, which isn't installed";
    }
    model.readings = {
        {kOutProcessingActivity, 1.0},       {kOutHostSync, 1.0}, {kOutHeadroom, 0.3},
        {kOutDelayReadout, 375.0 / 28800.0}, {kOutTempo, 0.012},  {kOutSampleRate, 0.048}};
    editor->idle();
    const Picture now = draw();

    const auto& images = VSTGUI::getPlatformFactory();
    const std::string file = CORVANE_SOURCE_DIR "/tests/gui/pictures/editor-100.png";
    const std::string bytes = readBytes(file);
    const auto image =
        images.createBitmapFromMemory(bytes.data(), static_cast<uint32_t>(bytes.size()));
    ASSERT_TRUE(image) << file;
    const Picture kept = pictureOf(*image);
    ASSERT_EQ(kept.size(), now.size());
    const std::size_t different = differentPixels(kept, now);
    if (different > kTolerated) {
        const auto shown = std::filesystem::temp_directory_path() / "corvane-editor.png";
        const auto png = images.createBitmapMemoryPNGRepresentation(bitmap()->getPlatformBitmap());
        writeBytes(shown, {reinterpret_cast<const char*>(png.data()), png.size()});
        ADD_FAILURE() << different << " pixels differ: look at " << shown
                      << ", and put it in the place of " << file << " if that is meant";
    }
    // The comparison does see a control in another position.
    model.set(kFeedback, 0.9);
    EXPECT_GT(differentPixels(kept, draw()), different);
}

}  // namespace
}  // namespace Quorvant::Testing
