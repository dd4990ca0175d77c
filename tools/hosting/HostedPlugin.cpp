#include "tools/hosting/HostedPlugin.h"

#include "tools/hosting/ParameterText.h"
#include "tools/hosting/Text.h"

#include "public.sdk/source/vst/hosting/connectionproxy.h"
#include "public.sdk/source/vst/hosting/module.h"
#include "public.sdk/source/vst/hosting/parameterchanges.h"

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

ClassDescription describe(const VST3::Hosting::ClassInfo& info) {
    return {info.ID().toString(), info.name(),    info.category(),  info.subCategoriesString(),
            info.vendor(),        info.version(), info.sdkVersion()};
}

// Loaders report in several lines; one sentence is left.
std::string oneLine(std::string text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == '.'))
        text.pop_back();
    std::string line;
    for (const char c : text) {
        if (c == '\n') line += ": ";
        if (c != '\n' && c != '\r') line += c;
    }
    return line;
}

// One module however many instances: a second load of the same path shares the first.
Result<Module::Ptr> openModule(const std::string& path) {
    static std::mutex mutex;
    static std::map<std::string, std::weak_ptr<Module>> loaded;
    std::error_code failure;
    const auto real = std::filesystem::canonical(path, failure);
    if (failure) return Error{"there is no plug-in '" + path + "'"};
    const std::string name = real.string();

    const std::lock_guard lock(mutex);
    if (auto module = loaded[name].lock()) return module;
    std::string reason;
    auto module = Module::create(name, reason);
    if (!module) {
        if (reason.empty()) reason = "it holds no module for this system";
        return Error{"'" + path + "' cannot be loaded as a VST3 plug-in: " + oneLine(reason)};
    }
    module->getFactory().setHostContext(&hostApplication());
    loaded[name] = module;
    return module;
}

SpeakerArrangement arrangementOf(int channels) {
    return channels == 1 ? SpeakerArr::kMono : channels == 2 ? SpeakerArr::kStereo : 0;
}

std::vector<Parameter> listParameters(IEditController& controller) {
    std::vector<Parameter> list;
    const int32 count = controller.getParameterCount();
    for (int32 index = 0; index < count; ++index) {
        ParameterInfo info{};
        if (controller.getParameterInfo(index, info) != kResultOk) continue;
        list.push_back({info.id, fromWide(info.title), fromWide(info.shortTitle),
                        fromWide(info.units), info.stepCount, info.defaultNormalizedValue,
                        info.flags, info.unitId});
    }
    return list;
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

struct HostedPlugin::Parts {
    Module::Ptr module;  // first, so that it goes last
    std::string path;
    ClassDescription description;
    IPtr<EditLog> editLog = owned(new EditLog);
    IPtr<IComponent> component;
    IPtr<IAudioProcessor> processor;
    IPtr<IEditController> controller;
    bool separateController = false;
    IPtr<ConnectionProxy> fromComponent, fromController;

    std::vector<Parameter> parameters;
    std::vector<Bus> inputs, outputs;
    int32 sampleSize = kSample32;
    int32 mode = kRealtime;
    bool active = false, processing = false;

    ParameterChanges inputChanges, outputChanges;
    std::vector<AudioBusBuffers> inputBuffers, outputBuffers;
    std::vector<ParameterPoint> pendingPoints, outputPoints;

    Result<> make(const VST3::Hosting::ClassInfo& info);
    void connect();
    void readBuses();
    template <typename Sample>
    tresult process(const Block<Sample>& block, int32 size);
    tresult process(ProcessData& data);
    ~Parts();
};

Result<> HostedPlugin::Parts::make(const VST3::Hosting::ClassInfo& info) {
    const auto& factory = module->getFactory();
    const std::string who = inQuotes(info.name());
    component = factory.createInstance<IComponent>(info.ID());
    if (!component) return Error{"the module refused to make an instance of " + who};
    if (component->initialize(&hostApplication()) != kResultOk) {
        component.reset();
        return Error{"the component of " + who + " refused to initialise"};
    }
    processor = FUnknownPtr<IAudioProcessor>(component);
    if (!processor) return Error{who + " is no audio processor"};

    controller = FUnknownPtr<IEditController>(component);
    TUID controllerId{};
    if (!controller && component->getControllerClassId(controllerId) == kResultOk) {
        controller = factory.createInstance<IEditController>(VST3::UID(controllerId));
        if (!controller) return Error{"the module refused to make the controller of " + who};
        separateController = true;
        if (controller->initialize(&hostApplication()) != kResultOk) {
            controller.reset();
            return Error{"the controller of " + who + " refused to initialise"};
        }
    }
    if (controller) {
        controller->setComponentHandler(editLog);
        if (separateController) connect();
        // Without it some controllers would show, and hosts write back, their defaults.
        auto stream = owned(new StateStream);
        if (component->getState(stream) == kResultOk) {
            stream->seek(0, IBStream::kIBSeekSet, nullptr);
            controller->setComponentState(stream);
        }
        parameters = listParameters(*controller);
    }
    readBuses();
    return {};
}

void HostedPlugin::Parts::connect() {
    FUnknownPtr<IConnectionPoint> componentPoint(component);
    FUnknownPtr<IConnectionPoint> controllerPoint(controller);
    if (!componentPoint || !controllerPoint) return;
    fromComponent = owned(new ConnectionProxy(componentPoint));
    fromController = owned(new ConnectionProxy(controllerPoint));
    fromComponent->connect(controllerPoint);
    fromController->connect(componentPoint);
}

void HostedPlugin::Parts::readBuses() {
    for (const BusDirection direction : {kInput, kOutput}) {
        auto& buses = direction == kInput ? inputs : outputs;
        buses.clear();
        const int32 count = component->getBusCount(kAudio, direction);
        for (int32 index = 0; index < count; ++index) {
            BusInfo info{};
            SpeakerArrangement arrangement = 0;
            if (component->getBusInfo(kAudio, direction, index, info) != kResultOk) continue;
            processor->getBusArrangement(direction, index, arrangement);
            const bool byDefault = (info.flags & BusInfo::kDefaultActive) != 0;
            buses.push_back({fromWide(info.name), info.channelCount, arrangement,
                             info.busType == kMain, byDefault, false});
        }
    }
}

template <typename Sample>
tresult HostedPlugin::Parts::process(const Block<Sample>& block, int32 size) {
    describeBuses(block.inputs, inputBuffers);
    describeBuses(block.outputs, outputBuffers);
    inputChanges.clearQueue();
    fill(inputChanges, pendingPoints);
    pendingPoints.clear();
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

tresult HostedPlugin::Parts::process(ProcessData& data) {
    outputChanges.clearQueue();
    outputPoints.clear();
    const tresult answer = processor->process(data);
    if (data.outputParameterChanges != &outputChanges) return answer;
    for (int32 index = 0; index < outputChanges.getParameterCount(); ++index) {
        IParamValueQueue* queue = outputChanges.getParameterData(index);
        for (int32 point = 0; point < queue->getPointCount(); ++point) {
            ParameterPoint out{queue->getParameterId(), 0, 0.0};
            queue->getPoint(point, out.offset, out.value);
            outputPoints.push_back(out);
        }
    }
    return answer;
}

HostedPlugin::Parts::~Parts() {
    if (processing) processor->setProcessing(false);
    if (active) component->setActive(false);
    if (fromComponent) fromComponent->disconnect();
    if (fromController) fromController->disconnect();
    if (controller) {
        controller->setComponentHandler(nullptr);
        if (separateController) controller->terminate();
    }
    if (component) component->terminate();
}

HostedPlugin::HostedPlugin(std::unique_ptr<Parts> made) : parts(std::move(made)) {}
HostedPlugin::~HostedPlugin() = default;

Result<HostedPlugin::Ptr> HostedPlugin::load(const std::string& path, std::string_view className) {
    auto module = openModule(path);
    if (!module) return Error{module.error()};
    std::string effects;
    for (const auto& info : (*module)->getFactory().classInfos()) {
        if (info.category() != kVstAudioEffectClass) continue;
        appendItem(effects, inQuotes(info.name()));
        if (!className.empty() && !sameText(info.name(), className)) continue;

        auto parts = std::make_unique<Parts>();
        parts->module = *module;
        parts->path = path;
        parts->description = describe(info);
        if (auto made = parts->make(info); !made) return Error{made.error()};
        return Ptr(new HostedPlugin(std::move(parts)));
    }
    if (effects.empty()) return Error{"'" + path + "' holds no audio effect"};
    return Error{"'" + path + "' has no effect '" + std::string(className) + "', it has " +
                 effects};
}

Result<std::vector<ClassDescription>> HostedPlugin::listClasses(const std::string& path) {
    auto module = openModule(path);
    if (!module) return Error{module.error()};
    std::vector<ClassDescription> classes;
    for (const auto& info : (*module)->getFactory().classInfos()) classes.push_back(describe(info));
    return classes;
}

const ClassDescription& HostedPlugin::description() const {
    return parts->description;
}
const std::string& HostedPlugin::path() const {
    return parts->path;
}
IComponent* HostedPlugin::component() const {
    return parts->component;
}
IAudioProcessor* HostedPlugin::processor() const {
    return parts->processor;
}
IEditController* HostedPlugin::controller() const {
    return parts->controller;
}
EditLog& HostedPlugin::editLog() {
    return *parts->editLog;
}

const std::vector<Parameter>& HostedPlugin::parameters() const {
    return parts->parameters;
}

const Parameter* HostedPlugin::findParameter(std::string_view name) const {
    if (name.empty()) return nullptr;
    const auto find = [this](auto matches) -> const Parameter* {
        const auto found = std::ranges::find_if(parts->parameters, matches);
        return found != parts->parameters.end() ? &*found : nullptr;
    };
    if (auto* p = find([&](const Parameter& q) { return sameText(q.title, name); })) return p;
    if (auto* p = find([&](const Parameter& q) { return sameText(q.shortTitle, name); })) return p;
    return find([&](const Parameter& q) { return std::to_string(q.id) == name; });
}

const Parameter* HostedPlugin::findParameter(ParamID id) const {
    const auto found = std::ranges::find(parts->parameters, id, &Parameter::id);
    return found != parts->parameters.end() ? &*found : nullptr;
}

std::string HostedPlugin::textOf(const Parameter& parameter, double normalised) const {
    return textOfValue(*parts->controller, parameter.id, normalised);
}

Result<double> HostedPlugin::valueOf(const Parameter& parameter, const std::string& text) const {
    return valueOfText(*parts->controller, parameter, text);
}

double HostedPlugin::controllerValue(ParamID id) const {
    return parts->controller ? parts->controller->getParamNormalized(id) : 0.0;
}

void HostedPlugin::setParameter(ParamID id, double normalised) {
    if (parts->controller) parts->controller->setParamNormalized(id, normalised);
    parts->pendingPoints.push_back({id, 0, normalised});
}

void HostedPlugin::forwardOutputPoints() {
    if (!parts->controller) return;
    for (const ParameterPoint& point : parts->outputPoints)
        parts->controller->setParamNormalized(point.id, point.value);
}

const std::vector<Bus>& HostedPlugin::buses(BusDirection direction) const {
    return direction == kInput ? parts->inputs : parts->outputs;
}

tresult HostedPlugin::setArrangements(std::vector<SpeakerArrangement> inputs,
                                      std::vector<SpeakerArrangement> outputs) {
    const tresult answer =
        parts->processor->setBusArrangements(inputs.data(), static_cast<int32>(inputs.size()),
                                             outputs.data(), static_cast<int32>(outputs.size()));
    parts->readBuses();
    return answer;
}

tresult HostedPlugin::activateBus(BusDirection direction, int index, bool active) {
    const tresult answer = parts->component->activateBus(kAudio, direction, index, active);
    auto& buses = direction == kInput ? parts->inputs : parts->outputs;
    if (answer == kResultOk && index >= 0 && index < static_cast<int>(buses.size()))
        buses[static_cast<size_t>(index)].active = active;
    return answer;
}

tresult HostedPlugin::setUp(const HostSetup& setup) {
    ProcessSetup wanted{setup.mode, setup.doublePrecision ? kSample64 : kSample32, setup.maxFrames,
                        setup.sampleRate};
    parts->sampleSize = wanted.symbolicSampleSize;
    parts->mode = setup.mode;
    return parts->processor->setupProcessing(wanted);
}

tresult HostedPlugin::setActive(bool active) {
    const tresult answer = parts->component->setActive(active);
    if (answer == kResultOk || !active) parts->active = active;
    return answer;
}

tresult HostedPlugin::setProcessing(bool processing) {
    parts->processing = processing;
    return parts->processor->setProcessing(processing);
}

Result<> HostedPlugin::prepare(const HostSetup& setup) {
    const std::string who = inQuotes(parts->description.name);
    if (parts->processing) setProcessing(false);
    if (parts->active) setActive(false);

    std::vector<SpeakerArrangement> inputs, outputs;
    const auto& inputBuses = parts->inputs;
    for (size_t bus = 0; bus < inputBuses.size(); ++bus) {
        const int wanted = bus == 0 ? setup.mainInputs : bus == 1 ? setup.sideChain : 0;
        inputs.push_back(wanted > 0 ? arrangementOf(wanted) : inputBuses[bus].arrangement);
    }
    for (size_t bus = 0; bus < parts->outputs.size(); ++bus)
        outputs.push_back(bus == 0 ? arrangementOf(setup.mainOutputs)
                                   : parts->outputs[bus].arrangement);
    if (setup.sideChain > 0 && inputs.size() < 2) return Error{who + " has no side-chain input"};

    // A plug-in may decline and yet be as wanted already, so its buses decide, not its answer.
    setArrangements(inputs, outputs);
    const auto channels = [](const std::vector<Bus>& buses, size_t bus) {
        return bus < buses.size() ? buses[bus].channels : 0;
    };
    if (channels(parts->inputs, 0) != setup.mainInputs ||
        channels(parts->outputs, 0) != setup.mainOutputs)
        return Error{who + " cannot run with " + std::to_string(setup.mainInputs) +
                     " channels in and " + std::to_string(setup.mainOutputs) + " out"};
    if (setup.sideChain > 0 && channels(parts->inputs, 1) != setup.sideChain)
        return Error{who + " takes no side chain of " + std::to_string(setup.sideChain) +
                     (setup.sideChain == 1 ? " channel" : " channels")};

    if (!canProcess(setup.doublePrecision))
        return Error{who + " does not process " + (setup.doublePrecision ? "64" : "32") +
                     "-bit samples"};
    if (setUp(setup) != kResultOk)
        return Error{who + " refuses a sample rate of " +
                     std::to_string(std::lround(setup.sampleRate)) + " Hz with blocks of " +
                     std::to_string(setup.maxFrames) + " frames"};
    for (size_t bus = 0; bus < parts->inputs.size(); ++bus)
        activateBus(kInput, static_cast<int>(bus), bus == 0 || (bus == 1 && setup.sideChain > 0));
    for (size_t bus = 0; bus < parts->outputs.size(); ++bus)
        activateBus(kOutput, static_cast<int>(bus), bus == 0);
    if (setActive(true) != kResultOk) return Error{who + " refused to start"};
    setProcessing(true);
    return {};
}

int32 HostedPlugin::latency() const {
    return static_cast<int32>(parts->processor->getLatencySamples());
}

uint32 HostedPlugin::tail() const {
    return parts->processor->getTailSamples();
}

bool HostedPlugin::canProcess(bool doublePrecision) const {
    return parts->processor->canProcessSampleSize(doublePrecision ? kSample64 : kSample32) ==
           kResultTrue;
}

tresult HostedPlugin::process(const Block<float>& block) {
    return parts->process(block, kSample32);
}

tresult HostedPlugin::process(const Block<double>& block) {
    return parts->process(block, kSample64);
}

tresult HostedPlugin::process(ProcessData& data) {
    return parts->process(data);
}

tresult HostedPlugin::flush(std::vector<ParameterPoint> points) {
    Block<float> block;
    block.points = std::move(points);
    return parts->process(block, parts->sampleSize);
}

const std::vector<ParameterPoint>& HostedPlugin::outputPoints() const {
    return parts->outputPoints;
}

std::optional<double> HostedPlugin::outputValue(ParamID id) const {
    std::optional<double> last;
    for (const ParameterPoint& point : parts->outputPoints)
        if (point.id == id) last = point.value;
    return last;
}

Result<Bytes> HostedPlugin::componentState() const {
    auto stream = owned(new StateStream);
    if (parts->component->getState(stream) != kResultOk)
        return Error{"'" + parts->description.name + "' gave no state"};
    return stream->bytes();
}

tresult HostedPlugin::setComponentState(std::span<const uint8_t> state,
                                        const Attributes& attributes) {
    auto stream = owned(new StateStream(state));
    for (const auto& [key, text] : attributes) stream->setAttribute(key.c_str(), text);
    return parts->component->setState(stream);
}

tresult HostedPlugin::showComponentState(std::span<const uint8_t> state) {
    if (!parts->controller) return kNotImplemented;
    return parts->controller->setComponentState(owned(new StateStream(state)));
}

Result<Bytes> HostedPlugin::controllerState() const {
    auto stream = owned(new StateStream);
    if (!parts->controller || parts->controller->getState(stream) != kResultOk)
        return Error{"the controller of '" + parts->description.name + "' gave no state"};
    return stream->bytes();
}

tresult HostedPlugin::setControllerState(std::span<const uint8_t> state) {
    if (!parts->controller) return kNotImplemented;
    return parts->controller->setState(owned(new StateStream(state)));
}

}  // namespace Quorvant::Hosting
