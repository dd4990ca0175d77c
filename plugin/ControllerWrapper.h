// The edit controller that hosts see: all parameters with their texts and groups, the processor's
// state mirrored, presets with everything around them, and the view settings kept.
#pragma once

#include "presets/PresetManager.h"

#include "public.sdk/source/vst/vsteditcontroller.h"

#include <array>
#include <memory>

namespace Quorvant {

// Main thread.
class QVXVST3ControllerWrapper : public Steinberg::Vst::EditControllerEx1, public PresetHost {
  public:
    Steinberg::tresult PLUGIN_API initialize(Steinberg::FUnknown* context) override;
    Steinberg::tresult PLUGIN_API terminate() override;
    Steinberg::tresult PLUGIN_API setComponentState(Steinberg::IBStream* stream) override;
    Steinberg::tresult PLUGIN_API setState(Steinberg::IBStream* stream) override;
    Steinberg::tresult PLUGIN_API getState(Steinberg::IBStream* stream) override;
    // Refuses what acceptsChange() refuses, and not-a-number. A new value of the program parameter
    // chooses that factory preset; the value that it has already changes nothing.
    Steinberg::tresult PLUGIN_API setParamNormalized(Steinberg::Vst::ParamID id,
                                                     Steinberg::Vst::ParamValue value) override;
    // Edits from the editor on their way to the host; refuses what acceptsChange() refuses.
    Steinberg::tresult performEdit(Steinberg::Vst::ParamID id,
                                   Steinberg::Vst::ParamValue value) override;

    // False for Dly-Clk Mode while Inf Repeat is on: the engine would not follow.
    bool acceptsChange(Steinberg::Vst::ParamID id);

    // Null before initialize and after terminate.
    PresetManager* presets() { return manager.get(); }

    // PresetHost: presets on their way to the host, as one group of edits.
    void applyParameters(std::span<const ParameterEdit> edits) override;
    void presetsChanged() override;

  private:
    void addUnits();
    void adopt(Steinberg::Vst::ParamID id, Steinberg::Vst::ParamValue value);
    std::array<double, kStoredParameterCount> liveValues();
    int program();
    void chooseProgram(int program);

    bool initialised = false;
    std::unique_ptr<PresetManager> manager;
};

}  // namespace Quorvant
