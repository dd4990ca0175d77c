// What a .vstpreset tells of itself beside the state: a short XML text that hosts' browsers read.
#pragma once

#include <string>
#include <string_view>

namespace Quorvant::Hosting {

std::string writeMetaInfo(std::string_view plugin, std::string_view vendor, std::string_view name,
                          std::string_view category);

// The value of the attribute with that id, UTF-8; empty where there is none.
std::string readMetaInfo(std::string_view xml, std::string_view id);

inline constexpr std::string_view kMetaName = "Name";
inline constexpr std::string_view kMetaCategory = "MusicalStyle";

}  // namespace Quorvant::Hosting
