// A parameter as the controller shows it to hosts: the SDK's parameter object with our texts.
#pragma once

#include "public.sdk/source/vst/vstparameters.h"

#include <cstdint>
#include <string_view>

namespace Quorvant {

// Main thread.
class HostParameter : public Steinberg::Vst::Parameter {
  public:
    // `textIndex` is the entry of the table whose laws and texts it has.
    HostParameter(const Steinberg::Vst::ParameterInfo& info, uint32_t textIndex);

    // Values are held within 0 ... 1; not-a-number is refused.
    bool setNormalized(Steinberg::Vst::ParamValue value) override;
    void toString(Steinberg::Vst::ParamValue value,
                  Steinberg::Vst::String128 string) const override;
    bool fromString(const Steinberg::Vst::TChar* string,
                    Steinberg::Vst::ParamValue& value) const override;
    Steinberg::Vst::ParamValue toPlain(Steinberg::Vst::ParamValue value) const override;
    // A plain value beyond the range gives the nearer end.
    Steinberg::Vst::ParamValue toNormalized(Steinberg::Vst::ParamValue plain) const override;

    OBJ_METHODS(HostParameter, Parameter)

  private:
    uint32_t textIndex;
};

// All that hosts are told of: the table's parameters, the suspend control as the host's bypass, and
// the engine's readings, hidden and read-only, so that hosts carry them from processor to
// controller.
void addAllParameters(Steinberg::Vst::ParameterContainer& parameters);

}  // namespace Quorvant
