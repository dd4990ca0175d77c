// What can keep an action on presets from being done, and how the user is told.
#pragma once

#include <string_view>
#include <system_error>

namespace Quorvant {

enum class PresetFault {
    None,
    NotFound,        // the file or the list entry isn't there (any more)
    NotAPreset,      // a file, or a memo, that holds no preset
    NotAFile,        // factory presets have no files
    NothingToPaste,  // nobody has copied a preset yet
    ReadOnly,        // no right to write there
    DiskFull,
    NoFolder,   // the folder isn't there
    BadName,    // a name that no file can have on every system
    NameTaken,  // another file has it
    Failed,     // anything else that the system reported
};

// A sentence for the user, empty for None.
std::string_view presetFaultText(PresetFault fault);

// `missing` is what a missing file or folder means to the caller.
PresetFault presetFault(const std::error_code& error, PresetFault missing);

}  // namespace Quorvant
