// A host that draws by lot what it does to the plug-in, and what it demands of it in return.
#pragma once

#include "fuzz/soak/Dice.h"
#include "tools/hosting/EditorWindow.h"
#include "tools/hosting/HostedPlugin.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Quorvant::Soak {

// One instance of the plug-in, and what its host knows of it.
struct Guest {
    Hosting::HostedPlugin::Ptr plugin;
    Hosting::EditorWindow::Ptr window;  // goes first
    Hosting::HostSetup setup;
    std::vector<Hosting::ParameterPoint> pending;   // for the next block
    std::vector<Hosting::ParameterPoint> reported;  // for the controller
    Hosting::Bytes state;                           // the component's, after the last step
    double beats = 0.0;                             // position in the song
};

struct States {
    Hosting::Bytes component, controller;
    bool operator==(const States&) const = default;
};

struct Scene {
    Dice dice;
    std::vector<std::unique_ptr<Guest>> guests;
    std::vector<States> known;  // what instances gave
    int x = 0, y = 0;           // where the pointer is, in pixels
};

struct Course {
    std::string replay;    // how to have the run again, for messages
    int steps;             // at most; an input may have fewer
    bool editors = false;  // somebody plays in editors most of the time; needs a display
    bool tells = false;    // each step before it is taken
};

// Ends the process at the first fault.
void run(const Dice& dice, const Course& course);

// Where `holds` is false: tells the step and what is wrong, and ends the process. Any thread.
void require(bool holds, std::string_view fault);

// One process call by lot. Audio thread of the guest.
void processBlock(Guest& guest, Dice& dice);

// What the host does while somebody plays.
void play(Scene& scene, Guest& guest);
void chooseProgram(Scene& scene, Guest& guest);
void editParameters(Scene& scene, Guest& guest);
void loadStates(Scene& scene, Guest& guest);

// Opens the editor, or does one thing in it, amid which the host may close it.
void playInEditor(Scene& scene, Guest& guest);

}  // namespace Quorvant::Soak
