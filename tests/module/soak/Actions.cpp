#include "tests/module/soak/Actions.h"

#include "params/ParameterIndex.h"

#include "pluginterfaces/vst/ivstunits.h"

#include <algorithm>
#include <cmath>
#include <thread>

namespace Quorvant::Soak {

using namespace Steinberg;

namespace {

constexpr size_t kMostGuests = 6;

void play(Scene& scene, Guest& guest) {
    for (int blocks = scene.chance.between(1, 12); blocks > 0; --blocks)
        processBlock(guest, scene.chance, scene.journal);
}

void flush(Scene& scene, Guest& guest) {
    flushParameters(guest, scene.chance, scene.journal);
}

void setUp(Scene& scene, Guest& guest) {
    guest.setUpAnew(scene.chance, scene.journal);
    scene.journal.note(guest.describe());
}

void cycle(Scene& scene, Guest& guest) {
    for (int i = scene.chance.between(1, 4); i > 0; --i) {
        guest.plugin->setProcessing(scene.chance.oneIn(2));
        if (guest.plugin->setActive(scene.chance.oneIn(2)) != kResultOk)
            scene.journal.complain("setActive failed");
        // Hosts send parameters, and some even audio, to a plug-in that is off.
        if (scene.chance.oneIn(2)) processBlock(guest, scene.chance, scene.journal);
    }
    if (guest.plugin->setActive(true) != kResultOk) scene.journal.complain("setActive failed");
}

void suspend(Scene& scene, Guest& guest) {
    guest.pending.push_back({kSuspend, 0, static_cast<double>(scene.chance.below(2))});
    play(scene, guest);
}

void saveStates(Scene& scene, Guest& guest) {
    saveAndRestore(guest, scene.chance, scene.journal, scene.known);
}

void loadStates(Scene& scene, Guest& guest) {
    if (scene.chance.oneIn(2))
        loadComponentState(guest, scene.chance, scene.journal, scene.known);
    else
        loadControllerState(guest, scene.chance, scene.journal, scene.known);
}

void askNonsense(Scene& scene, Guest& guest) {
    Chance& chance = scene.chance;
    Vst::IComponent& component = *guest.plugin->component();
    Vst::IEditController& controller = *guest.plugin->controller();
    const auto id = static_cast<Vst::ParamID>(chance.bits() | 0x1000);
    const int32 index = chance.oneIn(2) ? -1 : chance.between(60, 100000);
    Vst::ParameterInfo parameter{};
    Vst::BusInfo bus{};
    Vst::String128 text{};
    Vst::ParamValue value = 0.0;
    Vst::SpeakerArrangement arrangement = 0;
    void* object = nullptr;
    TUID unknown = {1, 2, 3};
    const tresult refused[] = {
        component.setState(nullptr),
        component.getState(nullptr),
        controller.setState(nullptr),
        controller.getState(nullptr),
        controller.setComponentState(nullptr),
        controller.getParameterInfo(index, parameter),
        controller.getParamStringByValue(id, 0.5, text),
        controller.getParamValueByString(id, text, value),
        controller.setParamNormalized(id, 0.5),
        component.getBusInfo(Vst::kAudio, Vst::kInput, index, bus),
        component.getBusInfo(Vst::kEvent, Vst::kInput, 0, bus),
        component.activateBus(Vst::kAudio, Vst::kOutput, index, true),
        guest.plugin->processor()->getBusArrangement(Vst::kInput, index, arrangement),
        guest.plugin->processor()->setBusArrangements(nullptr, 2, nullptr, 1),
        component.queryInterface(unknown, &object),
        component.initialize(&Hosting::hostApplication()),
        controller.initialize(&Hosting::hostApplication()),
    };
    for (size_t i = 0; i < std::size(refused); ++i)
        if (refused[i] == kResultOk)
            scene.journal.complain("nonsense " + std::to_string(i) + " is answered with success");
    for (const char* name : {"", "no such view"})
        if (controller.createView(name) != nullptr) scene.journal.complain("makes an unknown view");
    if (controller.createView(nullptr) != nullptr) scene.journal.complain("makes a nameless view");
    // Every text for every parameter, and what hosts' users type.
    for (const auto& known : guest.plugin->parameters()) {
        controller.getParamStringByValue(known.id, chance.unit() * 4.0 - 2.0, text);
        controller.getParamStringByValue(known.id, std::nan(""), text);
        for (auto& character : text) character = static_cast<Vst::TChar>(chance.bits());
        text[chance.below(128)] = 0;
        text[127] = 0;
        if (controller.getParamValueByString(known.id, text, value) == kResultOk &&
            !std::isfinite(value))
            scene.journal.complain("'" + known.title + "' makes no number of a text");
    }
    controller.setComponentHandler(nullptr);
    controller.setParamNormalized(kProgram, chance.unit());
    controller.setComponentHandler(&guest.plugin->editLog());
}

void comeAndGo(Scene& scene, Guest& guest) {
    Chance& chance = scene.chance;
    if (scene.guests.size() > 1 && chance.oneIn(2)) {
        std::erase_if(scene.guests, [&](const auto& other) { return other.get() == &guest; });
        return;
    }
    if (scene.guests.size() >= kMostGuests) return;
    scene.guests.push_back(Guest::make(scene.journal));
    // Some hosts load a state before anything else.
    if (chance.oneIn(2))
        loadComponentState(*scene.guests.back(), chance, scene.journal, scene.known);
    if (!chance.oneIn(8)) scene.guests.back()->setUpAnew(chance, scene.journal);
}

// All of them at once, each on a thread of its own.
void playTogether(Scene& scene, Guest&) {
    std::vector<std::thread> threads;
    for (const auto& guest : scene.guests) {
        threads.emplace_back([&guest, &scene, chance = scene.chance.fork()]() mutable {
            for (int blocks = chance.between(5, 20); blocks > 0; --blocks)
                processBlock(*guest, chance, scene.journal);
        });
    }
    for (auto& thread : threads) thread.join();
}

// States come and go while audio runs. How the two meet is the scheduler's choice, so an instance
// of its own takes part, and nothing that follows depends on it.
void loadWhilePlaying(Scene& scene, Guest&) {
    const auto guest = Guest::make(scene.journal);
    Chance chance = scene.chance.fork();
    Chance forAudio = chance.fork();
    guest->setUpAnew(chance, scene.journal);
    if (guest->plugin->setActive(true) != kResultOk) scene.journal.complain("setActive failed");
    std::atomic<bool> loaded = false;
    std::thread audio([&] {
        for (int blocks = 0; blocks < 40 || !loaded; ++blocks)
            processBlock(*guest, forAudio, scene.journal, false);
    });
    auto& plugin = *guest->plugin;
    for (int i = 0; i < 100; ++i) {
        if (chance.oneIn(2) && !scene.known.component.empty()) {
            const auto& state = chance.of(scene.known.component);
            if (plugin.setComponentState(state) != kResultOk)
                scene.journal.complain("a state is refused while audio runs");
            plugin.showComponentState(state);
        } else if (!scene.known.controller.empty()) {
            plugin.setControllerState(chance.of(scene.known.controller));
        }
        if (!plugin.componentState() || !plugin.controllerState())
            scene.journal.complain("gives no state while audio runs");
        if (chance.oneIn(5)) plugin.controller()->setParamNormalized(kProgram, chance.unit());
        plugin.editLog().edits.clear();
    }
    loaded = true;
    audio.join();
    States own;
    saveAndRestore(*guest, chance, scene.journal, own);
}

constexpr Action kActions[] = {
    {"play", 40, 20, play},
    {"flush", 8, 2, flush},
    {"set up", 12, 2, setUp},
    {"cycle", 6, 2, cycle},
    {"suspend", 4, 4, suspend},
    {"save states", 6, 2, saveStates},
    {"load states", 16, 6, loadStates},
    {"choose program", 6, 4, chooseProgram},
    {"edit in host", 4, 16, editInHost},
    {"ask nonsense", 3, 1, askNonsense},
    {"come and go", 6, 2, comeAndGo},
    {"play together", 3, 1, playTogether},
    {"load while playing", 3, 0, loadWhilePlaying},
    {"play in editor", 0, 500, playInEditor},
};

}  // namespace

void chooseProgram(Scene& scene, Guest& guest) {
    const double value = scene.chance.unit();
    auto& log = guest.plugin->editLog();
    const auto open = log.open;
    if (guest.plugin->controller()->setParamNormalized(kProgram, value) != kResultOk)
        scene.journal.complain("a program is refused");
    if (log.open != open || log.groupsBegun != log.groupsEnded)
        scene.journal.complain("an edit has no end");
    guest.pending.push_back({kProgram, 0, value});
    for (const auto& [id, edited] : log.edits) guest.pending.push_back({id, 0, edited});
    log.edits.clear();
    play(scene, guest);
}

void editInHost(Scene& scene, Guest& guest) {
    for (int i = scene.chance.between(1, 20); i > 0; --i) {
        // Most often those that the editor changes its look for.
        constexpr Vst::ParamID kSeen[] = {kShowHideExtensions, kInfRepeat, kSuspend};
        const auto* seen = guest.plugin->findParameter(scene.chance.of(kSeen));
        const auto& parameter =
            seen && scene.chance.oneIn(4) ? *seen : scene.chance.of(guest.plugin->parameters());
        const double value =
            scene.chance.oneIn(20) ? std::nan("") : scene.chance.unit() * 1.2 - 0.1;
        guest.plugin->controller()->setParamNormalized(parameter.id, value);
        guest.pending.push_back({parameter.id, 0, value});
        const double held = guest.plugin->controllerValue(parameter.id);
        if (!(held >= 0.0 && held <= 1.0))
            scene.journal.complain("'" + parameter.title + "' is beyond 0 ... 1");
        // A value whose text isn't understood can't be typed.
        const std::string text = guest.plugin->textOf(parameter, held);
        if (!text.empty() && !guest.plugin->valueOf(parameter, text))
            scene.journal.complain("'" + parameter.title + "' doesn't read its own '" + text + "'");
    }
}

std::span<const Action> allActions() {
    return kActions;
}

}  // namespace Quorvant::Soak
