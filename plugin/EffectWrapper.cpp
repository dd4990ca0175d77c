#include "plugin/EffectWrapper.h"

#include "dsp/Denormals.h"
#include "params/ParameterLaws.h"
#include "params/ParameterTable.h"
#include "plugin/ClassIds.h"
#include "plugin/StateMessages.h"

#include "pluginterfaces/vst/ivstparameterchanges.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <new>
#include <type_traits>

namespace Quorvant {

using namespace Steinberg;
using Vst::ProcessData;

namespace {

constexpr double kHeartbeatStep = 0.001;

// A queue's last point is the only one that counts. False where there is none, or not a number.
bool lastPoint(Vst::IParameterChanges& changes, int32 index, uint32_t& id, double& value) {
    Vst::IParamValueQueue* const queue = changes.getParameterData(index);
    if (!queue) return false;
    int32 offset = 0;
    id = queue->getParameterId();
    const int32 points = queue->getPointCount();
    return points > 0 && queue->getPoint(points - 1, offset, value) == kResultOk &&
           !std::isnan(value);
}

}  // namespace

QVXVST3EffectWrapper::QVXVST3EffectWrapper(const EffectFactory& makeEffect) {
    setControllerClass(kControllerClassId);
    processContextRequirements.needTempo().needProjectTimeMusic().needTransportState();
    for (auto& value : cache) value.store(kNoValue, std::memory_order_relaxed);
    effect = makeEffect(hostLink);
}

tresult PLUGIN_API QVXVST3EffectWrapper::initialize(FUnknown* context) {
    if (initialised) return kResultFalse;
    const tresult result = AudioEffect::initialize(context);
    if (result != kResultOk) return result;
    initialised = true;
    arrange(defaultBuses());
    return kResultOk;
}

tresult PLUGIN_API QVXVST3EffectWrapper::terminate() {
    if (gate.heldHere()) return kResultFalse;
    const std::lock_guard engine(gate);
    active = false;
    applyPendingState();
    hostLink.stop();
    initialised = false;
    busLayout = BusLayout{};
    return AudioEffect::terminate();
}

void QVXVST3EffectWrapper::arrange(const BusArrangement& wanted) {
    const Vst::BusList oldInputs = audioInputs;
    const Vst::BusList oldOutputs = audioOutputs;
    removeAudioBusses();
    for (const auto& [name, speakers, type, flags] : wanted.inputs)
        addAudioInput(name, speakers, type, flags);
    for (const auto& [name, speakers, type, flags] : wanted.outputs)
        addAudioOutput(name, speakers, type, flags);
    keepActivation(oldInputs, audioInputs);
    keepActivation(oldOutputs, audioOutputs);
    busLayout = layoutOf(audioInputs, audioOutputs);
}

tresult PLUGIN_API QVXVST3EffectWrapper::setBusArrangements(Vst::SpeakerArrangement* inputs,
                                                            int32 numIns,
                                                            Vst::SpeakerArrangement* outputs,
                                                            int32 numOuts) {
    if (!inputs || !outputs || numOuts != 1 || (numIns != 1 && numIns != 2)) return kResultFalse;
    const auto channels = Vst::SpeakerArr::getChannelCount;
    arrange(numIns == 2
                ? sideChainedBuses(channels(inputs[0]), channels(inputs[1]), channels(outputs[0]))
                : splitMonoBuses());
    return kResultOk;
}

tresult PLUGIN_API QVXVST3EffectWrapper::activateBus(Vst::MediaType type, Vst::BusDirection dir,
                                                     int32 index, TBool state) {
    const tresult result = AudioEffect::activateBus(type, dir, index, state);
    busLayout = layoutOf(audioInputs, audioOutputs);
    return result;
}

tresult PLUGIN_API QVXVST3EffectWrapper::canProcessSampleSize(int32 sampleSize) {
    if (!effect) return kResultFalse;
    const bool can = (sampleSize == Vst::kSample32 && effect->supports32()) ||
                     (sampleSize == Vst::kSample64 && effect->supports64());
    return can ? kResultTrue : kResultFalse;
}

uint32 PLUGIN_API QVXVST3EffectWrapper::getLatencySamples() {
    return effect ? static_cast<uint32>(std::max(effect->getLatency(), 0)) : 0;
}

uint32 PLUGIN_API QVXVST3EffectWrapper::getTailSamples() {
    const int32 tail = effect ? effect->getTail() : 0;
    return tail < 0 ? Vst::kInfiniteTail : static_cast<uint32>(tail);
}

tresult PLUGIN_API QVXVST3EffectWrapper::setupProcessing(Vst::ProcessSetup& setup) {
    if (!std::isfinite(setup.sampleRate) || setup.sampleRate <= 0.0) return kInvalidArgument;
    if (gate.heldHere()) return kResultFalse;
    const std::lock_guard engine(gate);
    hostLink.stop();
    if (!active) applyPendingState();
    try {
        if (effect) effect->reset();
    } catch (const std::bad_alloc&) {
        return kOutOfMemory;
    }
    return AudioEffect::setupProcessing(setup);
}

tresult PLUGIN_API QVXVST3EffectWrapper::setActive(TBool state) {
    if (gate.heldHere()) return kResultFalse;
    const std::lock_guard engine(gate);
    hostLink.stop();
    active = false;
    applyPendingState();
    try {
        if (effect) {
            // A rate that the engine doesn't take runs at the nearest one that it does.
            effect->setSampleRate(processSetup.sampleRate);
            effect->reset();
        }
    } catch (const std::bad_alloc&) {
        return kOutOfMemory;
    }
    active = state != 0;
    return kResultOk;
}

tresult PLUGIN_API QVXVST3EffectWrapper::process(ProcessData& data) {
    // Values from the host may be anything, and the host may have asked for traps.
    const ScopedFloatingPointMode ownMode;
    const std::unique_lock engine(gate, std::try_to_lock);
    if (!engine) {
        missBlock(data);
        return kResultOk;
    }
    applyPendingState();
    if (missed) applyState(*missed);
    missed.reset();
    takeParameters(data.inputParameterChanges);
    tresult result = kResultOk;
    if (data.symbolicSampleSize == Vst::kSample32) {
        render<float>(data);
    } else if (data.symbolicSampleSize == Vst::kSample64) {
        render<double>(data);
    } else {
        result = kInvalidArgument;
    }
    reportOutputs(data.outputParameterChanges);
    return result;
}

// The host changes the set-up meanwhile. What the block brings is kept for the next one.
void QVXVST3EffectWrapper::missBlock(ProcessData& data) {
    if (data.symbolicSampleSize == Vst::kSample32) silenceOthers<float>(data, {});
    if (data.symbolicSampleSize == Vst::kSample64) silenceOthers<double>(data, {});
    const int32 count =
        data.inputParameterChanges ? data.inputParameterChanges->getParameterCount() : 0;
    uint32_t id = 0;
    double value = 0.0;
    for (int32 i = 0; i < count; ++i) {
        if (!lastPoint(*data.inputParameterChanges, i, id, value)) continue;
        if (!missed) missed.emplace();
        if (id == kSuspend) missed->suspend = suspend = suspendState(value);
        if (id < cache.size()) cache[id] = missed->values[id] = clampNormalised(value);
    }
}

void QVXVST3EffectWrapper::takeParameters(Vst::IParameterChanges* changes) {
    if (!changes) return;
    const int32 count = changes->getParameterCount();
    uint32_t id = 0;
    double value = 0.0;
    int32 loopQueue = -1;
    bool engages = false;
    bool bringsTime = false;
    bool bringsMode = false;
    for (int32 i = 0; i < count; ++i) {
        if (!lastPoint(*changes, i, id, value)) continue;
        bringsTime = bringsTime || id == kDelayTime;
        bringsMode = bringsMode || id == kDelayClockMode;
        if (id != kInfRepeat) continue;
        loopQueue = i;
        engages = switchState(value);
    }
    const auto takeLoop = [&] {
        if (loopQueue >= 0 && lastPoint(*changes, loopQueue, id, value)) takeParameter(id, value);
    };

    // While Inf Repeat is on, the engine ignores changes of the delay. So that none that come in
    // the same block are lost, the loop is released before them and engaged after them. A loop that
    // runs on is held against automation of the delay; only a block that brings all three is a
    // preset, whose delay is to be heard.
    if (!engages) takeLoop();
    if (engages && bringsTime && bringsMode && effect) effect->setParameter(kInfRepeat, 0.0);
    for (int32 i = 0; i < count; ++i) {
        if (i != loopQueue && lastPoint(*changes, i, id, value)) takeParameter(id, value);
    }
    if (engages) takeLoop();
}

void QVXVST3EffectWrapper::takeParameter(uint32_t id, double value) {
    if (id == kSuspend) suspend.store(suspendState(value), std::memory_order_relaxed);
    if (effect) effect->setParameter(id, value);
    // Held within the range, because a state's reader skips what lies outside.
    if (id < cache.size()) cache[id].store(clampNormalised(value), std::memory_order_relaxed);
}

template <typename Sample>
void QVXVST3EffectWrapper::render(ProcessData& data) {
    ChannelPointers<Sample> channels;
    if (effect && data.inputs && data.outputs && data.numInputs > 0 && data.numOutputs > 0) {
        hostLink.setContext(data.processContext);
        channels = engineChannels<Sample>(data, busLayout.load(std::memory_order_relaxed));
        const auto& [in, out] = channels;
        const int32 frames = std::max(data.numSamples, 0);
        const bool suspended = suspend.load(std::memory_order_relaxed) != 0;
        if constexpr (std::is_same_v<Sample, float>) {
            suspended ? effect->processSuspended32(in, out, frames)
                      : effect->process32(in, out, frames);
        } else {
            suspended ? effect->processSuspended64(in, out, frames)
                      : effect->process64(in, out, frames);
        }
    }
    silenceOthers(data, channels);
    for (int32 bus = 0; data.outputs && bus < data.numOutputs; ++bus) {
        data.outputs[bus].silenceFlags = 0;
    }
}

void QVXVST3EffectWrapper::reportOutputs(Vst::IParameterChanges* changes) {
    if (!changes) return;
    const auto report = [&](Vst::ParamID id, double value) {
        int32 queueIndex = 0;
        int32 pointIndex = 0;
        if (auto* queue = changes->addParameterData(id, queueIndex)) {
            queue->addPoint(0, value, pointIndex);
        }
    };
    for (uint32_t id = 0; effect && id <= kLastOutputIndex; ++id) {
        double value = 0.0;
        if (!effect->getOutputValue(id, value)) continue;
        report(id, std::isfinite(value) ? std::clamp(value, 0.0, 1.0) : 0.0);
    }
    heartbeat += kHeartbeatStep;
    if (heartbeat > 1.0) heartbeat = 0.0;
    report(kHeartbeat, heartbeat);
}

tresult PLUGIN_API QVXVST3EffectWrapper::setState(IBStream* stream) {
    if (!stream) return kResultFalse;
    const auto state = readComponentState(*stream);
    if (!state) return kResultFalse;
    leftOut.emplace();
    bool isPreset = true;
    for (std::size_t i = 0; i < leftOut->size(); ++i) {
        (*leftOut)[i] = !isStateValue(state->values[i]);
        isPreset = isPreset && (*leftOut)[i] != kParameters[i].writtenByPresetChoice();
    }
    if (isPreset) leftOut->reset();  // on purpose: the player's own levels stay
    handOver(*state);
    origin = readOrigin(*stream);
    return kResultOk;
}

bool QVXVST3EffectWrapper::stateWaits() const {
    return appliedState.load(std::memory_order_acquire) != newestState.number;
}

void QVXVST3EffectWrapper::handOver(ComponentState state) {
    // A state that still waits is replaced by this one, but for the values that this one lacks.
    if (stateWaits()) state.fillFrom(newestState.state);
    newestState.state = state;
    ++newestState.number;
    pendingStates.put(newestState);
    if (active) return;
    // Where a host processes all the same, the next block takes the state.
    const std::unique_lock engine(gate, std::try_to_lock);
    if (engine) applyPendingState();
}

void QVXVST3EffectWrapper::applyPendingState() {
    if (const NumberedState* pending = pendingStates.take()) {
        applyState(pending->state);
        appliedState.store(pending->number, std::memory_order_release);
    }
}

void QVXVST3EffectWrapper::applyState(const ComponentState& state) {
    const auto hand = [&](uint32_t id, double value) {
        if (effect) effect->setParameter(id, value);
    };
    // A running loop would have the engine ignore the state's delay.
    if (isStateValue(state.values[kInfRepeat])) hand(kInfRepeat, 0.0);
    for (uint32_t i = 0; i < state.values.size(); ++i) {
        if (!isStateValue(state.values[i])) continue;
        hand(i, state.values[i]);
        cache[i].store(state.values[i], std::memory_order_relaxed);
    }
    if (state.suspend == kNoValue) return;
    suspend.store(suspendState(state.suspend), std::memory_order_relaxed);
    hand(kSuspend, state.suspend);
}

ComponentState QVXVST3EffectWrapper::knownState() const {
    // First what waits: were it applied in between, the cache, read first, would still be older.
    ComponentState state = stateWaits() ? newestState.state : ComponentState();
    ComponentState received;
    for (std::size_t i = 0; i < cache.size(); ++i)
        received.values[i] = cache[i].load(std::memory_order_relaxed);
    received.suspend = suspend.load(std::memory_order_relaxed);
    state.fillFrom(received);
    state.suspend = suspendState(state.suspend);
    return state;
}

tresult PLUGIN_API QVXVST3EffectWrapper::getState(IBStream* stream) {
    if (!stream) return kResultFalse;
    return writeComponentState(*stream, knownState()) ? kResultOk : kResultFalse;
}

tresult PLUGIN_API QVXVST3EffectWrapper::notify(Vst::IMessage* message) {
    const auto offered = receivedState(message, kOfferedValues);
    if (!offered) return AudioEffect::notify(message);
    if (!leftOut) return kResultOk;  // no state has been set here
    ComponentState taken;
    for (std::size_t i = 0; i < leftOut->size(); ++i)
        if ((*leftOut)[i]) taken.values[i] = offered->values[i];
    // With the loop that the state had engaged, since the delay is taken only before it.
    if (!(*leftOut)[kInfRepeat]) taken.values[kInfRepeat] = knownState().values[kInfRepeat];
    if (leftOut->any()) handOver(taken);
    leftOut.reset();
    sendState(*this, kStateInForce, knownState());
    return kResultOk;
}

}  // namespace Quorvant
