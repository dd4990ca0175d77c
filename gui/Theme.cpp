#include "gui/Theme.h"

#include <array>

namespace Quorvant::Theme {

namespace {

using VSTGUI::CFontDesc;
using VSTGUI::kBoldFace;
using VSTGUI::kNormalFace;

// Faces of one set of metrics; where none is installed the system picks, and texts are fitted to
// their places anyway.
#ifdef _WIN32
constexpr auto kFamily = "Arial";
#else
constexpr auto kFamily = "Liberation Sans";
#endif

struct FaceSpec {
    double size;
    int32_t style;
};
constexpr std::array<FaceSpec, 7> kFaces = {{{kSmallestType, kNormalFace},
                                             {11.0, kNormalFace},
                                             {11.0, kBoldFace},
                                             {12.0, kNormalFace},
                                             {14.0, kBoldFace},
                                             {11.0, kBoldFace},
                                             {20.0, kBoldFace}}};

int users = 0;
std::array<VSTGUI::SharedPointer<CFontDesc>, kFaces.size()> fonts;

}  // namespace

FontUse::FontUse() {
    ++users;
}

FontUse::~FontUse() {
    if (--users == 0) fonts = {};
}

double typeSize(Face face) {
    return kFaces[static_cast<std::size_t>(face)].size;
}

VSTGUI::CFontRef font(Face face) {
    const auto index = static_cast<std::size_t>(face);
    if (!fonts[index]) {
        fonts[index] =
            VSTGUI::makeOwned<CFontDesc>(kFamily, kFaces[index].size, kFaces[index].style);
    }
    return fonts[index];
}

}  // namespace Quorvant::Theme
