// A plug-in whose output is known to the sample, and which fails on demand: what the command-line
// host is tested with.
#include "pluginterfaces/vst/ivstparameterchanges.h"
#include "public.sdk/source/main/pluginfactory.h"
#include "public.sdk/source/vst/vstsinglecomponenteffect.h"

#include <cstdlib>
#include <limits>
#include <vector>

namespace {

using namespace Steinberg;
using namespace Steinberg::Vst;

constexpr int32 kLatency = 100;       // frames
constexpr double kEchoSeconds = 2.0;  // after the direct sound
constexpr double kTailSeconds = 2.5;
constexpr double kLowestRate = 22050.0;

enum ProbeParameter : ParamID { kLevel, kEcho, kFault, kCount, kPeak = 100 };
enum Fault { kNone, kNotFinite, kCrash };

// Output: input * level, and with Echo on once more two seconds later, plus the side chain. A
// block's parameter changes count from its first frame.
class Probe : public SingleComponentEffect {
  public:
    static FUnknown* make(void*) { return static_cast<IAudioProcessor*>(new Probe); }

    tresult PLUGIN_API initialize(FUnknown* context) override {
        const tresult result = SingleComponentEffect::initialize(context);
        addAudioInput(STR16("In"), SpeakerArr::kStereo);
        addAudioInput(STR16("Side"), SpeakerArr::kMono, kAux, 0);
        addAudioOutput(STR16("Out"), SpeakerArr::kStereo);
        parameters.addParameter(new RangeParameter(STR16("Level"), kLevel, STR16("%"), 0.0, 100.0,
                                                   100.0, 0, ParameterInfo::kCanAutomate, 0,
                                                   STR16("Lvl")));
        addList(STR16("Echo"), kEcho, {STR16("Off"), STR16("On")});
        addList(STR16("Fault"), kFault, {STR16("None"), STR16("Not Finite"), STR16("Crash")});
        parameters.addParameter(STR16("Peak"), nullptr, 0, 0.0, ParameterInfo::kIsReadOnly, kPeak);
        return result;
    }
    tresult PLUGIN_API setBusArrangements(SpeakerArrangement* inputs, int32 inputCount,
                                          SpeakerArrangement* outputs, int32 outputCount) override {
        if (inputCount != 2 || outputCount != 1 || inputs[0] != outputs[0]) return kResultFalse;
        return SingleComponentEffect::setBusArrangements(inputs, inputCount, outputs, outputCount);
    }
    tresult PLUGIN_API canProcessSampleSize(int32) override { return kResultTrue; }
    tresult PLUGIN_API setupProcessing(ProcessSetup& setup) override {
        if (setup.sampleRate < kLowestRate) return kResultFalse;
        return SingleComponentEffect::setupProcessing(setup);
    }
    tresult PLUGIN_API setActive(TBool state) override {
        const auto frames = static_cast<size_t>(processSetup.sampleRate * kEchoSeconds) + kLatency;
        for (auto& line : lines) line.assign(frames, 0.0);
        position = 0;
        return SingleComponentEffect::setActive(state);
    }
    uint32 PLUGIN_API getLatencySamples() override { return kLatency; }
    uint32 PLUGIN_API getTailSamples() override {
        return static_cast<uint32>(processSetup.sampleRate * kTailSeconds);
    }

    tresult PLUGIN_API process(ProcessData& data) override {
        IParameterChanges* changes = data.inputParameterChanges;
        for (int32 index = 0; index < changes->getParameterCount(); ++index) {
            IParamValueQueue* queue = changes->getParameterData(index);
            int32 offset = 0;
            if (queue->getParameterId() < kCount)
                queue->getPoint(queue->getPointCount() - 1, offset,
                                values[queue->getParameterId()]);
        }
        if (fault() == kCrash) std::abort();
        if (data.symbolicSampleSize == kSample64)
            run(data, &AudioBusBuffers::channelBuffers64);
        else
            run(data, &AudioBusBuffers::channelBuffers32);
        int32 index = 0;
        auto* queue = data.outputParameterChanges->addParameterData(kPeak, index);
        return queue->addPoint(0, values[kLevel], index);
    }

  private:
    void addList(const TChar* title, ParamID id, std::vector<const TChar*> texts) {
        auto* parameter = new StringListParameter(title, id);
        for (const TChar* text : texts) parameter->appendString(text);
        parameters.addParameter(parameter);
    }

    int fault() const { return static_cast<int>(values[kFault] * 2.0 + 0.5); }

    template <typename Sample>
    void run(ProcessData& data, Sample** AudioBusBuffers::*buffersOf) {
        Sample** const in = data.inputs[0].*buffersOf;
        Sample** const out = data.outputs[0].*buffersOf;
        Sample** const side = data.inputs[1].*buffersOf;
        for (int32 frame = 0; frame < data.numSamples; ++frame) {
            for (int32 channel = 0; channel < data.outputs[0].numChannels; ++channel) {
                auto& line = lines[channel];
                const size_t length = line.size();
                line[position] = in[channel][frame] * values[kLevel] + side[0][frame];
                double sample = line[(position + length - kLatency) % length];
                if (values[kEcho] >= 0.5) sample += line[(position + 1) % length];
                if (fault() == kNotFinite) sample = std::numeric_limits<double>::quiet_NaN();
                out[channel][frame] = static_cast<Sample>(sample);
            }
            position = (position + 1) % lines[0].size();
        }
    }

    double values[kCount] = {1.0, 0.0, 0.0};
    std::vector<double> lines[2];
    size_t position = 0;
};

}  // namespace

BEGIN_FACTORY_DEF("quorvant.example", "", "")
DEF_CLASS2(INLINE_UID(0x51D3A7E0, 0x11C04E55, 0x9B20F3A4, 1), PClassInfo::kManyInstances,
           kVstAudioEffectClass, "Probe", 0, "Fx|Tools", "1.0.0", kVstVersionString, Probe::make)
END_FACTORY
