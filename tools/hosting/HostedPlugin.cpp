#include "tools/hosting/HostedPlugin.h"

#include "tools/hosting/Text.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>

namespace Quorvant::Hosting {

using namespace Steinberg;
using namespace Steinberg::Vst;
using VST3::Hosting::Module;

namespace {

// Loaders report in several lines; one sentence is left.
std::string oneLine(std::string text) {
    std::ranges::replace_if(
        text, [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return text.substr(0, text.find_last_not_of(" .") + 1);
}

// One module however many instances: a second load of the same path shares the first.
Module::Ptr openModule(const std::string& path) {
    static std::map<std::string, std::weak_ptr<Module>> loaded;
    std::error_code failure;
    const std::string name = std::filesystem::canonical(path, failure).string();
    if (failure) throw Failure{"there is no plug-in " + inQuotes(path)};

    if (auto module = loaded[name].lock()) return module;
    std::string reason;
    auto module = Module::create(name, reason);
    if (!module) {
        if (reason.empty()) reason = "it holds no module for this system";
        throw Failure{inQuotes(path) + " cannot be loaded as a VST3 plug-in: " + oneLine(reason)};
    }
    module->getFactory().setHostContext(&hostApplication());
    loaded[name] = module;
    return module;
}

SpeakerArrangement arrangementOf(int channels) {
    return channels == 1 ? SpeakerArr::kMono : channels == 2 ? SpeakerArr::kStereo : 0;
}

int channelsOf(const std::vector<Bus>& buses, size_t bus) {
    return bus < buses.size() ? buses[bus].channels : 0;
}

void fill(ParameterChanges& changes, const std::vector<ParameterPoint>& points) {
    for (const ParameterPoint& point : points) {
        int32 index = 0;
        if (auto* queue = changes.addParameterData(point.id, index))
            queue->addPoint(point.offset, point.value, index);
    }
}

template <typename Sample>
void describeBuses(const std::vector<std::vector<Sample*>>& buses,
                   std::vector<AudioBusBuffers>& buffers) {
    buffers.resize(buses.size());
    for (size_t bus = 0; bus < buses.size(); ++bus) {
        AudioBusBuffers& buffer = buffers[bus];
        buffer.numChannels = static_cast<int32>(buses[bus].size());
        buffer.silenceFlags = 0;
        // The plug-in may not change the pointers, but the SDK's type has no const for it.
        auto** channels = const_cast<Sample**>(buses[bus].data());
        if constexpr (sizeof(Sample) == sizeof(double))
            buffer.channelBuffers64 = channels;
        else
            buffer.channelBuffers32 = channels;
    }
}

// Some controllers clamp, or read as 0, what they don't know: only what they show then tells.
bool isMeant(const std::string& asked, double value, const std::string& shown) {
    if (sameText(asked, shown)) return true;
    char *askedEnd = nullptr, *shownEnd = nullptr;
    const double askedNumber = std::strtod(asked.c_str(), &askedEnd);
    if (askedEnd == asked.c_str()) return false;
    if (value > 0.0 && value < 1.0) return true;
    const double shownNumber = std::strtod(shown.c_str(), &shownEnd);
    const bool isWord = shownEnd == shown.c_str();  // "-oo" or "off"
    return isWord ||
           std::abs(askedNumber - shownNumber) <= std::max(1.0, std::abs(shownNumber) * 0.02);
}

}  // namespace

ProcessContext makeContext(const Transport& transport, double sampleRate) {
    ProcessContext context{};
    context.sampleRate = sampleRate;
    context.projectTimeSamples = transport.positionFrames;
    context.timeSigNumerator = context.timeSigDenominator = 4;
    context.state = ProcessContext::kTimeSigValid;
    if (transport.playing) context.state |= ProcessContext::kPlaying;
    if (transport.tempoBpm) {
        context.tempo = *transport.tempoBpm;
        context.state |= ProcessContext::kTempoValid;
    }
    if (transport.positionBeats) {
        context.projectTimeMusic = *transport.positionBeats;
        context.state |= ProcessContext::kProjectTimeMusicValid;
    }
    return context;
}

HostedPlugin::Ptr HostedPlugin::load(const std::string& path) {
    Ptr plugin(new HostedPlugin);
    plugin->module = openModule(path);
    for (const auto& info : plugin->module->getFactory().classInfos()) {
        if (info.category() != kVstAudioEffectClass) continue;
        plugin->make(info);
        return plugin;
    }
    throw Failure{inQuotes(path) + " holds no audio effect"};
}

void HostedPlugin::make(const VST3::Hosting::ClassInfo& info) {
    className = info.name();
    PlugProvider::setErrorStream(nullptr);
    PluginContextFactory::instance().setPluginContext(&hostApplication());
    provider = owned(new PlugProvider(module->getFactory(), info));
    // Its answer is no for a pair that has no connection to make as well, which works.
    (void)provider->initialize();
    ownComponent = provider->getComponentPtr();
    ownController = provider->getControllerPtr();
    if (!ownComponent || !ownController)
        throw Failure{inQuotes(className) + " does not start, or has no controller"};
    ownProcessor = FUnknownPtr<IAudioProcessor>(ownComponent);
    if (!ownProcessor) throw Failure{inQuotes(className) + " is no audio processor"};
    ownController->setComponentHandler(log);
    // Without it some controllers would show, and hosts write back, their defaults.
    if (auto state = componentState()) showComponentState(*state);
    readParameters();
    readBuses();
}

HostedPlugin::~HostedPlugin() {
    if (isProcessing) ownProcessor->setProcessing(false);
    if (isActive) ownComponent->setActive(false);
    if (ownController) ownController->setComponentHandler(nullptr);
}

void HostedPlugin::readParameters() {
    for (int32 index = 0; index < ownController->getParameterCount(); ++index) {
        ParameterInfo info{};
        if (ownController->getParameterInfo(index, info) != kResultOk) continue;
        listed.push_back({info.id, fromWide(info.title), fromWide(info.shortTitle),
                          fromWide(info.units), info.stepCount, info.defaultNormalizedValue,
                          info.flags, info.unitId});
    }
}

void HostedPlugin::readBuses() {
    for (const BusDirection direction : {kInput, kOutput}) {
        auto& list = direction == kInput ? inputs : outputs;
        list.clear();
        for (int32 index = 0; index < ownComponent->getBusCount(kAudio, direction); ++index) {
            BusInfo info{};
            SpeakerArrangement arrangement = 0;
            if (ownComponent->getBusInfo(kAudio, direction, index, info) != kResultOk) continue;
            ownProcessor->getBusArrangement(direction, index, arrangement);
            list.push_back({info.channelCount, arrangement});
        }
    }
}

const Parameter* HostedPlugin::findParameter(std::string_view name) const {
    if (name.empty()) return nullptr;
    const auto find = [this](auto matches) -> const Parameter* {
        const auto found = std::ranges::find_if(listed, matches);
        return found != listed.end() ? &*found : nullptr;
    };
    if (auto* p = find([&](const Parameter& q) { return sameText(q.title, name); })) return p;
    if (auto* p = find([&](const Parameter& q) { return sameText(q.shortTitle, name); })) return p;
    return find([&](const Parameter& q) { return std::to_string(q.id) == name; });
}

const Parameter* HostedPlugin::findParameter(ParamID id) const {
    const auto found = std::ranges::find(listed, id, &Parameter::id);
    return found != listed.end() ? &*found : nullptr;
}

std::string HostedPlugin::textOf(const Parameter& parameter, double normalised) const {
    String128 text{};
    if (ownController->getParamStringByValue(parameter.id, normalised, text) != kResultOk)
        return {};
    return fromWide(text);
}

std::optional<double> HostedPlugin::valueOf(const Parameter& parameter,
                                            const std::string& text) const {
    if (text.empty()) return {};
    if (parameter.isList()) {
        for (int state = 0; state <= parameter.stepCount; ++state)
            if (sameText(text, textOf(parameter, parameter.valueOfState(state))))
                return parameter.valueOfState(state);
        return {};
    }
    String128 wide{};
    ParamValue value = 0.0;
    if (!toWide(text, wide) ||
        ownController->getParamValueByString(parameter.id, wide, value) != kResultOk ||
        !(value >= 0.0 && value <= 1.0) || !isMeant(text, value, textOf(parameter, value)))
        return {};
    return value;
}

void HostedPlugin::setParameter(ParamID id, double normalised) {
    ownController->setParamNormalized(id, normalised);
    pending.push_back({id, 0, normalised});
}

const std::vector<Bus>& HostedPlugin::buses(BusDirection direction) const {
    return direction == kInput ? inputs : outputs;
}

tresult HostedPlugin::setArrangements(std::vector<SpeakerArrangement> wantedInputs,
                                      std::vector<SpeakerArrangement> wantedOutputs) {
    const tresult answer = ownProcessor->setBusArrangements(
        wantedInputs.data(), static_cast<int32>(wantedInputs.size()), wantedOutputs.data(),
        static_cast<int32>(wantedOutputs.size()));
    readBuses();
    return answer;
}

tresult HostedPlugin::activateBus(BusDirection direction, int index, bool active) {
    return ownComponent->activateBus(kAudio, direction, index, active);
}

tresult HostedPlugin::setUp(const HostSetup& setup) {
    sampleSize = setup.doublePrecision ? kSample64 : kSample32;
    mode = setup.mode;
    ProcessSetup wanted{mode, sampleSize, setup.maxFrames, setup.sampleRate};
    return ownProcessor->setupProcessing(wanted);
}

tresult HostedPlugin::setActive(bool active) {
    const tresult answer = ownComponent->setActive(active);
    if (answer == kResultOk || !active) isActive = active;
    return answer;
}

tresult HostedPlugin::setProcessing(bool processing) {
    isProcessing = processing;
    return ownProcessor->setProcessing(processing);
}

void HostedPlugin::prepare(const HostSetup& setup) {
    const std::string who = inQuotes(className);
    if (isProcessing) setProcessing(false);
    if (isActive) setActive(false);

    std::vector<SpeakerArrangement> wantedInputs, wantedOutputs;
    for (size_t bus = 0; bus < inputs.size(); ++bus) {
        const int wanted = bus == 0 ? setup.mainInputs : bus == 1 ? setup.sideChain : 0;
        wantedInputs.push_back(wanted > 0 ? arrangementOf(wanted) : inputs[bus].arrangement);
    }
    for (size_t bus = 0; bus < outputs.size(); ++bus)
        wantedOutputs.push_back(bus == 0 ? arrangementOf(setup.mainOutputs)
                                         : outputs[bus].arrangement);
    // A plug-in may decline and yet be as wanted already, so its buses decide, not its answer.
    setArrangements(wantedInputs, wantedOutputs);
    if (channelsOf(inputs, 0) != setup.mainInputs || channelsOf(outputs, 0) != setup.mainOutputs)
        throw Failure{who + " cannot run with " + std::to_string(setup.mainInputs) +
                      " channels in and " + std::to_string(setup.mainOutputs) + " out"};
    if (setup.sideChain > 0 && channelsOf(inputs, 1) != setup.sideChain)
        throw Failure{who + " has no side-chain input of " + std::to_string(setup.sideChain) +
                      (setup.sideChain == 1 ? " channel" : " channels")};

    if (ownProcessor->canProcessSampleSize(setup.doublePrecision ? kSample64 : kSample32) !=
        kResultTrue)
        throw Failure{who + " does not process " + (setup.doublePrecision ? "64" : "32") +
                      "-bit samples"};
    if (setUp(setup) != kResultOk)
        throw Failure{who + " refuses a sample rate of " +
                      std::to_string(std::lround(setup.sampleRate)) + " Hz with blocks of " +
                      std::to_string(setup.maxFrames) + " frames"};
    for (size_t bus = 0; bus < inputs.size(); ++bus)
        activateBus(kInput, static_cast<int>(bus), bus == 0 || (bus == 1 && setup.sideChain > 0));
    for (size_t bus = 0; bus < outputs.size(); ++bus)
        activateBus(kOutput, static_cast<int>(bus), bus == 0);
    if (setActive(true) != kResultOk) throw Failure{who + " refused to start"};
    setProcessing(true);
}

template <typename Sample>
tresult HostedPlugin::process(const Block<Sample>& block) {
    describeBuses(block.inputs, inputBuffers);
    describeBuses(block.outputs, outputBuffers);
    inputChanges.clearQueue();
    fill(inputChanges, pending);
    pending.clear();
    fill(inputChanges, block.points);
    outputChanges.clearQueue();
    reported.clear();

    ProcessContext context{};
    if (block.context != nullptr) context = *block.context;
    ProcessData data;
    data.processMode = mode;
    data.symbolicSampleSize = sizeof(Sample) == sizeof(double) ? kSample64 : kSample32;
    data.numSamples = block.frames;
    data.numInputs = static_cast<int32>(inputBuffers.size());
    data.numOutputs = static_cast<int32>(outputBuffers.size());
    data.inputs = inputBuffers.empty() ? nullptr : inputBuffers.data();
    data.outputs = outputBuffers.empty() ? nullptr : outputBuffers.data();
    data.inputParameterChanges = &inputChanges;
    data.outputParameterChanges = &outputChanges;
    data.processContext = block.context != nullptr ? &context : nullptr;
    const tresult answer = ownProcessor->process(data);
    for (int32 index = 0; index < outputChanges.getParameterCount(); ++index) {
        IParamValueQueue* queue = outputChanges.getParameterData(index);
        for (int32 point = 0; point < queue->getPointCount(); ++point) {
            ParameterPoint out{queue->getParameterId(), 0, 0.0};
            queue->getPoint(point, out.offset, out.value);
            reported.push_back(out);
        }
    }
    return answer;
}
template tresult HostedPlugin::process(const Block<float>& block);
template tresult HostedPlugin::process(const Block<double>& block);

tresult HostedPlugin::flush(std::vector<ParameterPoint> points) {
    pending.insert(pending.end(), points.begin(), points.end());
    return isDoublePrecision() ? process(Block<double>()) : process(Block<float>());
}

std::optional<Bytes> HostedPlugin::componentState() const {
    auto stream = owned(new StateStream);
    if (ownComponent->getState(stream) != kResultOk) return {};
    return stream->bytes();
}

tresult HostedPlugin::setComponentState(std::span<const uint8_t> state) {
    return ownComponent->setState(owned(new StateStream(state)));
}

tresult HostedPlugin::showComponentState(std::span<const uint8_t> state) {
    return ownController->setComponentState(owned(new StateStream(state)));
}

std::optional<Bytes> HostedPlugin::controllerState() const {
    auto stream = owned(new StateStream);
    if (ownController->getState(stream) != kResultOk) return {};
    return stream->bytes();
}

tresult HostedPlugin::setControllerState(std::span<const uint8_t> state) {
    return ownController->setState(owned(new StateStream(state)));
}

}  // namespace Quorvant::Hosting
