// In the place of Plot.cpp where plots can't be drawn.
#include "tools/corvane-host/Plot.h"

namespace Quorvant::Hosting {

Result<> checkPlot(const std::string&) {
#ifdef _WIN32
    return Error{"plots can be drawn on Linux only"};
#else
    return Error{"this program was built without FFTW, which plots need"};
#endif
}

Result<> drawPlot(const std::string& path, const PlotSubject&) {
    return checkPlot(path);
}

}  // namespace Quorvant::Hosting
