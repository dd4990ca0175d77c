// Everything that a host may do to the instances that it holds, and how often it does it.
#pragma once

#include "tests/module/soak/Guest.h"

#include <memory>
#include <span>
#include <vector>

namespace Quorvant::Soak {

struct Spot {
    int x = 0, y = 0;  // pixels
    int news = 0;      // what a click there changed, in percent of the editor
};

// What a blind player keeps in mind.
struct Memory {
    Hosting::Pixels seen;  // at the last look
    const Guest* where = nullptr;
    std::vector<Spot> spots;  // where a click changed much, as if the editor was kUnit wide
    Spot from, to;            // what changed last
    int curiosity = 0;        // for how long that is interesting
    Spot last;                // where the pointer is
};

struct Scene {
    Chance chance;
    Journal& journal;
    bool editors;  // there is a display, and somebody plays
    std::vector<std::unique_ptr<Guest>> guests;
    States known;
    Memory memory;  // all editors are alike
};

struct Action {
    const char* name;
    int weight, weightWithEditors;
    // The guest is one of the scene's.
    void (*run)(Scene& scene, Guest& guest);
};

void chooseProgram(Scene& scene, Guest& guest);
void editInHost(Scene& scene, Guest& guest);
// Opens the guest's editor, or does one thing in it, amid which the host may close it.
void playInEditor(Scene& scene, Guest& guest);

std::span<const Action> allActions();

}  // namespace Quorvant::Soak
