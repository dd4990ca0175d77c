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
    for (const SampleFormat& format : writableFormats()) {
        const std::string suitable = std::string(".") + format.container;
        const bool suits =
            sameText(extension, suitable) || (sameText(extension, ".aif") && suitable == ".aiff");
        if (suits && (name.empty() || name == format.name)) return format;
    }
    throw Failure{inQuotes(path) + (name.empty() ? "" : " and the format " + inQuotes(name)) +
                  " tell no kind of file that can be written, there are " + formatNames()};
}

}  // namespace Quorvant::Hosting
