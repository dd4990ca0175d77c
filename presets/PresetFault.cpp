#include "presets/PresetFault.h"

#include <array>

namespace Quorvant {

std::string_view presetFaultText(PresetFault fault) {
    switch (fault) {
        case PresetFault::None:
            return "";
        case PresetFault::NotFound:
            return "Error while locating the preset file";
        case PresetFault::NotAPreset:
            return "This is not a preset";
        case PresetFault::NotAFile:
            return "Factory presets are integral part of the plugin";
        case PresetFault::NothingToPaste:
            return "There is no copied preset to paste";
        case PresetFault::ReadOnly:
            return "This place is write-protected";
        case PresetFault::DiskFull:
            return "There is no room left on the disk";
        case PresetFault::NoFolder:
            return "The folder does not exist";
        case PresetFault::BadName:
            return "This is not a possible file name";
        case PresetFault::NameTaken:
            return "There is another file of this name";
        case PresetFault::Failed:
            break;
    }
    return "The system could not do this";
}

PresetFault presetFault(const std::error_code& error, PresetFault missing) {
    if (!error) return PresetFault::None;
    struct Meaning {
        std::errc error;
        PresetFault fault;
    };
    const std::array meanings = {
        Meaning{std::errc::no_such_file_or_directory, missing},
        Meaning{std::errc::not_a_directory, missing},
        Meaning{std::errc::permission_denied, PresetFault::ReadOnly},
        Meaning{std::errc::operation_not_permitted, PresetFault::ReadOnly},
        Meaning{std::errc::read_only_file_system, PresetFault::ReadOnly},
        Meaning{std::errc::no_space_on_device, PresetFault::DiskFull},
        Meaning{std::errc::filename_too_long, PresetFault::BadName},
        Meaning{std::errc::invalid_argument, PresetFault::BadName},
        Meaning{std::errc::file_exists, PresetFault::NameTaken},
    };
    for (const auto& meaning : meanings)
        if (error == meaning.error) return meaning.fault;
    return PresetFault::Failed;
}

}  // namespace Quorvant
