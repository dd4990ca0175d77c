#include "tests/module/soak/Guest.h"

#include <cmath>
#include <cstdlib>
#include <iostream>
#include <limits>

namespace Quorvant::Soak {

using namespace Steinberg;
using Vst::SpeakerArrangement;

namespace {

constexpr double kRates[] = {8000.0,  11025.0,   22050.0,  32000.0,  44100.0,  48000.0,
                             88200.0, 96000.0,   176400.0, 192000.0, 352800.0, 384000.0,
                             48000.0, 1234.5678, 500000.0, 1.0,      44100.0,  48000.0};
constexpr double kRefusedRates[] = {0.0, -48000.0, std::numeric_limits<double>::infinity(),
                                    std::numeric_limits<double>::quiet_NaN()};
constexpr int kLargestBlocks[] = {1, 16, 33, 64, 256, 512, 1024, 4096, 8192};

constexpr SpeakerArrangement kArrangements[] = {Vst::SpeakerArr::kStereo, Vst::SpeakerArr::kStereo,
                                                Vst::SpeakerArr::kMono,   Vst::SpeakerArr::kMono,
                                                Vst::SpeakerArr::kEmpty,  Vst::SpeakerArr::k51,
                                                ~SpeakerArrangement{0}};

void arrange(Guest& guest, Chance& chance, Journal& journal) {
    // Two inputs and one output are usual; one input asks for a bus a channel.
    const int inputCount = chance.oneIn(6) ? chance.below(4) : chance.oneIn(4) ? 1 : 2;
    const int outputCount = chance.oneIn(10) ? chance.below(3) : 1;
    const auto pick = [&](int count) {
        std::vector<SpeakerArrangement> buses;
        for (int i = 0; i < count; ++i) buses.push_back(chance.of(kArrangements));
        return buses;
    };
    const auto inputs = pick(inputCount), outputs = pick(outputCount);
    const bool usual = outputCount == 1 && (inputCount == 1 || inputCount == 2);
    const bool taken = guest.plugin->setArrangements(inputs, outputs) == kResultOk;
    if (taken != usual) journal.complain("an arrangement is taken or refused wrongly");
    for (const auto direction : {Vst::kInput, Vst::kOutput}) {
        const auto& buses = guest.plugin->buses(direction);
        if (buses.empty()) journal.complain("no bus is left");
        for (const auto& bus : buses)
            if (bus.channels != Vst::SpeakerArr::getChannelCount(bus.arrangement))
                journal.complain("a bus has other channels than its arrangement");
    }
}

void activateBuses(Guest& guest, Chance& chance) {
    for (const auto direction : {Vst::kInput, Vst::kOutput}) {
        const int count = static_cast<int>(guest.plugin->buses(direction).size());
        for (int bus = 0; bus < count; ++bus)
            guest.plugin->activateBus(direction, bus, !chance.oneIn(bus == 0 ? 20 : 2));
    }
}

}  // namespace

std::unique_ptr<Guest> Guest::make(Journal& journal) {
    auto loaded = Hosting::HostedPlugin::load(CORVANE_MODULE, "Corvane QVX77x");
    if (!loaded) {
        std::cerr << loaded.error() << std::endl;
        std::exit(EXIT_FAILURE);
    }
    ++journal.instances;
    auto guest = std::make_unique<Guest>();
    guest->plugin = std::move(*loaded);
    return guest;
}

void Guest::setUpAnew(Chance& chance, Journal& journal) {
    plugin->setProcessing(false);
    if (plugin->setActive(false) != kResultOk) journal.complain("setActive(false) failed");
    if (chance.oneIn(2)) arrange(*this, chance, journal);
    if (chance.oneIn(8)) {
        Hosting::HostSetup wrong = setup;
        wrong.sampleRate = chance.of(kRefusedRates);
        if (plugin->setUp(wrong) == kResultOk) journal.complain("takes an impossible rate");
        if (chance.oneIn(2) && plugin->setActive(true) != kResultOk)
            journal.complain("doesn't start after a refused set-up");
    }
    setup.sampleRate = chance.oneIn(4) ? 1000.0 + chance.unit() * 400000.0 : chance.of(kRates);
    setup.maxFrames = chance.of(kLargestBlocks);
    setup.doublePrecision = chance.oneIn(2);
    setup.mode = chance.below(Vst::kOffline + 1);
    if (plugin->setUp(setup) != kResultOk) journal.complain("refuses a set-up");
    activateBuses(*this, chance);
    if (plugin->setActive(true) != kResultOk) journal.complain("doesn't start");
    if (!chance.oneIn(4)) plugin->setProcessing(true);
    if (plugin->latency() != 0) journal.complain("tells a latency");
    if (plugin->tail() == 0) journal.complain("tells no tail");
}

std::string Guest::describe() const {
    std::string text = std::to_string(setup.sampleRate) + " Hz, " +
                       std::to_string(setup.maxFrames) + " frames, " +
                       (setup.doublePrecision ? "64" : "32") + " bit, in";
    for (const auto& bus : plugin->buses(Vst::kInput)) text += " " + std::to_string(bus.channels);
    text += ", out";
    for (const auto& bus : plugin->buses(Vst::kOutput)) text += " " + std::to_string(bus.channels);
    return text;
}

}  // namespace Quorvant::Soak
