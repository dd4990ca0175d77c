// The time of day where the user is.
#pragma once

#include <ctime>

namespace Quorvant {

// Any thread. Midnight where the system can't tell.
std::tm localTime(std::time_t time);

}  // namespace Quorvant
