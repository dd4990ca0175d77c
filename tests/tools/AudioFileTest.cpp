// Audio files of every format that can be written here.
#include "tests/tools/CommandRun.h"

#include <gtest/gtest.h>

#include <cmath>

namespace Quorvant::Hosting {

TEST(AudioFile, GivesBackWhatWasWrittenToTheFormatsPrecision) {
    Workspace files;
    std::vector<double> frames;
    for (int frame = 0; frame < 3001; ++frame)  // an odd number of bytes in 24 bits
        frames.push_back(std::sin(frame * 0.1) * 0.999);
    for (const SampleFormat& format : writableFormats()) {
        const std::string path = files.path(std::string("tone.") + format.container);
        auto writer = createAudioFile(path, format, 88200, 1);
        ASSERT_TRUE(writer) << writer.error();
        ASSERT_TRUE((*writer)->write(frames.data(), 1000));
        ASSERT_TRUE((*writer)->write(frames.data() + 1000, 2001));
        ASSERT_TRUE((*writer)->finish());
        const Audio read = readAudio(path);
        EXPECT_EQ(read.channels, 1);
        EXPECT_EQ(read.rate, 88200.0);
        ASSERT_EQ(read.samples.size(), frames.size()) << format.name;
        const double step =
            format.isFloat ? std::ldexp(1.0, -24) : std::ldexp(1.0, 1 - format.bits);
        for (size_t frame = 0; frame < frames.size(); ++frame)
            ASSERT_NEAR(read.samples[frame], frames[frame], step) << format.name << " " << frame;
    }
}

TEST(AudioFile, ClipsIntegersAtFullScale) {
    Workspace files;
    for (const char* name : {"wav16", "wav24"}) {
        auto writer =
            createAudioFile(files.path("loud.wav"), *chooseFormat(name, "loud.wav"), 44100, 1);
        const double loud[] = {1.0, 1.5, 1e9, -1.0, -1.5, -1e9};
        ASSERT_TRUE((*writer)->write(loud, 6));
        ASSERT_TRUE((*writer)->finish());
        const auto read = readAudio(files.path("loud.wav")).samples;
        for (size_t sample = 0; sample < 6; ++sample)
            EXPECT_NEAR(read[sample], sample < 3 ? 1.0 : -1.0, 1e-4) << name << " " << sample;
    }
}

TEST(AudioFile, IsNotThereBeforeItIsFinished) {
    Workspace files;
    const std::string path = files.path("half.wav");
    const std::vector<double> silence(1000);
    {
        auto writer = createAudioFile(path, *chooseFormat("", path), 44100, 1);
        ASSERT_TRUE((*writer)->write(silence.data(), silence.size()));
        EXPECT_FALSE(std::filesystem::exists(path));
    }
    EXPECT_TRUE(files.names().empty());
}

TEST(AudioFile, RefusesOrReadsCutFilesWithoutHarm) {
    Workspace files;
    files.writeAudio("whole.wav", std::vector<double>(40, 0.5), 2, 44100);
    std::string whole = files.readText("whole.wav");
    for (size_t length = 0; length < whole.size(); ++length) {
        files.writeText("cut.wav", whole.substr(0, length));
        auto source = openAudioFile(files.path("cut.wav"));
        if (!source) {
            EXPECT_NE(source.error(), "");
            continue;
        }
        std::vector<double> frames(40);
        const auto got = (*source)->read(frames.data(), 20);
        if (got) {
            EXPECT_LT(*got, size_t{20}) << length;
        }
    }
}

}  // namespace Quorvant::Hosting
