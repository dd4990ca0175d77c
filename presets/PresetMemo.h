// The memo through which presets are copied between instances of the plug-in, and between programs.
#pragma once

#include "presets/PresetFault.h"
#include "presets/PresetLocation.h"
#include "presets/PresetRecord.h"

#include <ctime>
#include <optional>

namespace Quorvant {

// "clipboard HH:MM:SS" of the local time.
void nameMemo(QVXPresetRecord& record, const std::tm& localTime);

// Main thread.
class PresetMemo {
  public:
    // Keeps the record, named for the moment, and hands it to all instances.
    PresetFault copy(const QVXPresetRecord& record, const PresetLocation& location);

    // What any instance copied last. A memo with a value out of range counts as not there, and the
    // last one that was copied or pasted here stands in for it. `base` gives what a memo leaves out
    // while there is no such one.
    PresetFault paste(const QVXPresetRecord& base, QVXPresetRecord& pasted);

  private:
    std::optional<QVXPresetRecord> last;  // copied or pasted
};

}  // namespace Quorvant
