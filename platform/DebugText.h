// A line of text for whoever debugs the product.
#pragma once

#include <string_view>

namespace Quorvant {

// To the debugger on Windows, to the standard error stream elsewhere. Main thread.
void writeDebugText(std::string_view text);

}  // namespace Quorvant
