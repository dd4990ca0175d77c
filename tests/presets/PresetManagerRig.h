// A preset manager with a folder and a host of its own.
#pragma once

#include "presets/PresetManager.h"
#include "tests/presets/FakeHost.h"
#include "tests/presets/TestFolder.h"

#include <gtest/gtest.h>

namespace Quorvant {

class PresetManagerTest : public testing::Test {
  protected:
    PresetManagerTest() { host.manager = &manager; }

    static PresetLocation basic(int32_t preset) { return {kFromCategory, 1, preset}; }
    void choose(const PresetLocation& place) {
        ASSERT_EQ(manager.choose(place), PresetFault::None);
    }

    TestFolder folder;
    FakeHost host;
    PresetManager manager{host, folder.path};
};

}  // namespace Quorvant
