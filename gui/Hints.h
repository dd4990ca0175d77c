// The help text of every control of the editor.
#pragma once

#include <cstdint>

namespace Quorvant {

// Ids of controls that are no parameters; those up to 70 that show a reading are in OutputIndex.h.
enum HintId : uint32_t {
    kHeadroomBarId = 61,
    kInternalButtonId = 66,
    kExternalButtonId = 67,
    kTimeDownId = 71,
    kTimeUpId = 72,
    kNoteDownId = 73,
    kNoteUpId = 74,
    kNoteReadoutId = 75,
    kShowExtensionsId = 77,
    kHideExtensionsId = 78,
    kTimeReadoutId = 98,
    kProductLabelId = 109,
    kAboutLabelId = 110,
};

// The hint for a parameter index or another control's id; "..." where there is none. A parameter's
// hint has its name in front. The text lies in a static buffer and is valid until the next call:
// main thread, copy at once.
const char* hintText(uint32_t id);

}  // namespace Quorvant
