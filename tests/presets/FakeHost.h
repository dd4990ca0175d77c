// An owner of parameters that remembers what the preset manager asked of it.
#pragma once

#include "params/ParameterTable.h"
#include "presets/PresetManager.h"

#include <array>
#include <vector>

namespace Quorvant {

struct FakeHost : PresetHost {
    FakeHost() {
        for (uint32_t i = 0; i < kStoredParameterCount; ++i) values[i] = parameterDefault(i);
    }
    void applyParameters(std::span<const ParameterEdit> edits) override {
        groups.emplace_back(edits.begin(), edits.end());
        for (const auto& edit : edits) {
            values[edit.index] = edit.value;
            if (manager) manager->parameterEdited(edit.index, edit.value);  // as a controller would
        }
    }
    void presetsChanged() override { ++changes; }

    void turn(uint32_t index, double value) {
        values[index] = value;
        manager->parameterEdited(index, value);
    }
    // Whether the parameters are what the current record says.
    bool agrees() const {
        for (uint32_t i = 0; i < kStoredParameterCount; ++i)
            if (static_cast<float>(values[i]) != manager->current().values[i]) return false;
        return true;
    }

    std::array<double, kStoredParameterCount> values{};
    std::vector<std::vector<ParameterEdit>> groups;
    int changes = 0;
    PresetManager* manager = nullptr;
};

}  // namespace Quorvant
