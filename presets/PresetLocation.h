// Where a setup came from: the list, and the place in it.
#pragma once

#include <cstdint>

namespace Quorvant {

enum PresetSource : int32_t {
    kFromCategory = 0,  // list: the category's index
    kFromDesigner = 1,  // list: the designer's index
    kFromFolder = 2,    // list: 0 for the main folder of the user's presets, then its subfolders
};
inline constexpr int32_t kPresetSourceCount = 3;

inline constexpr int32_t kNotListed = -1;

struct PresetLocation {
    int32_t source = kFromCategory;
    int32_t list = 0;
    int32_t preset = kNotListed;  // place in the list, kNotListed for a setup that no list holds

    friend bool operator==(const PresetLocation&, const PresetLocation&) = default;
};

}  // namespace Quorvant
