// Everything that decides how the editor looks: colours, text sizes and the frame's measures.
#pragma once

#include <vstgui/lib/ccolor.h>
#include <vstgui/lib/cfont.h>

namespace Quorvant::Theme {

using VSTGUI::CColor;

// Surfaces
inline constexpr CColor kFace{24, 26, 30, 255};
inline constexpr CColor kFaceEdge{84, 90, 99, 255};  // of sheets
inline constexpr CColor kGroup{35, 38, 44, 255};
inline constexpr CColor kGroupEdge{50, 54, 61, 255};
inline constexpr CColor kBar{17, 18, 21, 255};
inline constexpr CColor kGlass{9, 11, 13, 255};
inline constexpr CColor kGlassEdge{48, 52, 58, 255};
inline constexpr CColor kButtonTop{59, 64, 72, 255};
inline constexpr CColor kButtonBottom{50, 54, 61, 255};
inline constexpr CColor kButtonEdge{77, 83, 92, 255};
inline constexpr CColor kOverlay{24, 26, 30, 255};
inline constexpr CColor kShadow{0, 0, 0, 110};

// Knobs
inline constexpr CColor kDialTop{84, 91, 101, 255};
inline constexpr CColor kDialBottom{42, 46, 53, 255};
inline constexpr CColor kDialEdge{12, 13, 15, 255};
inline constexpr CColor kTrack{14, 16, 18, 255};

// Text
inline constexpr CColor kText{236, 238, 241, 255};
inline constexpr CColor kTextDim{178, 185, 194, 255};
inline constexpr CColor kTextFaint{126, 133, 143, 255};  // what cannot be used at present
inline constexpr float kUnusedAlpha = 0.6F;              // of what has no effect at present

// Light
inline constexpr CColor kAccent{255, 174, 66, 255};        // values of the preset
inline constexpr CColor kGlobalAccent{92, 205, 214, 255};  // values of the global set
inline constexpr CColor kGhost{255, 174, 66, 18};          // unlit segments
inline constexpr CColor kGreen{104, 220, 120, 255};
inline constexpr CColor kRed{255, 96, 80, 255};
inline constexpr CColor kLoopFace{62, 22, 20, 255};  // behind the text of a loop that runs
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
inline constexpr double kBarHeight = 40.0;
inline constexpr double kMessageHeight = 16.0;  // below the bar
inline constexpr double kFrontHeight = 332.0;   // with the message's line
inline constexpr double kExtensionsHeight = 88.0;
inline constexpr double kFoldedHeight = 54.0;
inline constexpr double kStripHeight = 20.0;

enum class Face { Small, Label, LabelBold, Value, Title, Brand, Product };
inline constexpr double kSmallestType = 11.0;
// In unzoomed pixels.
double typeSize(Face face);
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
