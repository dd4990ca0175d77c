// The edit controller that hosts see: all parameters with their texts and groups, the processor's
// state mirrored, presets with everything around them, and the view settings kept.
#pragma once

#include "presets/PresetManager.h"

#include "public.sdk/source/vst/vsteditcontroller.h"

#include <array>
#include <map>
#include <memory>
#include <vector>

namespace Quorvant {

class QVXVST3ControllerWrapper;

// Whoever shows what the controller holds. Main thread.
class ControllerListener {
  public:
    virtual ~ControllerListener() = default;
    virtual void parameterChanged(uint32_t index) = 0;  // 0 ... 41
    virtual void presetsChanged() = 0;
};

// Main thread.
class QVXVST3ControllerWrapper : public Steinberg::Vst::EditControllerEx1, public PresetHost {
  public:
    // Makes the editor's view; none by default, so that the shell can do without a window system.
    using MakeView = Steinberg::IPlugView* (*)(QVXVST3ControllerWrapper&);
    explicit QVXVST3ControllerWrapper(MakeView editorMaker = nullptr) : makeView(editorMaker) {}

    Steinberg::IPlugView* PLUGIN_API createView(Steinberg::FIDString name) override;
    Steinberg::tresult PLUGIN_API initialize(Steinberg::FUnknown* context) override;
    Steinberg::tresult PLUGIN_API terminate() override;
    Steinberg::tresult PLUGIN_API setComponentState(Steinberg::IBStream* stream) override;
    Steinberg::tresult PLUGIN_API setState(Steinberg::IBStream* stream) override;
    Steinberg::tresult PLUGIN_API getState(Steinberg::IBStream* stream) override;
    // Follows the processor once both halves have been given a state, and tells the host of what
    // differs.
    Steinberg::tresult PLUGIN_API notify(Steinberg::Vst::IMessage* message) override;
    // Of the nearest value within 0 ... 1; false for not-a-number.
    Steinberg::tresult PLUGIN_API getParamStringByValue(Steinberg::Vst::ParamID id,
                                                        Steinberg::Vst::ParamValue value,
                                                        Steinberg::Vst::String128 text) override;
    // False for malformed UTF-16, too.
    Steinberg::tresult PLUGIN_API getParamValueByString(Steinberg::Vst::ParamID id,
                                                        Steinberg::Vst::TChar* text,
                                                        Steinberg::Vst::ParamValue& value) override;
    // Refuses what acceptsChange() refuses, and not-a-number. A new value of the program parameter
    // chooses that factory preset; the value that it has already changes nothing.
    Steinberg::tresult PLUGIN_API setParamNormalized(Steinberg::Vst::ParamID id,
                                                     Steinberg::Vst::ParamValue value) override;
    // Edits on their way to the host. It hears of one at a time: a preset may come while somebody
    // turns a knob.
    Steinberg::tresult beginEdit(Steinberg::Vst::ParamID id) override;
    Steinberg::tresult endEdit(Steinberg::Vst::ParamID id) override;
    // Edits from the editor; refuses what acceptsChange() refuses.
    Steinberg::tresult performEdit(Steinberg::Vst::ParamID id,
                                   Steinberg::Vst::ParamValue value) override;

    // False for Dly-Clk Mode while Inf Repeat is on: the engine would not follow.
    bool acceptsChange(Steinberg::Vst::ParamID id);

    // Null before initialize and after terminate.
    PresetManager* presets() { return manager.get(); }

    // The editor's zoom in percent, kept in the project; 0 as long as the user's default holds.
    int zoom() const { return zoomPercent; }
    void setZoom(int percent) { zoomPercent = percent; }

    void addListener(ControllerListener& listener);
    void removeListener(ControllerListener& listener);

    // PresetHost: presets on their way to the host, as one group of edits.
    void applyParameters(std::span<const ParameterEdit> edits) override;
    void presetsChanged() override;

  private:
    void addUnits();
    Steinberg::tresult adopt(Steinberg::Vst::ParamID id, Steinberg::Vst::ParamValue value);
    std::array<double, kStoredParameterCount> liveValues();
    void offerValues(const QVXPresetRecord& record);
    int program();
    void chooseProgram(int program);

    const MakeView makeView;
    bool initialised = false;
    int zoomPercent = 0;
    std::map<Steinberg::Vst::ParamID, int> openEdits;  // how often each has begun
    std::vector<ControllerListener*> listeners;
    std::unique_ptr<PresetManager> manager;
};

}  // namespace Quorvant
