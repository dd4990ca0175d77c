#include "plugin/HostParameter.h"

#include "dsp/OutputIndex.h"
#include "params/ParameterIndex.h"
#include "params/ParameterLaws.h"
#include "params/ParameterTable.h"
#include "params/ParameterText.h"

#include "public.sdk/source/vst/utility/stringconvert.h"

#include <cmath>
#include <string>

namespace Quorvant {

namespace Vst = Steinberg::Vst;
using HostInfo = Vst::ParameterInfo;

namespace {

void assignText(Vst::String128 to, std::string_view text) {
    VST3::StringConvert::convert(std::string(text), to);
}

HostInfo hostInfo(uint32_t id, std::string_view title, std::string_view shortTitle,
                  Steinberg::int32 flags) {
    HostInfo info{};
    info.id = id;
    assignText(info.title, title);
    assignText(info.shortTitle, shortTitle);
    info.flags = flags;
    info.unitId = Vst::kRootUnitId;
    return info;
}

HostInfo tableInfo(uint32_t index) {
    const ParameterInfo& parameter = kParameters[index];
    Steinberg::int32 flags = parameter.automatable() ? HostInfo::kCanAutomate : HostInfo::kNoFlags;
    if (parameter.isList()) flags |= HostInfo::kIsList;
    if (parameter.isEmptySlot()) flags |= HostInfo::kIsReadOnly | HostInfo::kIsHidden;
    HostInfo info = hostInfo(index, parameter.name, parameter.shortName, flags);
    if (parameter.law) assignText(info.units, parameter.law->unit);
    info.stepCount = parameter.stepCount();
    info.defaultNormalizedValue = parameter.defaultValue;
    info.unitId = static_cast<Vst::UnitID>(parameter.group);
    return info;
}

struct Reading {
    uint32_t id;
    const char* title;
};

constexpr Reading kReadings[] = {
    {kOutHostSync, "Host Sync"},
    {kOutTempo, "Tempo"},
    {kOutSampleRate, "Sample Rate"},
    {kOutLfoLamp, "LFO Lamp"},
    {kOutHeadroom, "Headroom"},
    {kOutDelayReadout, "Delay Readout"},
    {48, "Reading 48"},  // reserved
    {kOutDelayActivity, "Delay Activity"},
    {kOutInfRepeatLamp, "Inf Repeat Lamp"},
    {kOutFirstGainReduction, "First Gain Reduction"},
    {kOutSecondGainReduction, "Second Gain Reduction"},
    {kOutProcessingActivity, "Processing Activity"},
    {kOutSideChainConnected, "S.C.Connected"},
    {kOutSideChainPeakLeft, "S.C.Peak Left"},
    {kOutSideChainPeakRight, "S.C.Peak Right"},
    {kHeartbeat, "Heartbeat"},
};

}  // namespace

HostParameter::HostParameter(const HostInfo& hostInfo, uint32_t index)
    : Parameter(hostInfo), textIndex(index) {}

bool HostParameter::setNormalized(Vst::ParamValue value) {
    return !std::isnan(value) && Parameter::setNormalized(value);
}

void HostParameter::toString(Vst::ParamValue value, Vst::String128 string) const {
    assignText(string, parameterText(static_cast<int32_t>(textIndex), value));
}

bool HostParameter::fromString(const Vst::TChar* string, Vst::ParamValue& value) const {
    constexpr uint32_t kLongest = 127;
    const auto parsed =
        parseParameterText(textIndex, VST3::StringConvert::convert(string, kLongest));
    if (parsed) value = *parsed;
    return parsed.has_value();
}

Vst::ParamValue HostParameter::toPlain(Vst::ParamValue value) const {
    return plainFromNormalised(textIndex, value);
}

Vst::ParamValue HostParameter::toNormalized(Vst::ParamValue plain) const {
    if (const auto value = normalisedFromPlain(textIndex, plain)) return *value;
    return plain > plainFromNormalised(textIndex, 0.5) ? 1.0 : 0.0;
}

void addAllParameters(Vst::ParameterContainer& parameters) {
    for (uint32_t index = 0; index < kParameterCount; ++index) {
        parameters.addParameter(new HostParameter(tableInfo(index), index));
    }
    HostInfo suspend =
        hostInfo(kSuspend, "Suspend", "Suspend", HostInfo::kCanAutomate | HostInfo::kIsBypass);
    suspend.stepCount = 1;
    parameters.addParameter(new HostParameter(suspend, kBypass));
    for (const Reading& reading : kReadings) {
        const HostInfo info = hostInfo(reading.id, reading.title, reading.title,
                                       HostInfo::kIsReadOnly | HostInfo::kIsHidden);
        parameters.addParameter(new Vst::Parameter(info));
    }
}

}  // namespace Quorvant
