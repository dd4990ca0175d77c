// A line of text for whoever runs the product in a debugger.
#pragma once

#include <string_view>

namespace Quorvant {

// To the debugger on Windows. Other systems have no such channel, and the standard error stream is
// the host's. Main thread.
void writeDebugText(std::string_view text);

}  // namespace Quorvant
