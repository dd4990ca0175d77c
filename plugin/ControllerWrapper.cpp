#include "plugin/ControllerWrapper.h"

#include "params/ParameterLaws.h"
#include "params/ParameterTable.h"
#include "plugin/ComponentState.h"
#include "plugin/ControllerState.h"
#include "plugin/HostParameter.h"
#include "plugin/Streams.h"

#include "public.sdk/source/vst/utility/stringconvert.h"

#include <cmath>
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
    return kResultOk;
}

tresult PLUGIN_API QVXVST3ControllerWrapper::terminate() {
    initialised = false;
    return EditControllerEx1::terminate();
}

void QVXVST3ControllerWrapper::addUnits() {
    const auto add = [this](std::string_view name, Vst::UnitID id, Vst::UnitID parent) {
        Vst::String128 text{};
        VST3::StringConvert::convert(std::string(name), text);
        addUnit(new Vst::Unit(text, id, parent));
    };
    add("Root", Vst::kRootUnitId, Vst::kNoParentUnitId);
    for (int id = 1; id <= kParameterGroupCount; ++id) {
        add(parameterGroupName(static_cast<ParameterGroup>(id)), id, Vst::kRootUnitId);
    }
}

bool QVXVST3ControllerWrapper::acceptsChange(Vst::ParamID id) {
    return id != kDelayClockMode || !switchState(getParamNormalized(kInfRepeat));
}

tresult PLUGIN_API QVXVST3ControllerWrapper::setParamNormalized(Vst::ParamID id,
                                                                Vst::ParamValue value) {
    if (std::isnan(value) || !acceptsChange(id)) return kResultFalse;
    return EditControllerEx1::setParamNormalized(id, value);
}

tresult QVXVST3ControllerWrapper::performEdit(Vst::ParamID id, Vst::ParamValue value) {
    if (std::isnan(value) || !acceptsChange(id)) return kResultFalse;
    return EditControllerEx1::performEdit(id, value);
}

// A state is taken whole, whatever it says of Inf Repeat.
void QVXVST3ControllerWrapper::adopt(Vst::ParamID id, Vst::ParamValue value) {
    EditControllerEx1::setParamNormalized(id, value);
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
    if (!stream) return kResultFalse;
    const auto state = decodeControllerState(readRest(*stream, kLargestControllerState));
    if (!state) return kResultFalse;
    for (uint32_t i = 0; i < state->viewSettings.size(); ++i) {
        adopt(ControllerState::kFirstViewSetting + i, state->viewSettings[i]);
    }
    return kResultOk;
}

tresult PLUGIN_API QVXVST3ControllerWrapper::getState(IBStream* stream) {
    if (!stream) return kResultFalse;
    ControllerState state;
    for (uint32_t i = 0; i < state.viewSettings.size(); ++i) {
        state.viewSettings[i] = getParamNormalized(ControllerState::kFirstViewSetting + i);
    }
    return writeFully(*stream, encodeControllerState(state)) ? kResultOk : kResultFalse;
}

}  // namespace Quorvant
