// Somebody at the editor: blind, but with a memory of where something happened.
#pragma once

#include "tools/hosting/EditorWindow.h"

#include <vector>

namespace Quorvant::Soak {

struct Scene;
struct Guest;

struct Spot {
    int x = 0, y = 0;  // pixels
    int news = 0;      // percent of the editor that a click there changed
};

struct Memory {
    Hosting::Pixels seen;     // when the player last looked
    std::vector<Spot> spots;  // where a click changed something
    Spot from, to;            // where it changed last
    int curiosity = 0;        // for how long that is interesting
    Spot last;                // where the pointer is
};

// What follows needs a display, opens the guest's editor where it isn't open, and may close it.
void click(Scene& scene, Guest& guest);
void drag(Scene& scene, Guest& guest);
void wheel(Scene& scene, Guest& guest);
void type(Scene& scene, Guest& guest);
// All of it, fast.
void hurry(Scene& scene, Guest& guest);
// Until hints show.
void rest(Scene& scene, Guest& guest);
// Size, scale, closing.
void treatWindow(Scene& scene, Guest& guest);

}  // namespace Quorvant::Soak
