// Runs corvane-host as a user does, in a folder of its own, and looks at what comes of it.
#pragma once

#include "tools/corvane-host/AudioFile.h"

#include <filesystem>
#include <string>
#include <vector>

namespace Quorvant::Hosting {

using Words = std::vector<std::string>;

struct Outcome {
    int status;
    std::string out, err;
};

// A folder, and a user's home beside it, that vanish with the object.
class Workspace {
  public:
    Workspace();
    ~Workspace();
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;

    std::string path(const std::string& name) const { return (base / "work" / name).string(); }
    std::filesystem::path home() const { return base / "home"; }
    Words names() const;  // of all files in it, sorted

    // Runs corvane-host; an argument may hold blanks, but no quotes.
    Outcome run(const Words& arguments) const;
    // The same, where success without a word on standard error is expected; what it prints.
    std::string output(const Words& arguments) const;

    void writeText(const std::string& name, const std::string& text) const;
    std::string readText(const std::string& name) const;
    // 32-bit float; every frame's channels are the values that `samples` lists, interleaved.
    void writeAudio(const std::string& name, const std::vector<float>& samples, int channels,
                    int rate) const;

  private:
    std::filesystem::path base;
};

std::vector<Words> tableOf(const std::string& output, char separator = '\t');

}  // namespace Quorvant::Hosting
