// A preset manager with an owner of parameters that remembers what was asked of it, and a folder.
#pragma once

#include "params/ParameterTable.h"
#include "presets/PresetManager.h"
#include "tests/TestFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace Quorvant {

struct FakeHost : PresetHost {
    explicit FakeHost(const std::filesystem::path& mainFolder) : manager(*this, mainFolder) {
        for (uint32_t i = 0; i < kStoredParameterCount; ++i) values[i] = parameterDefault(i);
    }
    void applyParameters(std::span<const ParameterEdit> edits) override {
        groups.emplace_back(edits.begin(), edits.end());
        for (const auto& edit : edits) turn(edit.index, edit.value);  // as a controller would
    }
    void presetsChanged() override { ++changes; }

    void turn(uint32_t index, double value) {
        values[index] = value;
        manager.parameterEdited(index, value);
    }
    // Whether the parameters are what the current record says.
    bool agrees() const {
        return std::ranges::equal(values, manager.current().values, {},
                                  [](double value) { return static_cast<float>(value); });
    }

    std::array<double, kStoredParameterCount> values{};
    std::vector<std::vector<ParameterEdit>> groups;
    int changes = 0;
    PresetManager manager;
};

class PresetManagerTest : public testing::Test {
  protected:
    static PresetLocation basic(int32_t preset) { return {kFromCategory, 1, preset}; }
    static PresetLocation file(int32_t preset, int32_t list = 0) {
        return {kFromFolder, list, preset};
    }
    void choose(const PresetLocation& place) {
        ASSERT_EQ(manager.choose(place), PresetFault::None);
    }

    TestFolder folder;
    FakeHost host{folder.path};
    PresetManager& manager = host.manager;
};

}  // namespace Quorvant
