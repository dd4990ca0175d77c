// The identifiers of the module's two classes. Hosts store them in projects: they never change.
#pragma once

#include "pluginterfaces/base/funknown.h"

namespace Quorvant {

inline const Steinberg::FUID kEffectClassId(0xFE7A1A96, 0xE5AF5842, 0x79730195, 0xFBBA8E58);
inline const Steinberg::FUID kControllerClassId(0x8EAF1E0F, 0xF9330D24, 0x9948B0E2, 0x3073E060);

}  // namespace Quorvant
