#include "tools/corvane-host/AudioFile.h"
#include "tools/hosting/Result.h"
#include "tools/hosting/Text.h"

#include <filesystem>

namespace Quorvant::Hosting {

std::string formatNames() {
    std::string names;
    for (const SampleFormat& format : writableFormats()) appendItem(names, format.name);
    return names;
}

SampleFormat chooseFormat(const std::string& name, const std::string& path) {
    const std::string extension = std::filesystem::path(path).extension().string();
    const auto suits = [&](const SampleFormat& format) {
        const std::string container = format.container;
        return sameText(extension, "." + container) ||
               (container == "aiff" && sameText(extension, ".aif"));
    };
    bool knownExtension = false, knownName = false;
    for (const SampleFormat& format : writableFormats()) {
        const bool named = name.empty() || name == format.name;
        knownExtension = knownExtension || suits(format);
        knownName = knownName || named;
        if (named && suits(format)) return format;
    }
    if (!knownName)
        throw Failure{"there is no format " + inQuotes(name) + ", there are " + formatNames()};
    if (knownExtension)
        throw Failure{"the format " + inQuotes(name) + " does not suit the name " + inQuotes(path)};
    for (const SampleFormat& format : writableFormats())
        if (name == format.name) return format;
    throw Failure{"the extension of " + inQuotes(path) + " tells no format, choose one of " +
                  formatNames()};
}

}  // namespace Quorvant::Hosting
