#include "platform/LocalTime.h"

namespace Quorvant {

std::tm localTime(std::time_t time) {
    std::tm local{};
#ifdef _WIN32
    const bool told = localtime_s(&local, &time) == 0;
#else
    const bool told = localtime_r(&time, &local) != nullptr;
#endif
    return told ? local : std::tm{};
}

}  // namespace Quorvant
