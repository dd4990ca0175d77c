#include "plugin/ControllerWrapper.h"

#include "params/ParameterLaws.h"
#include "params/ParameterTable.h"
#include "plugin/ComponentState.h"
#include "plugin/ControllerState.h"
#include "plugin/FactoryPrograms.h"
#include "plugin/HostParameter.h"
#include "plugin/StateMessages.h"
#include "plugin/Streams.h"

#include "public.sdk/source/vst/utility/stringconvert.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <string>

namespace Quorvant {

using namespace Steinberg;

tresult PLUGIN_API QVXVST3ControllerWrapper::initialize(FUnknown* context) {
    if (initialised) return kResultFalse;
    const tresult result = EditControllerEx1::initialize(context);
    if (result != kResultOk) return result;
    initialised = true;
    addUnits();
    addAllParameters(parameters);
    parameters.addParameter(makeProgramParameter());
    addProgramList(makeFactoryProgramList());
    manager = std::make_unique<PresetManager>(*this);
    return kResultOk;
}

tresult PLUGIN_API QVXVST3ControllerWrapper::terminate() {
    initialised = false;
    manager.reset();
    return EditControllerEx1::terminate();
}

IPlugView* PLUGIN_API QVXVST3ControllerWrapper::createView(FIDString name) {
    if (!makeView || !initialised || !name || std::strcmp(name, Vst::ViewType::kEditor) != 0)
        return nullptr;
    return makeView(*this);
}

void QVXVST3ControllerWrapper::addListener(ControllerListener& listener) {
    listeners.push_back(&listener);
}

void QVXVST3ControllerWrapper::removeListener(ControllerListener& listener) {
    std::erase(listeners, &listener);
}

void QVXVST3ControllerWrapper::addUnits() {
    const auto add = [this](std::string_view name, Vst::UnitID id, Vst::UnitID parent,
                            Vst::ProgramListID programs) {
        Vst::String128 text{};
        VST3::StringConvert::convert(std::string(name), text);
        addUnit(new Vst::Unit(text, id, parent, programs));
    };
    add("Root", Vst::kRootUnitId, Vst::kNoParentUnitId, kFactoryProgramList);
    for (int id = 1; id <= kParameterGroupCount; ++id) {
        add(parameterGroupName(static_cast<ParameterGroup>(id)), id, Vst::kRootUnitId,
            Vst::kNoProgramListId);
    }
}

bool QVXVST3ControllerWrapper::acceptsChange(Vst::ParamID id) {
    return id != kDelayClockMode || !switchState(getParamNormalized(kInfRepeat));
}

// The SDK's lists and conversions of text throw, and no exception may cross into the host.
tresult PLUGIN_API QVXVST3ControllerWrapper::getParamStringByValue(Vst::ParamID id,
                                                                   Vst::ParamValue value,
                                                                   Vst::String128 text) {
    if (std::isnan(value)) return kResultFalse;
    return EditControllerEx1::getParamStringByValue(id, std::clamp(value, 0.0, 1.0), text);
}

tresult PLUGIN_API QVXVST3ControllerWrapper::getParamValueByString(Vst::ParamID id,
                                                                   Vst::TChar* text,
                                                                   Vst::ParamValue& value) {
    try {
        return EditControllerEx1::getParamValueByString(id, text, value);
    } catch (const std::range_error&) {
        return kResultFalse;
    }
}

tresult PLUGIN_API QVXVST3ControllerWrapper::setParamNormalized(Vst::ParamID id,
                                                                Vst::ParamValue value) {
    if (std::isnan(value) || !acceptsChange(id)) return kResultFalse;
    if (id == kProgram && manager) {
        // Hosts send the program that they kept after they have loaded a state: it is in force.
        if (const int chosen = programFromNormalised(value); chosen != program())
            chooseProgram(chosen);
        return kResultOk;
    }
    if (id == kSuspend) value = suspendState(value);  // as the processor's state will tell it
    return adopt(id, value);
}

tresult QVXVST3ControllerWrapper::beginEdit(Vst::ParamID id) {
    return openEdits[id]++ == 0 ? EditControllerEx1::beginEdit(id) : kResultTrue;
}

tresult QVXVST3ControllerWrapper::endEdit(Vst::ParamID id) {
    return --openEdits[id] == 0 ? EditControllerEx1::endEdit(id) : kResultTrue;
}

tresult QVXVST3ControllerWrapper::performEdit(Vst::ParamID id, Vst::ParamValue value) {
    if (std::isnan(value) || !acceptsChange(id)) return kResultFalse;
    return EditControllerEx1::performEdit(id, value);
}

// A state or a preset is taken whole, whatever it says of Inf Repeat.
tresult QVXVST3ControllerWrapper::adopt(Vst::ParamID id, Vst::ParamValue value) {
    const tresult result = EditControllerEx1::setParamNormalized(id, value);
    if (result == kResultOk && manager) manager->parameterEdited(id, value);
    if (id < kParameterCount)
        for (ControllerListener* listener : listeners) listener->parameterChanged(id);
    return result;
}

int QVXVST3ControllerWrapper::program() {
    return programFromNormalised(getParamNormalized(kProgram));
}

void QVXVST3ControllerWrapper::chooseProgram(int chosen) {
    EditControllerEx1::setParamNormalized(kProgram, normalisedFromProgram(chosen));
    manager->choose(programLocation(chosen));
}

void QVXVST3ControllerWrapper::applyParameters(std::span<const ParameterEdit> edits) {
    startGroupEdit();
    for (const auto& [id, value] : edits) {
        beginEdit(id);
        adopt(id, value);
        EditControllerEx1::performEdit(id, value);
        endEdit(id);
    }
    finishGroupEdit();
    if (componentHandler) componentHandler->restartComponent(Vst::kParamValuesChanged);
}

// The host's program menu follows what was chosen elsewhere.
void QVXVST3ControllerWrapper::presetsChanged() {
    for (ControllerListener* listener : listeners) listener->presetsChanged();
    if (!manager) return;
    const auto chosen = programAt(manager->location());
    if (!chosen || *chosen == program()) return;
    const double value = normalisedFromProgram(*chosen);
    EditControllerEx1::setParamNormalized(kProgram, value);
    beginEdit(kProgram);
    EditControllerEx1::performEdit(kProgram, value);
    endEdit(kProgram);
}

std::array<double, kStoredParameterCount> QVXVST3ControllerWrapper::liveValues() {
    std::array<double, kStoredParameterCount> values{};
    for (uint32_t i = 0; i < values.size(); ++i) values[i] = getParamNormalized(i);
    return values;
}

tresult PLUGIN_API QVXVST3ControllerWrapper::setComponentState(IBStream* stream) {
    if (!stream) return kResultFalse;
    const auto state = readComponentState(*stream);
    if (!state) return kResultFalse;
    for (uint32_t i = 0; i < state->values.size(); ++i) {
        if (isStateValue(state->values[i])) adopt(i, state->values[i]);
    }
    adopt(kSuspend, suspendState(state->suspend));
    return kResultOk;
}

tresult PLUGIN_API QVXVST3ControllerWrapper::setState(IBStream* stream) {
    if (!stream || !manager) return kResultFalse;
    const auto state = decodeControllerState(readRest(*stream, kLargestControllerState));
    if (!state) return kResultFalse;
    for (uint32_t i = 0; i < state->viewSettings.size(); ++i) {
        adopt(ControllerState::kFirstViewSetting + i, state->viewSettings[i]);
    }
    zoomPercent = static_cast<int>(state->zoom);
    // Before the setups, which may tell of a change.
    EditControllerEx1::setParamNormalized(kProgram,
                                          normalisedFromProgram(static_cast<int>(state->program)));
    manager->restoreState(state->setups, liveValues());
    const auto selected = static_cast<std::size_t>(state->setups.selected);
    offerValues(state->setups.setups[selected].slot.current);
    return kResultOk;
}

void QVXVST3ControllerWrapper::offerValues(const QVXPresetRecord& record) {
    ComponentState offered;
    for (uint32_t i = 0; i < offered.values.size(); ++i) {
        // A default comes back as it was, and not as the record's narrower number.
        const double whole = parameterDefault(i);
        const float stored = record.values[i];
        offered.values[i] =
            static_cast<float>(whole) == stored ? whole : static_cast<double>(stored);
    }
    sendState(*this, kOfferedValues, offered);
}

tresult PLUGIN_API QVXVST3ControllerWrapper::notify(Vst::IMessage* message) {
    const auto inForce = receivedState(message, kStateInForce);
    if (!inForce) return EditControllerEx1::notify(message);
    bool changed = false;
    const auto follow = [&](Vst::ParamID id, double value) {
        if (getParamNormalized(id) == value) return;
        adopt(id, value);
        changed = true;
    };
    for (uint32_t i = 0; i < inForce->values.size(); ++i)
        if (isStateValue(inForce->values[i])) follow(i, inForce->values[i]);
    follow(kSuspend, suspendState(inForce->suspend));
    if (changed && componentHandler) componentHandler->restartComponent(Vst::kParamValuesChanged);
    return kResultOk;
}

tresult PLUGIN_API QVXVST3ControllerWrapper::getState(IBStream* stream) {
    if (!stream || !manager) return kResultFalse;
    ControllerState state;
    for (uint32_t i = 0; i < state.viewSettings.size(); ++i) {
        state.viewSettings[i] = getParamNormalized(ControllerState::kFirstViewSetting + i);
    }
    state.zoom = static_cast<uint32_t>(zoomPercent);
    state.program = static_cast<uint32_t>(program());
    state.setups = manager->saveState();
    return writeFully(*stream, encodeControllerState(state)) ? kResultOk : kResultFalse;
}

}  // namespace Quorvant
