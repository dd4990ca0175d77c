#include "gui/Theme.h"

#include <array>

namespace Quorvant::Theme {

VSTGUI::CFontRef font(Face face) {
    using VSTGUI::CFontDesc;
    using VSTGUI::kBoldFace;
    using VSTGUI::kNormalFace;
    // Faces of one set of metrics; where none is installed the system picks, and texts are fitted
    // to their places anyway.
#ifdef _WIN32
    constexpr auto kFamily = "Arial";
#else
    constexpr auto kFamily = "Liberation Sans";
#endif
    static const std::array<VSTGUI::SharedPointer<CFontDesc>, 7> fonts = {
        VSTGUI::makeOwned<CFontDesc>(kFamily, 9.0, kNormalFace),
        VSTGUI::makeOwned<CFontDesc>(kFamily, 10.0, kNormalFace),
        VSTGUI::makeOwned<CFontDesc>(kFamily, 10.0, kBoldFace),
        VSTGUI::makeOwned<CFontDesc>(kFamily, 11.0, kNormalFace),
        VSTGUI::makeOwned<CFontDesc>(kFamily, 13.0, kBoldFace),
        VSTGUI::makeOwned<CFontDesc>(kFamily, 10.5, kBoldFace),
        VSTGUI::makeOwned<CFontDesc>(kFamily, 20.0, kBoldFace),
    };
    return fonts[static_cast<std::size_t>(face)];
}

}  // namespace Quorvant::Theme
