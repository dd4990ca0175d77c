// A plug-in for the editor to stand in front of: parameters, readings and a real preset manager
// with a folder of its own.
#pragma once

#include "gui/Desk.h"
#include "gui/Editor.h"
#include "gui/EditorModel.h"
#include "params/ParameterTable.h"
#include "presets/PresetManager.h"

#include <array>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace Quorvant::Testing {

class FakeModel final : public EditorModel, private PresetHost {
  public:
    explicit FakeModel(const std::filesystem::path& presetFolder) : manager(*this, presetFolder) {
        for (uint32_t i = 0; i < kParameterCount; ++i) values[i] = parameterDefault(i);
        for (uint32_t i = 0; i < kStoredParameterCount; ++i) manager.parameterEdited(i, values[i]);
    }

    Editor* editor = nullptr;  // told of what changes, as the controller does
    std::array<double, kParameterCount> values{};
    std::map<uint32_t, double> readings;
    bool processing = true;             // the heartbeat goes on
    std::vector<std::string> gestures;  // "begin 21", "21", "end 21", "menu 21"
    VSTGUI::CPoint menuAt;
    std::pair<int, int> requestedSize;
    bool sizesAllowed = true;
    int storedZoom = 0;
    PresetManager manager;

    double value(uint32_t index) const override { return values.at(index); }
    void beginEdit(uint32_t index) override {
        gestures.push_back("begin " + std::to_string(index));
    }
    void performEdit(uint32_t index, double newValue) override {
        gestures.push_back(std::to_string(index));
        set(index, newValue);
    }
    void endEdit(uint32_t index) override { gestures.push_back("end " + std::to_string(index)); }
    double reading(uint32_t index) const override {
        if (index == kHeartbeat) return processing ? ++beats : beats;
        const auto found = readings.find(index);
        return found == readings.end() ? 0.0 : found->second;
    }
    PresetManager* presets() override { return &manager; }
    bool showHostMenu(uint32_t index, double x, double y) override {
        gestures.push_back("menu " + std::to_string(index));
        menuAt = {x, y};
        return true;
    }
    bool requestSize(int width, int height) override {
        requestedSize = {width, height};
        return sizesAllowed;
    }
    int zoom() const override { return storedZoom; }
    void setZoom(int percent) override { storedZoom = percent; }

    // As the host's automation does.
    void set(uint32_t index, double newValue) {
        values.at(index) = newValue;
        if (index < kStoredParameterCount) manager.parameterEdited(index, newValue);
        if (editor) editor->parameterChanged(index);
    }

  private:
    mutable double beats = 0.0;

    void applyParameters(std::span<const ParameterEdit> edits) override {
        for (const ParameterEdit& edit : edits) set(edit.index, edit.value);
    }
    void presetsChanged() override {
        if (editor) editor->presetsChanged();
    }
};

class FakeDesk final : public Desk {
  public:
    bool works = true;             // there are dialogs, a manual and a browser
    std::filesystem::path answer;  // empty: cancelled
    std::string askedTitle;
    std::string askedName;
    std::string opened;

    bool askForFile(VSTGUI::CFrame&, bool, const std::string& title, const std::filesystem::path&,
                    const std::string& name,
                    std::function<void(std::filesystem::path)> done) override {
        askedTitle = title;
        askedName = name;
        if (works && !answer.empty()) done(answer);
        return works;
    }
    bool openManual() override { return openLink("manual"); }
    bool openLink(std::string_view address) override {
        opened = address;
        return works;
    }
};

}  // namespace Quorvant::Testing
