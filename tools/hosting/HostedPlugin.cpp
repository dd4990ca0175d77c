#include "tools/hosting/HostedPlugin.h"

#include "tools/hosting/Text.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <mutex>

namespace Quorvant::Hosting {

using namespace Steinberg;
using namespace Steinberg::Vst;
using VST3::Hosting::Module;

namespace {

// Loaders report in several lines; one sentence is left.
std::string oneLine(std::string text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == '.'))
        text.pop_back();
    std::ranges::replace_if(
        text, [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return text;
}

// One module however many instances: a second load of the same path shares the first.
Result<Module::Ptr> openModule(const std::string& path) {
    static std::mutex mutex;
    static std::map<std::string, std::weak_ptr<Module>> loaded;
    std::error_code failure;
    const auto real = std::filesystem::canonical(path, failure);
    if (failure) return Error{"there is no plug-in " + inQuotes(path)};
    const std::string name = real.string();

    const std::lock_guard lock(mutex);
    if (auto module = loaded[name].lock()) return module;
    std::string reason;
    auto module = Module::create(name, reason);
    if (!module) {
        if (reason.empty()) reason = "it holds no module for this system";
        return Error{inQuotes(path) + " cannot be loaded as a VST3 plug-in: " + oneLine(reason)};
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

Result<HostedPlugin::Ptr> HostedPlugin::load(const std::string& path, std::string_view className) {
    auto module = openModule(path);
    if (!module) return Error{module.error()};
    for (const auto& info : (*module)->getFactory().classInfos()) {
        if (info.category() != kVstAudioEffectClass) continue;
        if (!className.empty() && !sameText(info.name(), className)) continue;
        Ptr plugin(new HostedPlugin);
        plugin->module = *module;
        if (auto made = plugin->make(info); !made) return Error{made.error()};
        return plugin;
    }
    return Error{inQuotes(path) + " holds no audio effect" +
                 (className.empty() ? std::string() : " " + inQuotes(className))};
}

Result<> HostedPlugin::make(const VST3::Hosting::ClassInfo& info) {
    className = info.name();
    PlugProvider::setErrorStream(nullptr);
    PluginContextFactory::instance().setPluginContext(&hostApplication());
    provider = owned(new PlugProvider(module->getFactory(), info));
    // Its answer is no for a pair that has no connection to make as well, which works.
    (void)provider->initialize();
    ownComponent = provider->getComponentPtr();
    ownController = provider->getControllerPtr();
    if (!ownComponent || !ownController)
        return Error{inQuotes(className) + " does not start, or has no controller"};
    ownProcessor = FUnknownPtr<IAudioProcessor>(ownComponent);
    if (!ownProcessor) return Error{inQuotes(className) + " is no audio processor"};
    ownController->setComponentHandler(log);
    // Without it some controllers would show, and hosts write back, their defaults.
    if (auto state = componentState()) showComponentState(*state);
    readParameters();
    readBuses();
    return {};
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
            const bool byDefault = (info.flags & BusInfo::kDefaultActive) != 0;
            list.push_back({fromWide(info.name), info.channelCount, arrangement,
                            info.busType == kMain, byDefault, false});
        }
    }
}

VST3::Hosting::PluginFactory::ClassInfos HostedPlugin::moduleClasses() const {
    return module->getFactory().classInfos();
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

void HostedPlugin::setParameter(ParamID id, double normalised) {
    ownController->setParamNormalized(id, normalised);
    pending.push_back({id, 0, normalised});
}

void HostedPlugin::forwardOutputPoints() {
    for (const ParameterPoint& point : reported)
        ownController->setParamNormalized(point.id, point.value);
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
    const tresult answer = ownComponent->activateBus(kAudio, direction, index, active);
    auto& list = direction == kInput ? inputs : outputs;
    if (answer == kResultOk && index >= 0 && index < static_cast<int>(list.size()))
        list[static_cast<size_t>(index)].active = active;
    return answer;
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

Result<> HostedPlugin::prepare(const HostSetup& setup) {
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
        return Error{who + " cannot run with " + std::to_string(setup.mainInputs) +
                     " channels in and " + std::to_string(setup.mainOutputs) + " out"};
    if (setup.sideChain > 0 && channelsOf(inputs, 1) != setup.sideChain)
        return Error{who + " has no side-chain input of " + std::to_string(setup.sideChain) +
                     (setup.sideChain == 1 ? " channel" : " channels")};

    if (!canProcess(setup.doublePrecision))
        return Error{who + " does not process " + (setup.doublePrecision ? "64" : "32") +
                     "-bit samples"};
    if (setUp(setup) != kResultOk)
        return Error{who + " refuses a sample rate of " +
                     std::to_string(std::lround(setup.sampleRate)) + " Hz with blocks of " +
                     std::to_string(setup.maxFrames) + " frames"};
    for (size_t bus = 0; bus < inputs.size(); ++bus)
        activateBus(kInput, static_cast<int>(bus), bus == 0 || (bus == 1 && setup.sideChain > 0));
    for (size_t bus = 0; bus < outputs.size(); ++bus)
        activateBus(kOutput, static_cast<int>(bus), bus == 0);
    if (setActive(true) != kResultOk) return Error{who + " refused to start"};
    setProcessing(true);
    return {};
}

int32 HostedPlugin::latency() const {
    return static_cast<int32>(ownProcessor->getLatencySamples());
}

uint32 HostedPlugin::tail() const {
    return ownProcessor->getTailSamples();
}

bool HostedPlugin::canProcess(bool doublePrecision) const {
    return ownProcessor->canProcessSampleSize(doublePrecision ? kSample64 : kSample32) ==
           kResultTrue;
}

template <typename Sample>
tresult HostedPlugin::processBlock(const Block<Sample>& block, int32 size) {
    describeBuses(block.inputs, inputBuffers);
    describeBuses(block.outputs, outputBuffers);
    inputChanges.clearQueue();
    fill(inputChanges, pending);
    pending.clear();
    fill(inputChanges, block.points);

    ProcessContext context{};
    if (block.context != nullptr) context = *block.context;
    ProcessData data;
    data.processMode = mode;
    data.symbolicSampleSize = size;
    data.numSamples = block.frames;
    data.numInputs = static_cast<int32>(inputBuffers.size());
    data.numOutputs = static_cast<int32>(outputBuffers.size());
    data.inputs = inputBuffers.empty() ? nullptr : inputBuffers.data();
    data.outputs = outputBuffers.empty() ? nullptr : outputBuffers.data();
    data.inputParameterChanges = &inputChanges;
    data.outputParameterChanges = block.takeOutputPoints ? &outputChanges : nullptr;
    data.processContext = block.context != nullptr ? &context : nullptr;
    return process(data);
}

tresult HostedPlugin::process(const Block<float>& block) {
    return processBlock(block, kSample32);
}

tresult HostedPlugin::process(const Block<double>& block) {
    return processBlock(block, kSample64);
}

tresult HostedPlugin::process(ProcessData& data) {
    outputChanges.clearQueue();
    reported.clear();
    const tresult answer = ownProcessor->process(data);
    if (data.outputParameterChanges != &outputChanges) return answer;
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

tresult HostedPlugin::flush(std::vector<ParameterPoint> points) {
    Block<float> block;
    block.points = std::move(points);
    return processBlock(block, sampleSize);
}

std::optional<double> HostedPlugin::outputValue(ParamID id) const {
    std::optional<double> last;
    for (const ParameterPoint& point : reported)
        if (point.id == id) last = point.value;
    return last;
}

Result<Bytes> HostedPlugin::componentState() const {
    auto stream = owned(new StateStream);
    if (ownComponent->getState(stream) != kResultOk)
        return Error{inQuotes(className) + " gave no state"};
    return stream->bytes();
}

tresult HostedPlugin::setComponentState(std::span<const uint8_t> state,
                                        const Attributes& attributes) {
    auto stream = owned(new StateStream(state));
    for (const auto& [key, text] : attributes) stream->setAttribute(key.c_str(), text);
    return ownComponent->setState(stream);
}

tresult HostedPlugin::showComponentState(std::span<const uint8_t> state) {
    return ownController->setComponentState(owned(new StateStream(state)));
}

Result<Bytes> HostedPlugin::controllerState() const {
    auto stream = owned(new StateStream);
    if (ownController->getState(stream) != kResultOk)
        return Error{"the controller of " + inQuotes(className) + " gave no state"};
    return stream->bytes();
}

tresult HostedPlugin::setControllerState(std::span<const uint8_t> state) {
    return ownController->setState(owned(new StateStream(state)));
}

}  // namespace Quorvant::Hosting
