// Which of several names a mistyped one may have meant.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Quorvant::Hosting {

// "'Level', 'Lever', 'Label'": the three nearest, in quotes, without regard to case. Names that
// hold the wanted text come first.
std::string nearestNames(const std::vector<std::string>& names, std::string_view wanted);

}  // namespace Quorvant::Hosting
