#include "tools/corvane-host/Automation.h"

#include "tools/corvane-host/PluginChoice.h"
#include "tools/hosting/Text.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>

namespace Quorvant::Hosting {

namespace {

constexpr double kLatestSeconds = 1e6;

std::string trimmed(const std::string& text) {
    const char* blanks = " \t\r";
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

AutomationPoint readLine(const HostedPlugin& plugin, const std::string& line, double rate) {
    const size_t first = line.find(',');
    const size_t second = first == std::string::npos ? first : line.find(',', first + 1);
    if (second == std::string::npos) throw Failure{"it is not 'seconds,parameter,text'"};
    const std::string time = trimmed(line.substr(0, first));
    char* end = nullptr;
    const double seconds = std::strtod(time.c_str(), &end);
    if (time.empty() || *end != '\0' || !(seconds >= 0.0 && seconds <= kLatestSeconds))
        throw Failure{inQuotes(time) + " is no time in seconds"};
    const auto point = resolveSetting(plugin, trimmed(line.substr(first + 1, second - first - 1)),
                                      trimmed(line.substr(second + 1)));
    return {std::llround(seconds * rate), point};
}

}  // namespace

std::vector<AutomationPoint> readAutomation(const HostedPlugin& plugin, const std::string& path,
                                            double rate) {
    std::ifstream file(path);
    if (!file) throw Failure{"cannot read " + inQuotes(path)};
    std::vector<AutomationPoint> points;
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        line = trimmed(line);
        if (line.empty() || line.front() == '#') continue;
        try {
            points.push_back(readLine(plugin, line, rate));
        } catch (const Failure& failure) {
            throw Failure{"line " + std::to_string(number) + " of " + inQuotes(path) + ": " +
                          failure.what()};
        }
    }
    if (file.bad()) throw Failure{"cannot read " + inQuotes(path)};
    std::ranges::stable_sort(points, {}, &AutomationPoint::frame);
    return points;
}

}  // namespace Quorvant::Hosting
