// Everything that a host may do to the instances that it holds, and how often it does it.
#pragma once

#include "tests/module/soak/Guest.h"

#include <memory>
#include <span>
#include <vector>

namespace Quorvant::Soak {

struct Scene {
    Chance chance;
    Journal& journal;
    bool editors;  // there is a display, and somebody plays
    std::vector<std::unique_ptr<Guest>> guests;
    States known;
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
