// The texts that the preset bar and the browser are made of.
#pragma once

#include <cstdio>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace Quorvant {

inline constexpr std::string_view kSourceNames[] = {"Application", "Designer", "My presets"};

inline constexpr char kSaveDialogTitle[] = "Save preset";
inline constexpr char kPresetFileType[] = "QVX Preset";
inline constexpr char kFactoryFileText[] = "Factory presets are integral part of the plugin";
inline constexpr char kFactoryFileHint[] =
    "Factory presets are integral part of the plugin and they are NOT stored as files";
inline constexpr char kNoPresetFileText[] = "Error while locating the preset file";
inline constexpr char kNoPresetFolderText[] = "Could not open user's preset folder";
inline constexpr char kShowFileText[] = "Show file in Explorer";
inline constexpr char kDesignerHint[] =
    "Click on the photo to get more info about preset's designer";

// What the bar shows while there is no preset manager.
inline constexpr char kNoManagerDisplay[] = "00: Current";

// At least two digits.
inline std::string presetNumber(int number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
}

// A row of the browser, e.g. "07. wow tape".
inline std::string numberedPreset(int place, std::string_view name) {
    return presetNumber(place) + ". " + std::string(name);
}

// The bar's name field, e.g. "07: wow tape"; below 0 "CP:" stands for the number. Without a name,
// "current".
inline std::string presetNameDisplay(int place, std::optional<std::string_view> name) {
    const std::string front = place < 0 ? "CP:" : presetNumber(place) + ": ";
    return front + std::string(name.value_or("current"));
}

// What the bar tells of files that were passed over, e.g. "Left out: noise, old".
inline std::string leftOutText(std::span<const std::string> names) {
    std::string text = "Left out";
    for (const std::string& name : names) text += (&name == names.data() ? ": " : ", ") + name;
    return text;
}

}  // namespace Quorvant
