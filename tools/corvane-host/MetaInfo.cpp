#include "tools/corvane-host/MetaInfo.h"

#include "platform/Utf8Path.h"

#include <utility>

namespace Quorvant::Hosting {

namespace {

constexpr std::pair<char, std::string_view> kEntities[] = {
    {'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}, {'\'', "&apos;"}};

std::string escaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
        std::string_view written(&c, 1);
        for (const auto& [character, entity] : kEntities)
            if (c == character) written = entity;
        result += written;
    }
    return result;
}

std::string unescaped(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        size_t used = 1;
        char c = text.front();
        for (const auto& [character, entity] : kEntities) {
            if (!text.starts_with(entity)) continue;
            c = character;
            used = entity.size();
        }
        result += c;
        text.remove_prefix(used);
    }
    return result;
}

void addAttribute(std::string& xml, std::string_view id, std::string_view value) {
    if (value.empty()) return;
    xml += "\t<Attribute id=\"";
    xml += id;
    xml += "\" value=\"";
    xml += escaped(value);
    xml += "\" type=\"string\" flags=\"\"/>\n";
}

}  // namespace

std::string writeMetaInfo(std::string_view plugin, std::string_view vendor, std::string_view name,
                          std::string_view category) {
    std::string xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<MetaInfo>\n";
    addAttribute(xml, "MediaType", "VstPreset");
    addAttribute(xml, "PlugInName", plugin);
    addAttribute(xml, "PlugInVendor", vendor);
    addAttribute(xml, kMetaName, name);
    addAttribute(xml, kMetaCategory, category);
    return xml + "</MetaInfo>\n";
}

std::string readMetaInfo(std::string_view xml, std::string_view id) {
    constexpr std::string_view kValue = "value=\"";
    const std::string key = "id=\"" + std::string(id) + "\"";
    const size_t found = xml.find(key);
    if (found == std::string_view::npos) return {};
    const std::string_view element = xml.substr(found, xml.find('>', found) - found);
    const size_t value = element.find(kValue);
    if (value == std::string_view::npos) return {};
    const std::string_view rest = element.substr(value + kValue.size());
    return validUtf8(unescaped(rest.substr(0, rest.find('"'))));
}

}  // namespace Quorvant::Hosting
