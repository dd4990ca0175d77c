// The edit controller that hosts see: all parameters with their texts and groups, the processor's
// state mirrored, and the view settings kept.
#pragma once

#include "public.sdk/source/vst/vsteditcontroller.h"

namespace Quorvant {

// Main thread.
class QVXVST3ControllerWrapper : public Steinberg::Vst::EditControllerEx1 {
  public:
    Steinberg::tresult PLUGIN_API initialize(Steinberg::FUnknown* context) override;
    Steinberg::tresult PLUGIN_API terminate() override;
    Steinberg::tresult PLUGIN_API setComponentState(Steinberg::IBStream* stream) override;
    Steinberg::tresult PLUGIN_API setState(Steinberg::IBStream* stream) override;
    Steinberg::tresult PLUGIN_API getState(Steinberg::IBStream* stream) override;
    // Refuses what acceptsChange() refuses, and not-a-number.
    Steinberg::tresult PLUGIN_API setParamNormalized(Steinberg::Vst::ParamID id,
                                                     Steinberg::Vst::ParamValue value) override;
    // Edits from the editor on their way to the host; refuses what acceptsChange() refuses.
    Steinberg::tresult performEdit(Steinberg::Vst::ParamID id,
                                   Steinberg::Vst::ParamValue value) override;

    // False for Dly-Clk Mode while Inf Repeat is on: the engine would not follow.
    bool acceptsChange(Steinberg::Vst::ParamID id);

  private:
    void addUnits();
    void adopt(Steinberg::Vst::ParamID id, Steinberg::Vst::ParamValue value);

    bool initialised = false;
};

}  // namespace Quorvant
