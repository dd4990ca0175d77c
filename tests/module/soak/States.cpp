// States on their way in and out: whole, cut, bent, and by streams that fail.
#include "params/ParameterIndex.h"
#include "tests/module/soak/Guest.h"
#include "tests/module/soak/HostileLists.h"

#include "pluginterfaces/vst/vstpresetkeys.h"

#include <cstring>
#include <optional>

namespace Quorvant::Soak {

using namespace Steinberg;

namespace {

constexpr size_t kValueBytes = sizeof(double);
constexpr size_t kLeastComponentBytes = kStoredParameterCount * kValueBytes;

double valueAt(const Bytes& bytes, size_t index) {
    double value = 0.0;
    std::memcpy(&value, bytes.data() + index * kValueBytes, kValueBytes);
    return value;
}

bool holdsValue(double value) {
    return value >= 0.0 && value <= 1.0;
}

Bytes componentState(Guest& guest, Journal& journal) {
    auto state = guest.plugin->componentState();
    if (!state || state->size() != kLeastComponentBytes + kValueBytes) {
        journal.complain("the component gives no state");
        return Bytes(kLeastComponentBytes + kValueBytes);
    }
    return *state;
}

Bytes controllerState(Guest& guest, Journal& journal) {
    auto state = guest.plugin->controllerState();
    if (state) return *state;
    journal.complain("the controller gives no state");
    return {};
}

// What becomes of a state on its way.
struct Damage {
    Bytes bytes;
    Stream::Manner manner = Stream::Manner::Whole;
    size_t failsAt = SIZE_MAX;

    size_t readable() const {
        return manner == Stream::Manner::Lie ? 0 : std::min(bytes.size(), failsAt);
    }
    Stream stream() const { return Stream(bytes, manner, failsAt); }
};

Damage damaged(const std::vector<Bytes>& known, Chance& chance) {
    Damage damage;
    if (!known.empty()) damage.bytes = chance.of(known);
    const size_t size = damage.bytes.size();
    const auto place = [&] {
        return static_cast<size_t>(chance.below(static_cast<int>(size) + 1));
    };
    switch (chance.below(7)) {
        case 0:
            damage.bytes.resize(place());
            break;
        case 1:
            for (int flips = 1 + chance.below(20); flips > 0 && size > 0; --flips)
                damage.bytes[place() % size] ^= static_cast<uint8_t>(1 << chance.below(8));
            break;
        case 2:
            damage.bytes.resize(static_cast<size_t>(chance.below(2000)));
            for (auto& byte : damage.bytes) byte = static_cast<uint8_t>(chance.bits());
            break;
        case 3:
            damage.failsAt = place();
            break;
        case 4:
            damage.manner = Stream::Manner::Lie;
            break;
        case 5:
            damage.manner = Stream::Manner::Trickle;
            break;
        default:
            break;
    }
    return damage;
}

bool isMember(const Bytes& bytes, const std::vector<Bytes>& known) {
    return std::find(known.begin(), known.end(), bytes) != known.end();
}

// Edits that a preset made go to the processor, as the host's list of parameters carries them.
void carryEdits(Guest& guest) {
    auto& edits = guest.plugin->editLog().edits;
    for (const auto& [id, value] : edits) guest.pending.push_back({id, 0, value});
    edits.clear();
}

void checkController(Guest& guest, Journal& journal) {
    for (const auto& parameter : guest.plugin->parameters())
        if (!holdsValue(guest.plugin->controllerValue(parameter.id)))
            journal.complain("'" + parameter.title + "' of the controller is beyond 0 ... 1");
}

void checkTaken(const Bytes& before, const Damage& given, const Bytes& after, Journal& journal) {
    for (size_t i = 0; i < kStoredParameterCount; ++i) {
        const double wanted =
            holdsValue(valueAt(given.bytes, i)) ? valueAt(given.bytes, i) : valueAt(before, i);
        if (valueAt(after, i) != wanted)
            journal.complain("value " + std::to_string(i) + " of a state is not in force");
    }
}

}  // namespace

void saveAndRestore(Guest& guest, Chance& chance, Journal& journal, States& known) {
    constexpr size_t kMostKept = 40;
    const auto keep = [&](std::vector<Bytes>& states, const Bytes& state) {
        if (states.size() < kMostKept)
            states.push_back(state);
        else
            states[static_cast<size_t>(chance.below(kMostKept))] = state;
    };
    const Bytes component = componentState(guest, journal);
    if (guest.plugin->setComponentState(component) != kResultOk ||
        componentState(guest, journal) != component)
        journal.complain("the component's state doesn't come back");
    // The two halves agree from then on, whatever this host told only one of them.
    if (guest.plugin->setControllerState(controllerState(guest, journal)) != kResultOk)
        journal.complain("a controller state of its own is refused");
    const Bytes whole = componentState(guest, journal);
    const Bytes controller = controllerState(guest, journal);
    if (guest.plugin->setControllerState(controller) != kResultOk ||
        controllerState(guest, journal) != controller || componentState(guest, journal) != whole)
        journal.complain("the controller's state doesn't come back");
    carryEdits(guest);
    keep(known.component, component);
    keep(known.controller, controller);

    Stream full({}, Stream::Manner::Whole, static_cast<size_t>(chance.below(312)));
    if (guest.plugin->component()->getState(&full) == kResultOk)
        journal.complain("the component is content with a stream that took a part only");
    Stream filled({}, Stream::Manner::Whole,
                  static_cast<size_t>(chance.below(static_cast<int>(controller.size()))));
    if (guest.plugin->controller()->getState(&filled) == kResultOk)
        journal.complain("the controller is content with a stream that took a part only");
    Stream slow({}, Stream::Manner::Trickle);
    if (guest.plugin->component()->getState(&slow) != kResultOk || slow.bytes != whole)
        journal.complain("the component's state needs a stream that takes all at once");
}

void loadComponentState(Guest& guest, Chance& chance, Journal& journal, const States& known) {
    const Damage given = damaged(known.component, chance);
    const Bytes before = componentState(guest, journal);
    auto stream = given.stream();
    const bool taken = guest.plugin->component()->setState(&stream) == kResultOk;
    const Bytes after = componentState(guest, journal);
    if (taken != (given.readable() >= kLeastComponentBytes))
        journal.complain("a component state is taken or refused wrongly");
    if (taken)
        checkTaken(before, given, after, journal);
    else if (after != before)
        journal.complain("a refused component state leaves traces");

    if (taken && chance.oneIn(3)) {
        // Where a state comes from is a text of the host's, well-formed or not.
        Hosting::StateStream told(given.bytes);
        for (const char* key :
             {Vst::PresetAttributes::kStateType, Vst::PresetAttributes::kFilePathStringType}) {
            Vst::TChar text[200] = {};
            for (int i = chance.below(199); i >= 0; --i)
                text[i] = static_cast<Vst::TChar>(chance.bits());
            told.getAttributes()->setString(key, text);
        }
        if (guest.plugin->component()->setState(&told) != kResultOk)
            journal.complain("a state is refused for what is told of it");
    }

    // Hosts show it to the controller, too; now and then another one.
    auto shown = chance.oneIn(4) ? damaged(known.component, chance).stream() : given.stream();
    guest.plugin->controller()->setComponentState(&shown);
    carryEdits(guest);
    checkController(guest, journal);
}

void loadControllerState(Guest& guest, Chance& chance, Journal& journal, const States& known) {
    const Damage given = damaged(known.controller, chance);
    const Bytes before = controllerState(guest, journal);
    auto stream = given.stream();
    const bool taken = guest.plugin->controller()->setState(&stream) == kResultOk;
    const Bytes after = controllerState(guest, journal);
    if (!taken && after != before) journal.complain("a refused controller state leaves traces");
    if (!taken && given.readable() == given.bytes.size() && isMember(given.bytes, known.controller))
        journal.complain("a controller state of its own is refused");
    if (taken && given.readable() < given.bytes.size())
        journal.complain("a part of a controller state is taken");
    carryEdits(guest);
    checkController(guest, journal);
}

}  // namespace Quorvant::Soak
