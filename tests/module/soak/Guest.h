// One instance of the plug-in, and what its host knows of it.
#pragma once

#include "tests/module/soak/Chance.h"
#include "tests/module/soak/Journal.h"
#include "tools/hosting/EditorWindow.h"
#include "tools/hosting/HostedPlugin.h"

#include <memory>
#include <string>
#include <vector>

namespace Quorvant::Soak {

struct Guest {
    Hosting::HostedPlugin::Ptr plugin;
    Hosting::EditorWindow::Ptr window;  // goes first
    Hosting::HostSetup setup;
    std::vector<Hosting::ParameterPoint> pending;   // for the next block
    std::vector<Hosting::ParameterPoint> reported;  // for the controller, where somebody sees it
    double beats = 0.0;                             // position in the song
    bool playing = true;

    // A fresh instance, not set up yet. Ends the program where there is none.
    static std::unique_ptr<Guest> make(Journal& journal);
    // At random, within what hosts can ask for; off and on again.
    void setUpAnew(Chance& chance, Journal& journal);
    std::string describe() const;
};

// One process call with random content, checked on its way back. What `deterministic` blocks sound
// like is added to the journal's sum. Audio thread of the guest.
void processBlock(Guest& guest, Chance& chance, Journal& journal, bool deterministic = true);
// The same with no audio and many parameter points.
void flushParameters(Guest& guest, Chance& chance, Journal& journal);

// Loads, saves and breaks states, as the main thread does; `known` are states that the plug-in
// gave.
struct States {
    std::vector<Hosting::Bytes> component, controller;
};
void saveAndRestore(Guest& guest, Chance& chance, Journal& journal, States& known);
void loadComponentState(Guest& guest, Chance& chance, Journal& journal, const States& known);
void loadControllerState(Guest& guest, Chance& chance, Journal& journal, const States& known);

}  // namespace Quorvant::Soak
