// The stage's measures, in unzoomed pixels.
#pragma once

namespace Quorvant::StagePlaces {

inline constexpr double kLeft = 30.0, kRight = 18.0;  // of the view, beside the axis of time
inline constexpr double kTop = 36.0, kBelow = 52.0;   // above a full bar, and below all bars
inline constexpr double kHeader = 8.0, kText = 16.0;  // the texts' top, and their height
inline constexpr double kBar = 12.0, kTail = 14.0;    // widths
inline constexpr double kGlow = 6.0;                  // around a bar
inline constexpr int kGlowSteps = 8;                  // of its brightness
inline constexpr double kHandle = 6.0, kDot = 4.0;    // radii
inline constexpr double kClockLeft = 76.0, kClockHeight = 33.0;

}  // namespace Quorvant::StagePlaces
