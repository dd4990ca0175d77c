// The commands of corvane-host. Each prints its report, or throws a Failure.
#pragma once

#include "tools/corvane-host/PluginChoice.h"
#include "tools/corvane-host/RenderRun.h"

#include <string>
#include <utility>
#include <vector>

namespace Quorvant::Hosting {

void render(const PluginChoice& choice, const RenderOptions& options, bool plain);

// What the plug-in reports while it renders the input, a row every so many seconds; nothing is
// written.
void showMeters(const PluginChoice& choice, const RenderOptions& options, double every, bool plain);

struct BenchOptions {
    double seconds = 10.0;  // of audio for each instance
    double rate = 48000.0;
    int instances = 1;
};
void bench(const PluginChoice& choice, const BenchOptions& options, bool plain);

void listParameters(const PluginChoice& choice, bool plain);

void listPresets(const PluginChoice& choice, bool plain);
void showPreset(const PluginChoice& choice, const std::string& nameOrFile, bool plain);
// The extension of `path` tells the kind. What the kind can't hold is told on standard error.
void exportPreset(const PluginChoice& choice, const std::string& nameOrFile,
                  const std::string& path);
// Every preset of the plug-in as a .vstpreset; the folder is made where it is missing.
void exportAllPresets(const PluginChoice& choice, const std::string& folder);
// Into the user's preset folder. Goes on after a file that fails.
void importPresets(const PluginChoice& choice, const std::vector<std::string>& files, bool replace,
                   bool plain);

struct EditorOptions {
    int zoom = 100;  // percent of the size that the editor opens with
    std::string screenshot;
    std::vector<std::pair<double, double>> clicks;  // x and y, in pixels at 100 %
};
// Shows the editor until its window is closed, or writes a picture of it as a PNG. The phrase plays
// through the plug-in all the while, unheard.
void showEditor(const PluginChoice& choice, const EditorOptions& options);

}  // namespace Quorvant::Hosting
