// Runs corvane-host as a user does, in a folder of its own, and looks at what comes of it.
#pragma once

#include "tools/corvane-host/AudioFile.h"

#include <filesystem>
#include <string>
#include <vector>

namespace Quorvant::Hosting {

struct Outcome {
    int status;
    std::string out, err;
};

// A folder that vanishes with the object.
class Workspace {
  public:
    Workspace();
    ~Workspace();
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;

    std::string path(const std::string& name) const { return (folder / name).string(); }
    std::vector<std::string> names() const;  // of all files in it, sorted

    // Runs corvane-host; an argument may hold blanks, but no quotes.
    Outcome run(const std::vector<std::string>& arguments) const;

    void writeText(const std::string& name, const std::string& text) const;
    std::string readText(const std::string& name) const;
    std::string readBytes(const std::string& name) const;
    // 32-bit float; every frame's channels are the values that `frames` lists, interleaved.
    void writeAudio(const std::string& name, const std::vector<double>& frames, int channels,
                    int rate) const;

  private:
    std::filesystem::path folder;
    std::filesystem::path streams;  // of what a command prints, outside the folder
};

struct Audio {
    int channels;
    double rate;
    std::vector<double> samples;  // interleaved
};
Audio readAudio(const std::string& path);

std::string probePath(const std::string& name = "Probe");

std::vector<std::vector<std::string>> tableOf(const std::string& plainOutput);

}  // namespace Quorvant::Hosting
