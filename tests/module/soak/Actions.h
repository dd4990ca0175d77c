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
    bool editors;  // there is a display
    std::vector<std::unique_ptr<Guest>> guests;
    States known;
};

struct Action {
    const char* name;
    int weight;
    // The guest is one of the scene's.
    void (*run)(Scene& scene, Guest& guest);
    bool needsDisplay = false;
};

std::span<const Action> allActions();

}  // namespace Quorvant::Soak
