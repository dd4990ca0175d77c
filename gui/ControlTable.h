// Where every control of the panels stands, what it offers and what its look hangs on, as data.
#pragma once

#include "gui/Hints.h"
#include "gui/controls/Choice.h"
#include "params/ParameterIndex.h"

#include <cstdint>
#include <initializer_list>
#include <span>

namespace Quorvant {

enum class ControlKind : uint8_t {
    Knob,         // an amount
    CentredKnob,  // goes both ways
    CutKnob,      // an amount whose switch is turned on with it
    WaveKnob,
    NoteKnob,
    Value,  // an amount as a figure
    Kick,
    Loop,
    Power,
    Choice,
    LevelSet,  // Global
    Stage,
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
    Extensions,
    Caption,
};

// In the editor's unzoomed pixels.
struct Place {
    double left, top, right, bottom;
};

// A state of a switch, or none.
struct When {
    enum class State : uint8_t { Never, On, Off };
    State state = State::Never;
    uint32_t parameter = 0;
};
constexpr When on(uint32_t parameter) {
    return {When::State::On, parameter};
}
constexpr When off(uint32_t parameter) {
    return {When::State::Off, parameter};
}

using ParameterMask = uint64_t;
constexpr ParameterMask maskOf(std::initializer_list<uint32_t> parameters) {
    ParameterMask mask = 0;
    for (const uint32_t index : parameters) mask |= ParameterMask{1} << index;
    return mask;
}
inline constexpr ParameterMask kAnyParameter = ~ParameterMask{0};

struct ControlSpec {
    ControlKind kind;
    uint32_t id;  // parameter index, or the id of the hint
    Place place;
    const char* label = "";
    std::span<const Choice> choices = {};
    When hidden = {};          // another control stands in its place
    When unused = {};          // it has no effect, but can still be set
    ParameterMask shows = {};  // besides its own, the parameters that its look hangs on
};

inline constexpr uint32_t kNoHint = 255;

inline constexpr Choice kLevelSets[] = {{"PRESET"}, {"GLOBAL"}};
inline constexpr Choice kModes[] = {{"CLEAN"}, {"LEGACY"}, {"LIMS"}, {"FULL"}};
inline constexpr Choice kDirections[] = {{"FORWARD", Glyph::Forward},
                                         {"BACKWARD", Glyph::Backward},
                                         {"REVERSE", Glyph::Reverse},
                                         {"BOUNCE", Glyph::Bounce}};
inline constexpr Choice kSensitivities[] = {{"-10 dBV"}, {"+4 dBu"}};
inline constexpr Choice kClocks[] = {{"MS"}, {"NOTE"}};
inline constexpr Choice kTempoSources[] = {{"HOST"}, {"MANUAL"}};
inline constexpr Choice kNoteStyles[] = {{"1/4 dot"}, {"3/8"}};

// The stage and the time share the front with two groups of knobs each below them.
inline constexpr Place kFrontGroups[] = {
    {666, 56, 990, 224}, {10, 232, 218, 368}, {226, 232, 658, 368}, {666, 232, 990, 368}};

// In reading order, which is that of the Tab key.
inline constexpr ControlSpec kFrontControls[] = {
    {ControlKind::ProcessingLamp, kNoHint, {670, 40, 754, 56}, "RUNNING"},
    {ControlKind::SyncLamp, kNoHint, {770, 40, 862, 56}, "HOST SYNC"},
    {ControlKind::LfoLamp, kNoHint, {942, 40, 990, 56}, "LFO"},

    {ControlKind::Stage, kNoHint, {10, 56, 658, 224}},

    {ControlKind::TimeReadout, kTimeReadoutId, {674, 64, 906, 144}, .shows = kAnyParameter},
    {ControlKind::Kick, kDelayX2, {914, 64, 982, 102}, "X2"},
    {ControlKind::Kick, kDelayInvert, {914, 106, 982, 144}, "INVERT"},
    {ControlKind::Choice, kDelayClockMode, {674, 152, 792, 180}, "", kClocks,
     .unused = on(kInfRepeat)},
    {ControlKind::StepDown, kTimeDownId, {800, 152, 828, 180}, "", {}, on(kDelayClockMode),
     on(kInfRepeat)},
    {ControlKind::Value, kDelayTime, {832, 152, 950, 180}, "", {}, on(kDelayClockMode),
     on(kInfRepeat)},
    {ControlKind::StepUp, kTimeUpId, {954, 152, 982, 180}, "", {}, on(kDelayClockMode),
     on(kInfRepeat)},
    {ControlKind::StepDown, kNoteDownId, {800, 152, 828, 180}, "", {}, off(kDelayClockMode)},
    {ControlKind::NoteReadout, kNoteReadoutId, {832, 152, 950, 180}, "", {}, off(kDelayClockMode),
     .shows = maskOf({kNoteViewStyle})},
    {ControlKind::StepUp, kNoteUpId, {954, 152, 982, 180}, "", {}, off(kDelayClockMode)},
    {ControlKind::Choice, kEnforceManualTempo, {674, 188, 792, 216}, "", kTempoSources},
    {ControlKind::TempoReadout, kManualTempo, {800, 188, 906, 216},
     .shows = maskOf({kEnforceManualTempo})},
    {ControlKind::Tap, kNoHint, {914, 188, 982, 216}, "TAP"},

    {ControlKind::Knob, kFeedback, {14, 236, 110, 340}, "FEEDBACK"},
    {ControlKind::CutKnob, kHighCutCutoff, {118, 236, 214, 340}, "HI CUT", .unused = off(kHighCut)},
    {ControlKind::Kick, kFeedbackInvert, {20, 340, 104, 364}, "INVERT"},
    {ControlKind::Kick, kHighCut, {124, 340, 208, 364}, "ON"},

    {ControlKind::Knob, kDepth, {232, 236, 328, 340}, "DEPTH"},
    {ControlKind::WaveKnob, kWaveform, {340, 236, 436, 340}, "WAVE"},
    {ControlKind::Knob, kLfoRate, {448, 236, 544, 340}, "RATE", {}, on(kLfoSync)},
    {ControlKind::NoteKnob, kLfoNote, {448, 236, 544, 340}, "RATE", {}, off(kLfoSync),
     .shows = maskOf({kNoteViewStyle})},
    {ControlKind::CentredKnob, kManualVco, {556, 236, 652, 340}, "VCO"},
    {ControlKind::Kick, kEnvInvert, {338, 340, 426, 364}, "ENV INVERT"},
    {ControlKind::Kick, kLfoSync, {434, 340, 482, 364}, "SYNC"},
    {ControlKind::Value, kLfoOffset, {486, 340, 574, 364}, "OFFSET", .unused = off(kLfoSync)},

    {ControlKind::Knob, kInput, {672, 236, 768, 340}, "INPUT"},
    {ControlKind::Knob, kMix, {780, 236, 876, 340}, "MIX"},
    {ControlKind::Knob, kOutput, {888, 236, 984, 340}, "OUTPUT"},
    {ControlKind::Headroom, kHeadroomBarId, {674, 340, 766, 364}},
    {ControlKind::LevelSet, kGlobal, {772, 340, 884, 364}, "", kLevelSets},
    {ControlKind::Reduction, kNoHint, {890, 340, 982, 364}, "REDUCTION"},
};

inline constexpr Place kExtensionGroups[] = {
    {10, 376, 326, 454}, {334, 376, 658, 454}, {666, 376, 990, 454}};

inline constexpr ControlSpec kExtensionControls[] = {
    {ControlKind::Choice, kDirectionMode, {18, 384, 218, 446}, "", kDirections},
    {ControlKind::Loop, kInfRepeat, {226, 384, 318, 446}, "INF REPEAT"},

    {ControlKind::Caption, kNoHint, {342, 384, 416, 412}, "MODE"},
    {ControlKind::Choice, kProcessingMode, {418, 384, 650, 412}, "", kModes},
    {ControlKind::Caption, kNoHint, {342, 418, 416, 446}, "REFERENCE"},
    {ControlKind::Value, kReferenceLevel, {418, 418, 492, 446}},
    {ControlKind::Choice, kSensitivity, {498, 418, 650, 446}, "", kSensitivities},

    {ControlKind::Kick, kBypass, {674, 384, 774, 412}, "BYPASS"},
    {ControlKind::Power, kProcess, {778, 384, 878, 412}, "PROCESS"},
    {ControlKind::Extensions, kShowExtensionsId, {882, 384, 982, 412}},
    {ControlKind::Caption, kNoHint, {674, 418, 774, 446}, "NOTES AS"},
    {ControlKind::Choice, kNoteViewStyle, {778, 418, 982, 446}, "", kNoteStyles},
};

// What stays of them while they are folded.
inline constexpr Place kFoldedGroups[] = {{10, 376, 658, 420}, {666, 376, 990, 420}};

inline constexpr ControlSpec kFoldedControls[] = {
    {ControlKind::Loop, kInfRepeat, {18, 384, 650, 412}, "INF REPEAT"},
    {ControlKind::Kick, kBypass, {674, 384, 774, 412}, "BYPASS"},
    {ControlKind::Power, kProcess, {778, 384, 878, 412}, "PROCESS"},
    {ControlKind::Extensions, kShowExtensionsId, {882, 384, 982, 412}},
};

}  // namespace Quorvant
