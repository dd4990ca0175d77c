// Everything that decides how the editor looks: colours, text sizes and the frame's measures.
#pragma once

#include <vstgui/lib/ccolor.h>
#include <vstgui/lib/cfont.h>

namespace Quorvant::Theme {

using VSTGUI::CColor;

// Surfaces
inline constexpr CColor kFaceTop{52, 56, 62, 255};
inline constexpr CColor kFaceBottom{35, 38, 43, 255};
inline constexpr CColor kFaceEdge{78, 83, 91, 255};
inline constexpr CColor kGroup{28, 31, 35, 150};
inline constexpr CColor kGroupEdge{72, 77, 85, 255};
inline constexpr CColor kBar{22, 24, 27, 255};
inline constexpr CColor kGlass{9, 11, 13, 255};
inline constexpr CColor kGlassEdge{0, 0, 0, 255};
inline constexpr CColor kButtonTop{66, 71, 78, 255};
inline constexpr CColor kButtonBottom{47, 51, 57, 255};
inline constexpr CColor kButtonEdge{15, 17, 19, 255};
inline constexpr CColor kOverlay{24, 26, 30, 255};
inline constexpr CColor kShadow{0, 0, 0, 110};

// Knobs
inline constexpr CColor kDialTop{84, 90, 98, 255};
inline constexpr CColor kDialBottom{38, 42, 47, 255};
inline constexpr CColor kDialEdge{12, 13, 15, 255};
inline constexpr CColor kTrack{14, 16, 18, 255};

// Text
inline constexpr CColor kText{232, 234, 237, 255};
inline constexpr CColor kTextDim{161, 168, 177, 255};
inline constexpr CColor kTextFaint{128, 135, 145, 255};

// Light
inline constexpr CColor kAccent{255, 174, 66, 255};        // values of the preset
inline constexpr CColor kGlobalAccent{92, 205, 214, 255};  // values of the global set
inline constexpr CColor kGhost{255, 174, 66, 20};          // unlit segments
inline constexpr CColor kGreen{104, 220, 120, 255};
inline constexpr CColor kRed{255, 84, 68, 255};
inline constexpr CColor kHover{255, 255, 255, 18};
inline constexpr CColor kSelected{255, 174, 66, 44};
inline constexpr CColor kTextSelection{255, 174, 66, 110};

// Side-chain strip
inline constexpr CColor kStrip{30, 30, 30, 255};
inline constexpr CColor kStripTitle{127, 127, 127, 255};
inline constexpr CColor kMonitorLayer{196, 94, 4, 128};
inline constexpr CColor kMonitorText{250, 250, 250, 255};

// Frame, in unzoomed pixels
inline constexpr double kWidth = 1000.0;
inline constexpr double kButtonsHeight = 40.0;
inline constexpr double kBarHeight = 57.0;  // with the line of messages
inline constexpr double kFrontHeight = 311.0;
inline constexpr double kExtensionsHeight = 92.0;
inline constexpr double kFoldedHeight = 38.0;
inline constexpr double kStripHeight = 20.0;

enum class Face { Small, Label, LabelBold, Value, Title, Brand, Product };
// Shared by the editors of the process, and valid while one of them lives: fonts must not outlive
// VSTGUI. Main thread.
VSTGUI::CFontRef font(Face face);

// What every editor holds.
class FontUse {
  public:
    FontUse();
    ~FontUse();
    FontUse(const FontUse&) = delete;
    FontUse& operator=(const FontUse&) = delete;
};

}  // namespace Quorvant::Theme
