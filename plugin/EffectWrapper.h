// The audio processor that hosts see: buses, blocks, parameters and state, translated into calls
// on one effect engine.
#pragma once

#include "dsp/Effect.h"
#include "params/ParameterIndex.h"
#include "plugin/ComponentState.h"
#include "plugin/HostLinkImpl.h"
#include "plugin/Mailbox.h"

#include "public.sdk/source/vst/vstaudioeffect.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace Quorvant {

// Where the host says a state came from.
struct StateOrigin {
    bool fromProject = false;  // else from a preset, or not told
    std::u16string filePath;   // empty when not told
};

// Threads are those of the VST3 interfaces: process() on the audio thread, all else on the main
// thread. setState() may come while audio runs; the audio thread then takes the state over at the
// start of its next block.
class QVXVST3EffectWrapper : public Steinberg::Vst::AudioEffect {
  public:
    // Makes the engine; the link outlives it. May give null: the wrapper then answers neutrally.
    using EffectFactory = std::function<std::unique_ptr<QVXEffect>(const QVXHostLink& link)>;

    explicit QVXVST3EffectWrapper(const EffectFactory& makeEffect);

    // Of the last state that was set. Main thread.
    const StateOrigin& stateOrigin() const { return origin; }

    Steinberg::tresult PLUGIN_API initialize(Steinberg::FUnknown* context) override;
    Steinberg::tresult PLUGIN_API terminate() override;
    Steinberg::tresult PLUGIN_API setBusArrangements(Steinberg::Vst::SpeakerArrangement* inputs,
                                                     Steinberg::int32 numIns,
                                                     Steinberg::Vst::SpeakerArrangement* outputs,
                                                     Steinberg::int32 numOuts) override;
    Steinberg::tresult PLUGIN_API activateBus(Steinberg::Vst::MediaType type,
                                              Steinberg::Vst::BusDirection dir,
                                              Steinberg::int32 index,
                                              Steinberg::TBool state) override;
    Steinberg::tresult PLUGIN_API canProcessSampleSize(Steinberg::int32 sampleSize) override;
    Steinberg::uint32 PLUGIN_API getLatencySamples() override;
    Steinberg::uint32 PLUGIN_API getTailSamples() override;
    Steinberg::tresult PLUGIN_API setupProcessing(Steinberg::Vst::ProcessSetup& setup) override;
    Steinberg::tresult PLUGIN_API setActive(Steinberg::TBool state) override;
    Steinberg::tresult PLUGIN_API process(Steinberg::Vst::ProcessData& data) override;
    Steinberg::tresult PLUGIN_API setState(Steinberg::IBStream* stream) override;
    Steinberg::tresult PLUGIN_API getState(Steinberg::IBStream* stream) override;

  private:
    // Written by the main thread, read by both.
    struct alignas(8) BusLayout {
        bool mainInputStereo = false;
        bool mainOutputStereo = false;
        bool sideChainPresent = false;
        bool sideChainStereo = false;
        bool splitMono = false;  // every channel on a mono bus of its own
        bool sideChainLeftActive = false;
        bool sideChainRightActive = false;
    };
    static_assert(std::atomic<BusLayout>::is_always_lock_free);

    struct NumberedState {
        ComponentState state;
        uint32_t number = 0;
    };

    void addDefaultBuses();
    void addSideChainedBuses(int mainChannels, int sideChannels, int outChannels);
    void addSplitMonoBuses();
    void followBusActivation();

    void applyPendingState();
    void applyState(const ComponentState& state);
    void takeParameters(Steinberg::Vst::IParameterChanges* changes);
    void takeParameter(uint32_t id, double value);
    template <typename Sample>
    void render(Steinberg::Vst::ProcessData& data);
    void reportOutputs(Steinberg::Vst::IParameterChanges* changes);

    HostLinkImpl hostLink;
    std::unique_ptr<QVXEffect> effect;

    bool initialised = false;
    std::atomic<bool> active{false};
    std::atomic<BusLayout> busLayout{BusLayout{}};

    // What the engine has received, for getState. Written by whoever drives the engine: the audio
    // thread, or the main thread while no audio runs.
    std::array<std::atomic<double>, kStoredParameterCount> cache;
    std::atomic<int32_t> suspend{0};

    // States on their way to the engine. Until the newest is applied it is what getState tells.
    Mailbox<NumberedState> pendingStates;
    NumberedState newestState;
    std::atomic<uint32_t> appliedState{0};
    StateOrigin origin;

    double heartbeat = 0.0;
};

}  // namespace Quorvant
