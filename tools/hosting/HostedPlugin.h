// One instance of any VST3 effect, loaded and driven as a host does it.
#pragma once

#include "tools/hosting/HostSide.h"

#include "pluginterfaces/vst/ivstaudioprocessor.h"
#include "pluginterfaces/vst/ivstcomponent.h"
#include "pluginterfaces/vst/ivsteditcontroller.h"
#include "pluginterfaces/vst/ivstprocesscontext.h"
#include "public.sdk/source/vst/hosting/module.h"
#include "public.sdk/source/vst/hosting/parameterchanges.h"
#include "public.sdk/source/vst/hosting/plugprovider.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Quorvant::Hosting {

using Steinberg::tresult;
using Steinberg::Vst::ParamID;
using Steinberg::Vst::SpeakerArrangement;

struct Bus {
    int channels;
    SpeakerArrangement arrangement;
};

struct Parameter {
    static constexpr int kMostListedStates = 128;  // beyond it, steps are numbers, not a list

    ParamID id;
    std::string title, shortTitle, units;
    int stepCount;  // 0 continuous, n means n + 1 states
    double defaultNormalised;
    Steinberg::int32 flags;  // ParameterInfo::ParameterFlags
    Steinberg::Vst::UnitID unit;

    bool has(Steinberg::int32 flag) const { return (flags & flag) != 0; }
    bool isList() const { return stepCount > 0 && stepCount < kMostListedStates; }
    double valueOfState(int state) const { return static_cast<double>(state) / stepCount; }
};

struct ParameterPoint {
    ParamID id;
    Steinberg::int32 offset;  // frames from the block's start
    double value;             // normalised
};

// A song position as a person would give it.
struct Transport {
    std::optional<double> tempoBpm;
    std::optional<double> positionBeats;  // quarter notes since the song's start
    bool playing = true;
    int64_t positionFrames = 0;
};
Steinberg::Vst::ProcessContext makeContext(const Transport& transport, double sampleRate);

// What one process call gets: the buses in order, each a list of channel pointers. Channel
// pointers may be null, the same memory may serve input and output, buses may be left out.
template <typename Sample>
struct Block {
    Steinberg::int32 frames = 0;
    std::vector<std::vector<Sample*>> inputs, outputs;
    std::vector<ParameterPoint> points;  // in any order; each identifier becomes one queue
    const Steinberg::Vst::ProcessContext* context = nullptr;  // null: the host gives none
};

struct HostSetup {
    double sampleRate = 48000.0;
    Steinberg::int32 maxFrames = 1024;
    bool doublePrecision = false;
    Steinberg::int32 mode = Steinberg::Vst::kOffline;
    int mainInputs = 2;  // channels, 1 or 2
    int mainOutputs = 2;
    int sideChain = 0;  // channels of the second input bus; 0: leave it inactive
};

// All calls from one thread, except that process() may have a thread of its own.
// Functions that return a tresult hand on the plug-in's own answer, the others throw a Failure.
class HostedPlugin {
  public:
    using Ptr = std::unique_ptr<HostedPlugin>;

    // Loads the module at `path` (a .vst3 bundle, on Windows also a file) and makes one instance
    // of its first audio effect, with its controller. Loading one path several times gives several
    // instances of one module.
    static Ptr load(const std::string& path);
    ~HostedPlugin();
    HostedPlugin(const HostedPlugin&) = delete;
    HostedPlugin& operator=(const HostedPlugin&) = delete;

    const std::string& name() const { return className; }
    const VST3::Hosting::ClassInfo& classInfo() const { return provider->getClassInfo(); }

    // The plug-in's own interfaces, for calls that have no wrapper here.
    Steinberg::Vst::IComponent* component() const { return ownComponent; }
    Steinberg::Vst::IAudioProcessor* processor() const { return ownProcessor; }
    Steinberg::Vst::IEditController* controller() const { return ownController; }
    EditLog& editLog() { return *log; }

    // Parameters as the controller lists them.
    const std::vector<Parameter>& parameters() const { return listed; }
    // By title, else short title, else identifier in decimal, all without regard to case.
    const Parameter* findParameter(std::string_view name) const;
    const Parameter* findParameter(ParamID id) const;
    // What the controller shows for a normalised value; empty where it shows nothing.
    std::string textOf(const Parameter& parameter, double normalised) const;
    // Normalised; none for a text that the controller refuses, or takes for something else (out of
    // range).
    std::optional<double> valueOf(const Parameter& parameter, const std::string& text) const;
    double controllerValue(ParamID id) const { return ownController->getParamNormalized(id); }
    // Tells the controller at once and the processor with the next process call.
    void setParameter(ParamID id, double normalised);

    // Set-up by single steps, for tests that leave the usual order.
    const std::vector<Bus>& buses(Steinberg::Vst::BusDirection direction) const;
    tresult setArrangements(std::vector<SpeakerArrangement> inputs,
                            std::vector<SpeakerArrangement> outputs);
    tresult activateBus(Steinberg::Vst::BusDirection direction, int index, bool active);
    tresult setUp(const HostSetup& setup);  // setupProcessing alone
    tresult setActive(bool active);
    tresult setProcessing(bool processing);
    // The usual order in one call: arrangements, set-up, bus activation, activation. An
    // arrangement, rate or sample size that the plug-in refuses is a failure.
    void prepare(const HostSetup& setup);
    bool isDoublePrecision() const { return sampleSize == Steinberg::Vst::kSample64; }

    template <typename Sample>
    tresult process(const Block<Sample>& block);
    // Parameters without audio: 0 frames and no buses, of the sample size that is set up.
    tresult flush(std::vector<ParameterPoint> points);
    // What the last process or flush call reported.
    const std::vector<ParameterPoint>& outputPoints() const { return reported; }

    std::optional<Bytes> componentState() const;
    tresult setComponentState(std::span<const uint8_t> state);
    // Gives the component's state to the controller.
    tresult showComponentState(std::span<const uint8_t> state);
    std::optional<Bytes> controllerState() const;
    tresult setControllerState(std::span<const uint8_t> state);

  private:
    HostedPlugin() = default;
    void make(const VST3::Hosting::ClassInfo& info);
    void readParameters();
    void readBuses();

    VST3::Hosting::Module::Ptr module;  // first, so that it goes last
    Steinberg::IPtr<Steinberg::Vst::PlugProvider> provider;
    Steinberg::IPtr<EditLog> log = Steinberg::owned(new EditLog);
    Steinberg::IPtr<Steinberg::Vst::IComponent> ownComponent;
    Steinberg::IPtr<Steinberg::Vst::IAudioProcessor> ownProcessor;
    Steinberg::IPtr<Steinberg::Vst::IEditController> ownController;
    std::string className;
    std::vector<Parameter> listed;
    std::vector<Bus> inputs, outputs;
    Steinberg::int32 sampleSize = Steinberg::Vst::kSample32;
    Steinberg::int32 mode = Steinberg::Vst::kRealtime;
    bool isActive = false, isProcessing = false;

    Steinberg::Vst::ParameterChanges inputChanges, outputChanges;
    std::vector<Steinberg::Vst::AudioBusBuffers> inputBuffers, outputBuffers;
    std::vector<ParameterPoint> pending, reported;
};

}  // namespace Quorvant::Hosting
