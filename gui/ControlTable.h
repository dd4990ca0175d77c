// Where every control of the panels stands, and what it hangs on, as data.
#pragma once

#include "gui/Hints.h"
#include "params/ParameterIndex.h"

#include <cstdint>
#include <span>

namespace Quorvant {

enum class ControlKind : uint8_t {
    Knob,         // an amount
    CentredKnob,  // goes both ways
    WaveKnob,
    NoteKnob,
    Kick,
    Loop,
    Choice,
    LevelSet,  // Global
    Stage,     // the echoes
    TimeReadout,
    TimeField,
    NoteField,
    TempoReadout,
    StepUp,
    StepDown,
    Tap,
    Headroom,
    Reduction,
    LfoLamp,
    ProcessingLamp,
    SyncLamp,
    Caption,
};

// What a control hangs on.
enum class Condition : uint8_t {
    Always,
    InTime,     // the delay is set in milliseconds
    InNotes,    // the delay is a note
    Free,       // the LFO has a rate of its own
    InSync,     // the LFO follows the song
    Cutting,    // Hi Cut is on
    Recording,  // Inf Repeat is off
};

enum class Glyph : uint8_t { None, Forward, Backward, Reverse, Bounce };
struct Choice {
    const char* text;
    Glyph glyph = Glyph::None;
};

// In pixels from the panel's upper left corner.
struct Place {
    double left, top, right, bottom;
};

inline constexpr uint32_t kNoHint = 255;
inline constexpr uint32_t kNothing = UINT32_MAX;

struct ControlSpec {
    ControlKind kind;
    uint32_t id;  // parameter index, or the id of the hint
    Place place;
    const char* label = "";
    std::span<const Choice> choices = {};
    Condition shown = Condition::Always;  // else another control has its place
    Condition used = Condition::Always;   // else it stands back, but can be set
    uint32_t engages = kNothing;          // a switch that moving it turns on
};

struct GroupSpec {
    const char* title;
    Place place;
};

inline constexpr Choice kLevelSets[] = {{"PRESET"}, {"GLOBAL"}};
inline constexpr Choice kModes[] = {{"CLEAN"}, {"LEGACY"}, {"LIMS"}, {"FULL"}};
inline constexpr Choice kDirections[] = {{"FORWARD", Glyph::Forward},
                                         {"BACKWARD", Glyph::Backward},
                                         {"REVERSE", Glyph::Reverse},
                                         {"BOUNCE", Glyph::Bounce}};
inline constexpr Choice kInputLevels[] = {{"-10 dBV"}, {"+4 dBu"}};
inline constexpr Choice kTempoSources[] = {{"HOST"}, {"MANUAL"}};
inline constexpr Choice kNoteStyles[] = {{"1/4 dot"}, {"3/8"}};
inline constexpr Choice kClockModes[] = {{"MS"}, {"NOTE"}};

// The stage beside the time; below them the knobs, in the order of the signal.
inline constexpr GroupSpec kFrontGroups[] = {
    {"", {658, 1, 990, 161}},
    {"", {10, 169, 218, 307}},
    {"", {226, 169, 690, 307}},
    {"", {698, 169, 990, 307}},
};

inline constexpr ControlSpec kFrontControls[] = {
    {ControlKind::Stage, kNoHint, {10, 1, 650, 161}},

    {ControlKind::TimeReadout, kTimeReadoutId, {664, 7, 984, 67}},
    {ControlKind::Choice, kDelayClockMode, {664, 72, 756, 98}, "", kClockModes,
     Condition::Always, Condition::Recording},
    {ControlKind::StepDown, kTimeDownId, {762, 72, 790, 98}, "", {}, Condition::InTime,
     Condition::Recording},
    {ControlKind::TimeField, kDelayTime, {794, 72, 952, 98}, "", {}, Condition::InTime,
     Condition::Recording},
    {ControlKind::StepUp, kTimeUpId, {956, 72, 984, 98}, "", {}, Condition::InTime,
     Condition::Recording},
    {ControlKind::StepDown, kNoteDownId, {762, 72, 790, 98}, "", {}, Condition::InNotes},
    {ControlKind::NoteField, kNoteReadoutId, {794, 72, 952, 98}, "", {}, Condition::InNotes},
    {ControlKind::StepUp, kNoteUpId, {956, 72, 984, 98}, "", {}, Condition::InNotes},
    {ControlKind::Kick, kDelayX2, {664, 101, 756, 127}, "DELAY X2"},
    {ControlKind::Kick, kDelayInvert, {762, 101, 852, 127}, "INVERT"},
    {ControlKind::Choice, kNoteViewStyle, {858, 101, 984, 127}, "", kNoteStyles},
    {ControlKind::Choice, kEnforceManualTempo, {664, 130, 790, 156}, "", kTempoSources},
    {ControlKind::TempoReadout, kManualTempo, {796, 130, 904, 156}},
    {ControlKind::Tap, kNoHint, {910, 130, 984, 156}, "TAP"},

    {ControlKind::Knob, kFeedback, {16, 173, 112, 274}, "FEEDBACK"},
    {ControlKind::Knob, kHighCutCutoff, {116, 173, 212, 274}, "HI CUT", {}, Condition::Always,
     Condition::Cutting, kHighCut},
    {ControlKind::Kick, kFeedbackInvert, {20, 277, 108, 303}, "INVERT"},
    {ControlKind::Kick, kHighCut, {120, 277, 208, 303}, "HI CUT"},

    {ControlKind::Knob, kDepth, {230, 173, 322, 274}, "DEPTH"},
    {ControlKind::WaveKnob, kWaveform, {326, 173, 426, 274}, "WAVE"},
    {ControlKind::Knob, kLfoRate, {430, 173, 526, 274}, "RATE", {}, Condition::Free},
    {ControlKind::NoteKnob, kLfoNote, {430, 173, 526, 274}, "RATE", {}, Condition::InSync},
    {ControlKind::CentredKnob, kLfoOffset, {526, 199, 590, 274}, "OFFSET", {}, Condition::Always,
     Condition::InSync},
    {ControlKind::CentredKnob, kManualVco, {592, 173, 688, 274}, "VCO"},
    {ControlKind::LfoLamp, kNoHint, {256, 278, 316, 302}, "LFO"},
    {ControlKind::Kick, kEnvInvert, {326, 277, 426, 303}, "ENV INVERT"},
    {ControlKind::Kick, kLfoSync, {434, 277, 522, 303}, "SYNC"},

    {ControlKind::Knob, kMix, {702, 173, 798, 274}, "MIX"},
    {ControlKind::Knob, kOutput, {798, 173, 894, 274}, "OUTPUT"},
    {ControlKind::ProcessingLamp, kNoHint, {712, 278, 796, 302}, "RUNNING"},
    {ControlKind::SyncLamp, kNoHint, {802, 278, 894, 302}, "HOST SYNC"},
    {ControlKind::LevelSet, kGlobal, {900, 177, 984, 235}, "", kLevelSets},
    {ControlKind::Kick, kBypass, {900, 243, 984, 269}, "BYPASS"},
    {ControlKind::Kick, kProcess, {900, 277, 984, 303}, "PROCESS"},
};

inline constexpr GroupSpec kExtensionGroups[] = {
    {"DIRECTION", {10, 2, 342, 86}},
    {"MODE", {350, 2, 706, 86}},
    {"", {714, 2, 990, 86}},
};

inline constexpr ControlSpec kExtensionControls[] = {
    {ControlKind::Choice, kDirectionMode, {16, 21, 224, 81}, "", kDirections},
    {ControlKind::Loop, kInfRepeat, {232, 8, 336, 81}, "INF REPEAT"},

    {ControlKind::Choice, kProcessingMode, {356, 21, 628, 49}, "", kModes},
    {ControlKind::Caption, kNoHint, {356, 55, 446, 81}, "SENSITIVITY"},
    {ControlKind::Choice, kSensitivity, {450, 55, 628, 81}, "", kInputLevels},
    {ControlKind::CentredKnob, kReferenceLevel, {630, 6, 704, 84}, "REFERENCE"},

    {ControlKind::Knob, kInput, {718, 6, 792, 84}, "INPUT"},
    {ControlKind::Caption, kNoHint, {798, 6, 982, 20}, "HEADROOM"},
    {ControlKind::Headroom, kHeadroomBarId, {798, 21, 982, 47}},
    {ControlKind::Caption, kNoHint, {798, 52, 982, 66}, "GAIN REDUCTION"},
    {ControlKind::Reduction, kNoHint, {798, 69, 982, 79}},
};

// What stays in reach while the extensions are folded.
inline constexpr ControlSpec kFoldedControls[] = {
    {ControlKind::Choice, kDirectionMode, {10, 4, 450, 32}, "", kDirections},
    {ControlKind::Loop, kInfRepeat, {458, 4, 626, 32}, "INF REPEAT"},
    {ControlKind::Choice, kProcessingMode, {634, 4, 990, 32}, "", kModes},
};

}  // namespace Quorvant
