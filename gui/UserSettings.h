// What a user has set for the editors of all instances.
#pragma once

#include <set>
#include <string>
#include <string_view>

namespace Quorvant {

enum class KnobMode { Vertical, Circular };

inline constexpr int kLowestZoom = 50;  // percent
inline constexpr int kHighestZoom = 300;

struct UserSettings {
    int zoom = 100;  // percent, of new instances
    bool hints = true;
    KnobMode knobMode = KnobMode::Vertical;
    bool mixLock = false;              // presets leave Mix alone
    std::set<std::string> favourites;  // keys of presets, see PresetActions

    friend bool operator==(const UserSettings&, const UserSettings&) = default;
};

// As lines "name=value". Unknown lines and values that make no sense are passed over.
std::string writeSettings(const UserSettings& settings);
UserSettings readSettings(std::string_view text);

// From and to the user's store; what cannot be read gives the defaults, what cannot be written is
// told by false. Main thread.
UserSettings loadUserSettings();
bool saveUserSettings(const UserSettings& settings);

}  // namespace Quorvant
