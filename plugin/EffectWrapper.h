// The audio processor that hosts see: buses, blocks, parameters and state, translated into calls
// on one effect engine.
#pragma once

#include "dsp/Effect.h"
#include "params/ParameterIndex.h"
#include "plugin/Buses.h"
#include "plugin/ComponentState.h"
#include "plugin/EngineGate.h"
#include "plugin/HostLinkImpl.h"
#include "plugin/Mailbox.h"
#include "plugin/StateOrigin.h"

#include "public.sdk/source/vst/vstaudioeffect.h"

#include <array>
#include <atomic>
#include <bitset>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace Quorvant {

// Threads are those of the VST3 interfaces: process() on the audio thread, all else on the main
// thread. setState() may come while audio runs; the audio thread then takes the state over at the
// start of its next block. Set-up, activation and arrangements may come as well, against the rules:
// they wait for the block that runs, and blocks that come meanwhile are silent; from within a block
// they are refused.
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
    // Takes what the last state left out from what the controller offers.
    Steinberg::tresult PLUGIN_API notify(Steinberg::Vst::IMessage* message) override;

  private:
    struct NumberedState {
        ComponentState state;
        uint32_t number = 0;
    };

    void arrange(const BusArrangement& wanted);

    void handOver(ComponentState state);
    bool stateWaits() const;
    ComponentState knownState() const;
    void applyPendingState();
    void applyState(const ComponentState& state);
    void missBlock(Steinberg::Vst::ProcessData& data);
    void takeParameters(Steinberg::Vst::IParameterChanges* changes);
    void takeParameter(uint32_t id, double value);
    template <typename Sample>
    void render(Steinberg::Vst::ProcessData& data);
    void reportOutputs(Steinberg::Vst::IParameterChanges* changes);

    // Held by whoever drives the engine and its host link.
    EngineGate gate;
    HostLinkImpl hostLink;
    std::unique_ptr<QVXEffect> effect;

    bool initialised = false;
    std::atomic<bool> active{false};
    std::atomic<BusLayout> busLayout{BusLayout{}};  // written by the main thread
    static_assert(std::atomic<BusLayout>::is_always_lock_free);

    // What the engine has received, for getState. Written by whoever drives the engine.
    std::array<std::atomic<double>, kStoredParameterCount> cache;
    std::atomic<int32_t> suspend{0};

    // States on their way to the engine. Until the newest is applied it is what getState tells.
    Mailbox<NumberedState> pendingStates;
    NumberedState newestState;
    std::atomic<uint32_t> appliedState{0};
    // By the last state that was set, until the controller has offered its values.
    std::optional<std::bitset<kStoredParameterCount>> leftOut;
    StateOrigin origin;
    std::optional<ComponentState> missed;  // by blocks that didn't get the engine; audio thread

    double heartbeat = 0.0;
};

}  // namespace Quorvant
