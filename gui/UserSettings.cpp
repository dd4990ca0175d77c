#include "gui/UserSettings.h"

#include "platform/UserStore.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <span>
#include <vector>

namespace Quorvant {
namespace {

constexpr std::string_view kStoreName = "Editor";

bool readSwitch(std::string_view value, bool otherwise) {
    return value == "1" ? true : value == "0" ? false : otherwise;
}

}  // namespace

std::string writeSettings(const UserSettings& settings) {
    std::string text =
        "zoom=" + std::to_string(settings.zoom) + "\nhints=" + (settings.hints ? "1" : "0") +
        "\nknobs=" + (settings.knobMode == KnobMode::Circular ? "circular" : "vertical") +
        "\nmixlock=" + (settings.mixLock ? "1" : "0") + "\n";
    for (const std::string& key : settings.favourites) text += "favourite=" + key + "\n";
    return text;
}

UserSettings readSettings(std::string_view text) {
    UserSettings settings;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view lineText = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        const std::size_t mark = lineText.find('=');
        if (mark == std::string_view::npos) continue;
        const std::string_view name = lineText.substr(0, mark);
        const std::string_view value = lineText.substr(mark + 1);
        if (name == "zoom") {
            int zoom = 0;
            const auto [rest, error] =
                std::from_chars(value.data(), value.data() + value.size(), zoom);
            if (error == std::errc() && zoom >= kLowestZoom && zoom <= kHighestZoom) {
                settings.zoom = zoom;
            }
        } else if (name == "hints") {
            settings.hints = readSwitch(value, settings.hints);
        } else if (name == "knobs") {
            settings.knobMode = value == "circular" ? KnobMode::Circular : KnobMode::Vertical;
        } else if (name == "mixlock") {
            settings.mixLock = readSwitch(value, settings.mixLock);
        } else if (name == "favourite" && !value.empty()) {
            settings.favourites.emplace(value);
        }
    }
    return settings;
}

UserSettings loadUserSettings() {
    std::vector<std::byte> bytes;
    if (readUserValue(kStoreName, bytes)) return {};
    return readSettings({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

bool saveUserSettings(const UserSettings& settings) {
    const std::string text = writeSettings(settings);
    return !writeUserValue(kStoreName, std::as_bytes(std::span(text)));
}

}  // namespace Quorvant
