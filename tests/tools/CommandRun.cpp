#include "tests/tools/CommandRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>

#ifndef _WIN32
#include <sys/wait.h>
#endif

namespace Quorvant::Hosting {

namespace fs = std::filesystem;

namespace {

std::string bytesOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string contentOf(const fs::path& path) {
    std::string text = bytesOf(path);
    std::erase(text, '\r');
    return text;
}

}  // namespace

Workspace::Workspace() {
    std::random_device random;
    const fs::path base = fs::temp_directory_path() / ("corvane-host-" + std::to_string(random()));
    folder = base / "work";
    streams = base / "streams";
    fs::create_directories(folder);
    fs::create_directories(streams);
}

Workspace::~Workspace() {
    std::error_code ignored;
    fs::remove_all(folder.parent_path(), ignored);
}

std::vector<std::string> Workspace::names() const {
    std::vector<std::string> result;
    for (const auto& entry : fs::directory_iterator(folder))
        result.push_back(entry.path().filename().string());
    std::ranges::sort(result);
    return result;
}

Outcome Workspace::run(const std::vector<std::string>& arguments) const {
    std::string line = "\"" CORVANE_HOST "\"";
    for (const std::string& argument : arguments) line += " \"" + argument + "\"";
    line += " >\"" + (streams / "out").string() + "\" 2>\"" + (streams / "err").string() + "\"";
#ifdef _WIN32
    const int status = std::system(("\"" + line + "\"").c_str());
#else
    const int raw = std::system(line.c_str());
    const int status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
#endif
    return {status, contentOf(streams / "out"), contentOf(streams / "err")};
}

void Workspace::writeText(const std::string& name, const std::string& text) const {
    std::ofstream(folder / name, std::ios::binary) << text;
}

std::string Workspace::readText(const std::string& name) const {
    return contentOf(folder / name);
}

std::string Workspace::readBytes(const std::string& name) const {
    return bytesOf(folder / name);
}

void Workspace::writeAudio(const std::string& name, const std::vector<double>& frames, int channels,
                           int rate) const {
    auto writer = createAudioFile(path(name), *chooseFormat("", name), rate, channels);
    ASSERT_TRUE(writer) << writer.error();
    ASSERT_TRUE((*writer)->write(frames.data(), frames.size() / static_cast<size_t>(channels)));
    ASSERT_TRUE((*writer)->finish());
}

Audio readAudio(const std::string& path) {
    auto source = openAudioFile(path);
    EXPECT_TRUE(source) << source.error();
    if (!source) return {0, 0.0, {}};
    Audio audio{(*source)->channels(), (*source)->rate(), {}};
    const auto frames = static_cast<size_t>((*source)->frames());
    audio.samples.resize(frames * static_cast<size_t>(audio.channels));
    EXPECT_EQ(*(*source)->read(audio.samples.data(), frames), frames);
    return audio;
}

std::string probePath(const std::string& name) {
    return PROBE_DIR "/" + name + ".vst3";
}

std::vector<std::vector<std::string>> tableOf(const std::string& plainOutput) {
    std::vector<std::vector<std::string>> rows;
    std::istringstream lines(plainOutput);
    for (std::string line; std::getline(lines, line);) {
        std::vector<std::string>& row = rows.emplace_back(1);
        for (const char c : line) {
            if (c == '\t')
                row.emplace_back();
            else
                row.back() += c;
        }
    }
    return rows;
}

}  // namespace Quorvant::Hosting
