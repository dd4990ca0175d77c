// Draws the editor into PNG files, for the manual and for whoever changes its look:
//   draw-editor FOLDER
#include "dsp/OutputIndex.h"
#include "gui/Hints.h"
#include "tests/gui/OffScreen.h"

#include <cstdio>
#include <fstream>
#include <string>

using namespace Quorvant;
using namespace Quorvant::Testing;

namespace {

std::filesystem::path folder;

void save(OffScreen& screen, const std::string& name) {
    const auto png = screen.drawPng();
    std::ofstream(folder / (name + ".png"), std::ios::binary)
        .write(reinterpret_cast<const char*>(png.data()), static_cast<std::streamsize>(png.size()));
}

void play(FakeModel& model) {
    model.readings = {{kOutHostSync, 1.0},          {kOutTempo, 0.012},
                      {kOutSampleRate, 0.048},      {kOutLfoLamp, 0.9},
                      {kOutHeadroom, 0.3},          {kOutDelayReadout, 375.0 / 28800.0},
                      {kOutDelayActivity, 1.0},     {kOutProcessingActivity, 1.0},
                      {kOutInfRepeatLamp, 1.0},     {kOutSecondGainReduction, 0.25},
                      {kOutSideChainPeakLeft, 0.4}, {kOutSideChainPeakRight, 0.2}};
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: draw-editor FOLDER\n");
        return 2;
    }
    folder = argv[1];
    std::filesystem::create_directories(folder);
    startVstgui();
    const auto presets = std::filesystem::temp_directory_path() / "corvane-draw-presets";
    for (const int zoom : {75, 100, 150, 200}) {
        FakeModel model(presets);
        play(model);
        OffScreen screen(model, zoom);
        screen.editor->idle();
        save(screen, "editor-" + std::to_string(zoom));
    }
    FakeModel model(presets);
    play(model);
    OffScreen screen(model, 100);
    screen.editor->idle();
    screen.click({200, 18});
    save(screen, "browser");
    screen.click({960, 300});
    screen.key(VSTGUI::VirtualKey::Escape);
    screen.click({960, 18});
    save(screen, "menu");
    screen.click({500, 350});
    model.set(kGlobal, 1.0);
    model.set(kDelayClockMode, 1.0);
    model.set(kInfRepeat, 1.0);
    model.set(kFeedback, 0.8);
    model.set(kSideChainMonitor, 0.0);
    model.set(kHighCut, 1.0);
    model.set(kLfoSync, 1.0);
    save(screen, "global");
    const auto note = screen.middleOf(static_cast<int32_t>(kNoteReadoutId));
    screen.click({note.x + 90.0, note.y}, VSTGUI::Modifiers(VSTGUI::ModifierKey::Shift));
    save(screen, "notes");
    screen.click({500, 350});
    model.set(kSideChainMonitor, 1.0);
    save(screen, "monitor");
    model.set(kSideChainMonitor, 0.0);
    screen.click({50, 60});
    save(screen, "about");
    screen.click({50, 60});
    model.set(kShowHideExtensions, 0.0);
    save(screen, "closed");
    screen.click({200, 18});
    save(screen, "browser-closed");
    return 0;
}
