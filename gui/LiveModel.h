// The plug-in as it is heard: what it measures counts only while it processes.
#pragma once

#include "gui/EditorModel.h"

namespace Quorvant {

// Hands everything on to the plug-in, apart from the readings. Those of a plug-in whose heartbeat
// has stood still for half a second, or that is suspended, are 0, but for that it is suspended, and
// for tempo and sample rate, which stay the last that are known.
class LiveModel final : public EditorModel {
  public:
    // The plug-in outlives this.
    explicit LiveModel(EditorModel& plugIn);

    // Looks at the heartbeat; `now` in milliseconds of a wrapping counter.
    void idle(uint32_t now);
    bool running() const { return beating && !suspended(); }
    bool suspended() const;

    double reading(uint32_t outputIndex) const override;
    double value(uint32_t index) const override { return plugin.value(index); }
    void beginEdit(uint32_t index) override { plugin.beginEdit(index); }
    void performEdit(uint32_t index, double value) override { plugin.performEdit(index, value); }
    void endEdit(uint32_t index) override { plugin.endEdit(index); }
    PresetManager* presets() override { return plugin.presets(); }
    bool showHostMenu(uint32_t index, std::vector<HostMenuItem> items, double x,
                      double y) override {
        return plugin.showHostMenu(index, std::move(items), x, y);
    }
    bool requestSize(int width, int height) override { return plugin.requestSize(width, height); }
    int zoom() const override { return plugin.zoom(); }
    void setZoom(int percent) override { plugin.setZoom(percent); }

  private:
    EditorModel& plugin;
    double lastBeat;
    uint32_t lastBeatAt = 0;
    bool beating = false;
};

}  // namespace Quorvant
