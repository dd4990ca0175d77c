// A plug-in whose output is known to the sample, and which fails on demand: what the command-line
// host is tested with.
#include "base/source/fstreamer.h"
#include "pluginterfaces/base/ustring.h"
#include "pluginterfaces/vst/ivstparameterchanges.h"
#include "public.sdk/source/main/pluginfactory.h"
#include "public.sdk/source/vst/vstaudioeffect.h"
#include "public.sdk/source/vst/vsteditcontroller.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <vector>

namespace {

using namespace Steinberg;
using namespace Steinberg::Vst;

const FUID kProcessorId(0x51D3A7E0, 0x11C04E55, 0x9B20F3A4, PROBE_NUMBER);
const FUID kControllerId(0x51D3A7E1, 0x11C04E55, 0x9B20F3A4, PROBE_NUMBER);

constexpr int32 kLatency = 100;       // frames
constexpr double kEchoSeconds = 2.0;  // after the direct sound
constexpr double kTailSeconds = 2.5;
constexpr double kLowestRate = 22050.0;

enum ProbeParameter : ParamID { kLevel, kEcho, kFault, kEcoh, kCount, kPeak = 100 };
enum Fault { kNone, kNotFinite, kCrash };

// Output: input * level, and with Echo on once more two seconds later, plus the side chain. A
// block's parameter changes count from its first frame.
class ProbeProcessor : public AudioEffect {
  public:
    ProbeProcessor() { setControllerClass(kControllerId); }

    tresult PLUGIN_API initialize(FUnknown* context) override {
        const tresult result = AudioEffect::initialize(context);
        addAudioInput(STR16("In"), SpeakerArr::kStereo);
        addAudioInput(STR16("Side"), SpeakerArr::kMono, kAux, 0);
        addAudioOutput(STR16("Out"), SpeakerArr::kStereo);
        return result;
    }
    tresult PLUGIN_API setBusArrangements(SpeakerArrangement* inputs, int32 inputCount,
                                          SpeakerArrangement* outputs, int32 outputCount) override {
        if (inputCount != 2 || outputCount != 1 || inputs[0] != outputs[0]) return kResultFalse;
        return AudioEffect::setBusArrangements(inputs, inputCount, outputs, outputCount);
    }
    tresult PLUGIN_API canProcessSampleSize(int32) override { return kResultTrue; }
    tresult PLUGIN_API setupProcessing(ProcessSetup& setup) override {
        if (setup.sampleRate < kLowestRate) return kResultFalse;
        return AudioEffect::setupProcessing(setup);
    }
    tresult PLUGIN_API setActive(TBool state) override {
        const auto frames = static_cast<size_t>(processSetup.sampleRate * kEchoSeconds) + kLatency;
        for (auto& line : lines) line.assign(frames, 0.0);
        position = 0;
        return AudioEffect::setActive(state);
    }
    uint32 PLUGIN_API getLatencySamples() override { return kLatency; }
    uint32 PLUGIN_API getTailSamples() override {
        return static_cast<uint32>(processSetup.sampleRate * kTailSeconds);
    }

    tresult PLUGIN_API process(ProcessData& data) override {
        takeParameters(data.inputParameterChanges);
        if (static_cast<int>(values[kFault] * 2.0 + 0.5) == kCrash) std::abort();
        if (data.numSamples > 0 && data.numInputs > 0 && data.numOutputs > 0) {
            if (data.symbolicSampleSize == kSample64)
                run(data.inputs, data.outputs[0].channelBuffers64, data.outputs[0].numChannels,
                    data.numSamples, &AudioBusBuffers::channelBuffers64);
            else
                run(data.inputs, data.outputs[0].channelBuffers32, data.outputs[0].numChannels,
                    data.numSamples, &AudioBusBuffers::channelBuffers32);
        }
        int32 index = 0;
        if (data.outputParameterChanges != nullptr)
            if (auto* queue = data.outputParameterChanges->addParameterData(kPeak, index))
                queue->addPoint(0, values[kLevel], index);
        return kResultOk;
    }

    tresult PLUGIN_API getState(IBStream* stream) override {
        IBStreamer out(stream, kLittleEndian);
        for (const double value : values) out.writeDouble(value);
        return kResultOk;
    }
    tresult PLUGIN_API setState(IBStream* stream) override {
        double read[kCount];
        IBStreamer in(stream, kLittleEndian);
        for (double& value : read)
            if (!in.readDouble(value)) return kResultFalse;
        std::copy(read, read + kCount, values);
        return kResultOk;
    }

  private:
    void takeParameters(IParameterChanges* changes) {
        for (int32 index = 0; changes != nullptr && index < changes->getParameterCount(); ++index) {
            IParamValueQueue* queue = changes->getParameterData(index);
            int32 offset = 0;
            ParamValue value = 0.0;
            if (queue->getParameterId() < kCount &&
                queue->getPoint(queue->getPointCount() - 1, offset, value) == kResultOk)
                values[queue->getParameterId()] = value;
        }
    }

    template <typename Sample>
    void run(AudioBusBuffers* inputs, Sample** outputs, int32 channels, int32 frames,
             Sample** AudioBusBuffers::*buffersOf) {
        const bool failing = static_cast<int>(values[kFault] * 2.0 + 0.5) == kNotFinite;
        Sample** side = getAudioInput(1)->isActive() ? inputs[1].*buffersOf : nullptr;
        for (int32 frame = 0; frame < frames; ++frame) {
            for (int32 channel = 0; channel < channels; ++channel) {
                auto& line = lines[channel];
                const size_t length = line.size();
                double now = (inputs[0].*buffersOf)[channel][frame] * values[kLevel];
                if (side != nullptr) now += side[0][frame];
                line[position] = now;
                double out = line[(position + length - kLatency) % length];
                if (values[kEcho] >= 0.5) out += line[(position + 1) % length];
                if (failing) out = std::numeric_limits<double>::quiet_NaN();
                outputs[channel][frame] = static_cast<Sample>(out);
            }
            position = (position + 1) % lines[0].size();
        }
    }

    double values[kCount] = {1.0, 0.0, 0.0, 0.0};
    std::vector<double> lines[2];
    size_t position = 0;
};

class ProbeController : public EditController {
  public:
    tresult PLUGIN_API initialize(FUnknown* context) override {
        const tresult result = EditController::initialize(context);
        parameters.addParameter(new RangeParameter(STR16("Level"), kLevel, STR16("%"), 0.0, 100.0,
                                                   100.0, 0, ParameterInfo::kCanAutomate, 0,
                                                   STR16("Lvl")));
        parameters.addParameter(list(STR16("Echo"), kEcho, {STR16("Off"), STR16("On")}));
        parameters.addParameter(
            list(STR16("Fault"), kFault, {STR16("None"), STR16("Not Finite"), STR16("Crash")}));
        parameters.addParameter(list(STR16("Ecoh"), kEcoh, {STR16("Lvl"), STR16("Level")}));
        parameters.addParameter(STR16("Peak"), nullptr, 0, 0.0, ParameterInfo::kIsReadOnly, kPeak);
        return result;
    }
    tresult PLUGIN_API setComponentState(IBStream* stream) override {
        IBStreamer in(stream, kLittleEndian);
        double value = 0.0;
        for (ParamID id = 0; id < kCount && in.readDouble(value); ++id)
            setParamNormalized(id, value);
        return kResultOk;
    }

  private:
    static Parameter* list(const TChar* title, ParamID id, std::vector<const TChar*> texts) {
        auto* parameter = new StringListParameter(title, id);
        for (const TChar* text : texts) parameter->appendString(text);
        return parameter;
    }
};

FUnknown* makeProcessor(void*) {
    return static_cast<IAudioProcessor*>(new ProbeProcessor);
}
FUnknown* makeController(void*) {
    return static_cast<IEditController*>(new ProbeController);
}

}  // namespace

SMTG_EXPORT_SYMBOL IPluginFactory* PLUGIN_API GetPluginFactory() {
#ifdef PROBE_CRASHES_ON_LOAD
    std::abort();
#endif
    static CPluginFactory factory(PFactoryInfo("quorvant.example", "", "", PFactoryInfo::kUnicode));
    if (factory.countClasses() == 0) {
        TUID processor, controller;
        kProcessorId.toTUID(processor);
        kControllerId.toTUID(controller);
        const PClassInfo2 effect(processor, PClassInfo::kManyInstances, kVstAudioEffectClass,
                                 "Probe", 0, "Fx|Tools", "quorvant.example", "1.0.0",
                                 kVstVersionString);
        const PClassInfo2 editor(controller, PClassInfo::kManyInstances,
                                 kVstComponentControllerClass, "Probe Controller", 0, "",
                                 "quorvant.example", "1.0.0", kVstVersionString);
        factory.registerClass(&effect, makeProcessor, nullptr);
        factory.registerClass(&editor, makeController, nullptr);
    }
    factory.addRef();
    return &factory;
}
