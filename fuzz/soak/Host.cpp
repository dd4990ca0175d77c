// What a host does between blocks, and the run that draws among it.
#include "fuzz/soak/Soak.h"
#include "params/ParameterIndex.h"

#include "pluginterfaces/vst/vstpresetkeys.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <thread>
#include <utility>

namespace Quorvant::Soak {

using namespace Steinberg;

namespace {

constexpr size_t kMostGuests = 4, kMostKnown = 8;

// The step that is being taken, in a sentence.
std::string present;

std::unique_ptr<Guest> makeGuest() {
    auto loaded = Hosting::HostedPlugin::load(CORVANE_MODULE, "Corvane QVX77x");
    if (!loaded) require(false, loaded.error());
    auto guest = std::make_unique<Guest>();
    guest->plugin = std::move(*loaded);
    return guest;
}

States statesOf(Guest& guest) {
    const auto component = guest.plugin->componentState();
    const auto controller = guest.plugin->controllerState();
    require(component && controller, "gives no state");
    return {*component, *controller};
}

// What hosts and users may call a text. Ended by a zero.
template <size_t size>
void scribble(Vst::TChar (&text)[size], Dice dice) {
    for (auto& character : text) character = static_cast<Vst::TChar>(dice.bits(2));
    text[dice.below(size)] = text[size - 1] = 0;
}

void arrange(Guest& guest, Dice& dice) {
    using namespace Vst::SpeakerArr;
    constexpr Vst::SpeakerArrangement kAll[] = {kStereo, kStereo, kMono, kEmpty, k51, ~0ull};
    const auto draw = [&](int count) {
        std::vector<Vst::SpeakerArrangement> buses;
        for (int i = 0; i < count; ++i) buses.push_back(dice.of(kAll));
        return buses;
    };
    // Two inputs and one output are usual; one input asks for a bus a channel.
    const auto inputs = draw(dice.oneIn(6) ? dice.below(4) : dice.between(1, 2));
    guest.plugin->setArrangements(inputs, draw(dice.oneIn(10) ? dice.below(3) : 1));
}

void setUp(Scene& scene, Guest& guest) {
    constexpr double kRates[] = {48000.0, 44100.0, 8000.0, 96000.0, 192000.0, 1234.5678, 5e5, 1.0};
    Dice& dice = scene.dice;
    auto& plugin = *guest.plugin;
    plugin.setProcessing(!dice.oneIn(4));
    require(plugin.setActive(false) == kResultOk, "doesn't stop");
    // Hosts send parameters, and some even audio, to a plug-in that is off.
    if (dice.oneIn(3)) processBlock(guest, dice);
    if (dice.oneIn(2)) arrange(guest, dice);
    guest.setup = {dice.oneIn(4) ? 1000.0 + dice.unit() * 400000.0 : dice.of(kRates),
                   1 << dice.below(14), dice.oneIn(2), dice.below(Vst::kOffline + 1)};
    require(plugin.setUp(guest.setup) == kResultOk, "refuses a set-up");
    for (const auto direction : {Vst::kInput, Vst::kOutput})
        for (int bus = 0; bus < static_cast<int>(plugin.buses(direction).size()); ++bus)
            plugin.activateBus(direction, bus, !dice.oneIn(bus == 0 ? 20 : 2));
    require(plugin.setActive(true) == kResultOk, "doesn't start");
    plugin.setProcessing(!dice.oneIn(4));
}

void restore(Guest& guest, const States& states) {
    auto& plugin = *guest.plugin;
    require(plugin.setComponentState(states.component) == kResultOk, "refuses a state");
    require(plugin.setControllerState(states.controller) == kResultOk, "refuses a state");
}

void saveStates(Scene& scene, Guest& guest) {
    // The two halves agree from then on, whatever this host told only one of them.
    restore(guest, statesOf(guest));
    const auto states = statesOf(guest);
    restore(guest, states);
    require(statesOf(guest) == states, "a state doesn't come back");
    scene.known.insert(scene.known.begin(), states);
    scene.known.resize(std::min(scene.known.size(), kMostKnown));
}

void comeAndGo(Scene& scene, Guest& guest) {
    if (scene.guests.size() > 1 && scene.dice.oneIn(2)) {
        std::erase_if(scene.guests, [&](const auto& other) { return other.get() == &guest; });
    } else if (scene.guests.size() < kMostGuests) {
        scene.guests.push_back(makeGuest());
        // Some hosts load a state before anything else.
        if (scene.dice.oneIn(2)) loadStates(scene, *scene.guests.back());
        if (!scene.dice.oneIn(8)) setUp(scene, *scene.guests.back());
    }
}

// States come and go while two instances play, each on a thread of its own. How the threads meet is
// the scheduler's choice, so nothing that follows depends on these two.
void loadWhilePlaying(Scene& scene, Guest&) {
    Scene own{scene.dice.fork(), {}, scene.known};
    std::vector<std::thread> threads;
    std::atomic<bool> done = false;
    for (int i = 0; i < 2; ++i) {
        Guest& guest = *own.guests.emplace_back(makeGuest());
        setUp(own, guest);
        saveStates(own, guest);
        threads.emplace_back([&guest, &done, dice = own.dice.fork()]() mutable {
            for (int blocks = 0; blocks < 20 || !done; ++blocks) processBlock(guest, dice);
        });
    }
    for (int i = 0; i < 50; ++i) {
        Guest& guest = *own.dice.of(own.guests);
        restore(guest, own.dice.of(own.known));
        if (own.dice.oneIn(5))
            guest.plugin->controller()->setParamNormalized(kProgram, own.dice.unit());
        statesOf(guest);
    }
    done = true;
    for (auto& thread : threads) thread.join();
    for (const auto& guest : own.guests) saveStates(own, *guest);
}

constexpr struct Action {
    int weight, weightWithEditors;
    const char* name;
    // The guest is one of the scene's.
    void (*run)(Scene& scene, Guest& guest);
} kActions[] = {
    {40, 20, "play", play},
    {12, 2, "set up", setUp},
    {8, 2, "save states", saveStates},
    {12, 6, "load states", loadStates},
    {6, 4, "choose a program", chooseProgram},
    {8, 16, "edit parameters", editParameters},
    {6, 2, "come and go", comeAndGo},
    {3, 0, "load while playing", loadWhilePlaying},
    {0, 200, "play in the editor", playInEditor},
};

const Action& drawAction(Dice& dice, bool editors) {
    const auto weight = editors ? &Action::weightWithEditors : &Action::weight;
    int sum = 0;
    for (const Action& action : kActions) sum += action.*weight;
    int lot = dice.below(sum);
    const Action* action = kActions;
    while ((lot -= action->*weight) >= 0) ++action;
    return *action;
}

// Hands on what the two halves of the plug-in have told their host in a step.
void settle(Guest& guest) {
    auto& log = guest.plugin->editLog();
    for (const auto& misuse : log.misuses) require(false, misuse);
    require(log.groupsBegun == log.groupsEnded, "a group of edits has no end");
    require(guest.window || log.open.empty(), "an edit has no end");
    for (const auto& [id, value] : std::exchange(log.edits, {}))
        guest.pending.push_back({id, 0, value});
    for (const auto& point : std::exchange(guest.reported, {}))
        guest.plugin->controller()->setParamNormalized(point.id, point.value);
}

}  // namespace

void require(bool holds, std::string_view fault) {
    if (holds) return;
    std::cerr << "soak: " << present << ": " << fault << std::endl;
    std::abort();
}

void play(Scene& scene, Guest& guest) {
    for (int blocks = scene.dice.between(1, 12); blocks > 0; --blocks)
        processBlock(guest, scene.dice);
}

void chooseProgram(Scene& scene, Guest& guest) {
    const double value = scene.dice.unit();
    require(guest.plugin->controller()->setParamNormalized(kProgram, value) == kResultOk,
            "a program is refused");
    guest.pending.push_back({kProgram, 0, value});
}

void editParameters(Scene& scene, Guest& guest) {
    auto& controller = *guest.plugin->controller();
    Dice letters = scene.dice.fork();
    for (int i = scene.dice.between(1, 20); i > 0; --i) {
        const auto& parameter = scene.dice.of(guest.plugin->parameters());
        const double value = scene.dice.oneIn(20) ? std::nan("") : scene.dice.unit() * 1.2 - 0.1;
        const bool taken = controller.setParamNormalized(parameter.id, value) == kResultOk;
        guest.pending.push_back({parameter.id, 0, value});
        if (taken && parameter.id < kParameterCount)
            require(guest.plugin->controllerValue(parameter.id) == std::clamp(value, 0.0, 1.0),
                    "'" + parameter.title + "' is not as it was set");

        // Users type anything.
        Vst::String128 text{};
        controller.getParamStringByValue(parameter.id, value * 4.0 - 2.0, text);
        scribble(text, letters.fork());
        double typed = 0.0;
        controller.getParamValueByString(parameter.id, text, typed);
    }
}

void loadStates(Scene& scene, Guest& guest) {
    if (scene.known.empty()) return;
    auto& plugin = *guest.plugin;
    const States states = scene.dice.of(scene.known);
    // Where a state comes from is a text of the host's, well-formed or not.
    Hosting::StateStream stream(states.component);
    Vst::TChar text[200];
    scribble(text, scene.dice.fork());
    stream.getAttributes()->setString(Vst::PresetAttributes::kStateType, text);
    stream.getAttributes()->setString(Vst::PresetAttributes::kFilePathStringType, text);
    require(plugin.component()->setState(&stream) == kResultOk, "refuses a state");
    require(statesOf(guest).component == states.component, "a state is not in force");
    plugin.flush({});
    require(statesOf(guest).component == states.component, "a block loses a state");
    // Hosts show it to the controller, too, in whatever order.
    if (scene.dice.oneIn(2)) plugin.showComponentState(states.component);
    if (scene.dice.oneIn(2)) plugin.setControllerState(states.controller);
    if (scene.dice.oneIn(2)) plugin.showComponentState(states.component);
}

void run(const Dice& dice, const Course& course) {
    Scene scene{dice, {}, {}};
    present = course.replay;
    scene.guests.push_back(makeGuest());
    size_t who = 0;
    for (int step = 1; step <= course.steps && !scene.dice.usedUp(); ++step) {
        const Action& action = drawAction(scene.dice, course.editors);
        // A player stays at one for a while.
        if (scene.dice.oneIn(course.editors ? 50 : 2))
            who = static_cast<size_t>(scene.dice.below(kMostGuests));
        Guest* const guest = scene.guests[who %= scene.guests.size()].get();
        present = course.replay + " --steps " + std::to_string(step) + ", " + action.name;
        if (course.tells) std::cerr << present << std::endl;
        action.run(scene, *guest);
        for (const auto& each : scene.guests) {
            settle(*each);
            const auto before = std::exchange(each->state, statesOf(*each).component);
            require(each.get() == guest || before.empty() || each->state == before,
                    "the state of another instance has changed");
        }
    }
}

}  // namespace Quorvant::Soak
