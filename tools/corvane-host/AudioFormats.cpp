#include "tools/corvane-host/AudioFile.h"
#include "tools/hosting/Text.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace Quorvant::Hosting {

namespace {

std::string containerOf(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    std::ranges::transform(extension, extension.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (extension == ".aif") return "aiff";
    return extension.empty() ? extension : extension.substr(1);
}

}  // namespace

Result<SampleFormat> chooseFormat(const std::string& name, const std::string& path) {
    const auto& formats = writableFormats();
    const std::string container = containerOf(path);
    std::string names;
    bool knownContainer = false;
    for (const SampleFormat& format : formats) {
        appendItem(names, format.name);
        knownContainer = knownContainer || format.container == container;
    }
    for (const SampleFormat& format : formats) {
        if (name.empty() ? format.container != container : format.name != name) continue;
        if (knownContainer && format.container != container)
            return Error{"the format '" + name + "' does not suit the name '" + path + "'"};
        return format;
    }
    if (!name.empty()) return Error{"there is no format '" + name + "', there are " + names};
    return Error{"the extension of '" + path + "' tells no format, choose one of " + names};
}

}  // namespace Quorvant::Hosting
