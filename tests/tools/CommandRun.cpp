#include "tests/tools/CommandRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>

namespace Quorvant::Hosting {

namespace fs = std::filesystem;

namespace {

std::string bytesOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string printed(const fs::path& path) {
    std::string text = bytesOf(path);
    std::erase(text, '\r');
    return text;
}

}  // namespace

Workspace::Workspace()
    : base(fs::temp_directory_path() / ("corvane-host-" + std::to_string(std::random_device()()))) {
    fs::create_directories(base / "work");
    fs::create_directories(home());
#ifdef _WIN32
    _putenv_s("USERPROFILE", home().string().c_str());
#else
    setenv("HOME", home().c_str(), 1);
#endif
}

Workspace::~Workspace() {
    std::error_code ignored;
    fs::remove_all(base, ignored);
}

Words Workspace::names() const {
    Words result;
    for (const auto& entry : fs::directory_iterator(base / "work"))
        result.push_back(entry.path().filename().string());
    std::ranges::sort(result);
    return result;
}

Outcome Workspace::run(const Words& arguments) const {
    std::string line = "\"" CORVANE_HOST "\"";
    for (const std::string& argument : arguments) line += " \"" + argument + "\"";
    line += " >\"" + (base / "out").string() + "\" 2>\"" + (base / "err").string() + "\"";
#ifdef _WIN32
    const int status = std::system(("\"" + line + "\"").c_str());
#else
    const int status = std::system(line.c_str()) >> 8;
#endif
    return {status, printed(base / "out"), printed(base / "err")};
}

std::string Workspace::output(const Words& arguments) const {
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    return outcome.out;
}

void Workspace::writeText(const std::string& name, const std::string& text) const {
    std::ofstream(path(name), std::ios::binary) << text;
}

std::string Workspace::readText(const std::string& name) const {
    return bytesOf(path(name));
}

void Workspace::writeAudio(const std::string& name, const std::vector<float>& samples, int channels,
                           int rate) const {
    Hosting::writeAudio(path(name), chooseFormat("", name), {channels, rate, samples});
}

std::vector<Words> tableOf(const std::string& output, char separator) {
    std::vector<Words> rows;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        Words& row = rows.emplace_back();
        for (std::string field; std::getline(fields, field, separator);) row.push_back(field);
        if (line.ends_with(separator)) row.emplace_back();
    }
    return rows;
}

}  // namespace Quorvant::Hosting
