// Where every control of the front panel and of the extensions panel stands, as data.
#pragma once

#include "gui/Hints.h"
#include "params/ParameterIndex.h"

#include <cstdint>

namespace Quorvant {

enum class ControlKind : uint8_t {
    Knob,         // an amount
    CentredKnob,  // goes both ways
    WaveKnob,
    Kick,
    Loop,
    Power,
    Choice,
    LevelSet,  // Global
    TimeReadout,
    NoteReadout,
    TempoReadout,
    StepUp,
    StepDown,
    Tap,
    Headroom,
    Reduction,
    LfoLamp,
    ProcessingLamp,
    SyncLamp,
    Product,
    Extensions,
    Caption,
};

// In pixels from the panel's upper left corner.
struct Place {
    double left, top, right, bottom;
};

struct ControlSpec {
    ControlKind kind;
    uint32_t id;  // parameter index, or the id of the hint
    Place place;
    const char* label = "";
};

struct GroupSpec {
    const char* title;
    Place place;
};

inline constexpr uint32_t kNoHint = 255;

// The groups follow the signal.
inline constexpr GroupSpec kFrontGroups[] = {
    {"INPUT", {106, 8, 222, 192}},    {"DELAY", {228, 8, 516, 192}},
    {"FEEDBACK", {522, 8, 672, 192}}, {"MODULATION", {678, 8, 866, 192}},
    {"OUTPUT", {872, 8, 990, 192}},
};

inline constexpr ControlSpec kFrontControls[] = {
    {ControlKind::Product, kProductLabelId, {10, 12, 102, 62}},
    {ControlKind::Power, kProcess, {36, 68, 76, 108}},
    {ControlKind::Caption, kNoHint, {10, 108, 102, 121}, "PROCESS"},
    {ControlKind::ProcessingLamp, kNoHint, {20, 128, 102, 142}, "RUNNING"},
    {ControlKind::SyncLamp, kNoHint, {20, 144, 102, 158}, "HOST SYNC"},
    {ControlKind::Extensions, kShowExtensionsId, {10, 168, 102, 190}},

    {ControlKind::Knob, kInput, {110, 27, 172, 103}, "INPUT"},
    {ControlKind::Caption, kNoHint, {108, 114, 174, 127}, "LEVELS"},
    {ControlKind::LevelSet, kGlobal, {112, 129, 170, 171}},
    {ControlKind::Caption, kNoHint, {164, 27, 222, 39}, "HEADROOM"},
    {ControlKind::Headroom, kHeadroomBarId, {182, 42, 214, 188}},

    {ControlKind::TimeReadout, kTimeReadoutId, {236, 28, 424, 98}},
    {ControlKind::StepUp, kTimeUpId, {428, 28, 450, 62}},
    {ControlKind::StepDown, kTimeDownId, {428, 64, 450, 98}},
    {ControlKind::Knob, kDelayTime, {452, 27, 514, 103}, "TIME"},
    {ControlKind::NoteReadout, kNoteReadoutId, {236, 108, 424, 134}},
    {ControlKind::StepDown, kNoteDownId, {428, 108, 466, 134}},
    {ControlKind::StepUp, kNoteUpId, {470, 108, 508, 134}},
    {ControlKind::Kick, kDelayClockMode, {236, 146, 324, 188}, "NOTE SYNC"},
    {ControlKind::Kick, kDelayX2, {328, 146, 416, 188}, "DELAY X2"},
    {ControlKind::Kick, kDelayInvert, {420, 146, 508, 188}, "INVERT"},

    {ControlKind::Knob, kFeedback, {528, 27, 596, 103}, "FEEDBACK"},
    {ControlKind::Knob, kHighCutCutoff, {598, 27, 666, 103}, "CUTOFF"},
    {ControlKind::Kick, kFeedbackInvert, {529, 108, 595, 146}, "INVERT"},
    {ControlKind::Kick, kHighCut, {599, 108, 665, 146}, "HI CUT"},
    {ControlKind::Loop, kInfRepeat, {529, 150, 665, 188}, "INF REPEAT"},

    {ControlKind::CentredKnob, kManualVco, {682, 27, 742, 103}, "VCO"},
    {ControlKind::Knob, kDepth, {742, 27, 802, 103}, "DEPTH"},
    {ControlKind::Knob, kLfoRate, {802, 27, 862, 103}, "LFO RATE"},
    {ControlKind::WaveKnob, kWaveform, {692, 108, 772, 188}, "WAVE"},
    {ControlKind::LfoLamp, kNoHint, {800, 118, 860, 132}, "LFO"},
    {ControlKind::Kick, kEnvInvert, {786, 146, 858, 184}, "ENV INVERT"},

    {ControlKind::Knob, kMix, {876, 27, 931, 103}, "MIX"},
    {ControlKind::Knob, kOutput, {931, 27, 986, 103}, "OUTPUT"},
    {ControlKind::Kick, kBypass, {886, 108, 976, 146}, "BYPASS"},
    {ControlKind::Caption, kNoHint, {880, 158, 982, 170}, "GAIN REDUCTION"},
    {ControlKind::Reduction, kNoHint, {886, 174, 976, 182}},
};

inline constexpr GroupSpec kExtensionGroups[] = {
    {"CHARACTER", {10, 4, 434, 94}},
    {"REFERENCE", {440, 4, 582, 94}},
    {"LFO SYNC", {588, 4, 776, 94}},
    {"TEMPO", {782, 4, 990, 94}},
};

inline constexpr ControlSpec kExtensionControls[] = {
    {ControlKind::Caption, kNoHint, {14, 24, 76, 48}, "MODE"},
    {ControlKind::Choice, kProcessingMode, {78, 24, 426, 48}},
    {ControlKind::Caption, kNoHint, {14, 60, 76, 84}, "DIRECTION"},
    {ControlKind::Choice, kDirectionMode, {78, 60, 426, 84}},

    {ControlKind::Caption, kNoHint, {444, 24, 516, 37}, "SENSITIVITY"},
    {ControlKind::Choice, kSensitivity, {448, 40, 514, 84}},
    {ControlKind::CentredKnob, kReferenceLevel, {516, 16, 580, 91}, "LEVEL"},

    {ControlKind::Kick, kLfoSync, {596, 22, 706, 58}, "SYNC TO SONG"},
    {ControlKind::NoteReadout, kLfoNote, {597, 62, 705, 86}},
    {ControlKind::CentredKnob, kLfoOffset, {709, 16, 773, 91}, "OFFSET"},

    {ControlKind::Choice, kEnforceManualTempo, {790, 24, 888, 46}},
    {ControlKind::TempoReadout, kManualTempo, {790, 52, 888, 86}},
    {ControlKind::Choice, kNoteViewStyle, {893, 24, 982, 46}},
    {ControlKind::Tap, kNoHint, {893, 52, 982, 86}, "TAP"},
};

}  // namespace Quorvant
