#include "gui/stage/StageModel.h"

#include "dsp/OutputIndex.h"
#include "gui/Tempo.h"
#include "params/GlobalSet.h"
#include "params/NoteTable.h"
#include "params/ParameterTable.h"
#include "params/ParameterText.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Quorvant {
namespace {

constexpr double kDarkest = -42.0;   // dB
constexpr double kFastestLfo = 6.0;  // Hz that the eye, and thirty looks a second, can follow

constexpr uint32_t kShown[] = {kProcess,       kBypass,         kGlobal,
                               kGlobalBypass,  kDelayTime,      kDelayClockMode,
                               kDelayNote,     kDelayX2,        kDirectionMode,
                               kFeedback,      kFeedbackInvert, kHighCut,
                               kHighCutCutoff, kInfRepeat,      kManualVco,
                               kDepth,         kWaveform,       kEnforceManualTempo,
                               kManualTempo,   kNoteViewStyle};

}  // namespace

StageModel::StageModel(const EditorModel& model) : plugin(model) {
    refresh(false);
}

bool StageModel::shows(uint32_t index) {
    return std::ranges::find(kShown, index) != std::end(kShown);
}

double StageModel::setDelayMs() const {
    return isSynced ? noteMs(delayNote(plugin.value(kDelayNote)), tempoInForce(plugin))
                    : delayTimeMs(plugin.value(kDelayTime));
}

// A loop keeps the length that it had when it was caught, whatever is set meanwhile.
EchoCourse StageModel::wantedCourse() {
    const auto on = [this](uint32_t index) { return switchState(plugin.value(index)); };
    EchoCourse course;
    course.looping = on(kInfRepeat);
    const bool held = course.looping && shownCourse.looping;
    if (!held) isSynced = on(kDelayClockMode);
    const double x2 = x2Factor(plugin.value(kDelayX2));
    course.clockFactor = vcoRatio(plugin.value(kManualVco), plugin.value(kDepth)) * x2;
    course.delayMs = held ? heldMs.value_or(shownCourse.delayMs) : setDelayMs();
    if (!course.looping) heldMs.reset();
    course.direction = static_cast<DirectionMode>(listState(plugin.value(kDirectionMode), 4));
    course.doubled = x2 > 1.0;
    // What Lims and Full add to it at its very end would not be seen.
    course.feedback = plugin.value(kFeedback);
    course.inverts = on(kFeedbackInvert);
    course.highCutHz = on(kHighCut) ? highCutHz(plugin.value(kHighCutCutoff)) : 0.0;
    return course;
}

bool StageModel::isStale() const {
    if (heldMs && *heldMs != shownCourse.delayMs) return true;
    return isSynced && !shownCourse.looping && 60000.0 / tempoInForce(plugin) != shownAxis.beatMs;
}

bool StageModel::refresh(bool keepAxis) {
    const EchoCourse course = wantedCourse();
    const double beatMs = isSynced ? 60000.0 / tempoInForce(plugin) : 0.0;
    bool changed =
        fresh || course != shownCourse || beatMs != shownAxis.beatMs || keepAxis != axisIsKept;
    if (changed) {
        shownCourse = course;
        if (!keepAxis || beatMs != shownAxis.beatMs)
            shownAxis = axisFor(echoInterval(course), beatMs);
        picture.compute(course, shownAxis.lengthMs);
    }
    axisIsKept = keepAxis;
    const ClockCurve curve{plugin.value(kWaveform), plugin.value(kDepth)};
    changed = changed || curve != shownCurve;
    shownCurve = curve;
    const bool bypassed = switchState(plugin.value(kGlobal) >= 0.5 ? plugin.value(kGlobalBypass)
                                                                   : plugin.value(kBypass));
    const bool sounding = switchState(plugin.value(kProcess)) && !bypassed;
    std::string now = textOfSettings();
    changed = changed || sounding != isSounding || now != text;
    isSounding = sounding;
    text = std::move(now);
    fresh = false;
    return changed;
}

std::string StageModel::textOfSettings() const {
    const auto number = [this](uint32_t index) {
        return parameterText(static_cast<int32_t>(index), plugin.value(index));
    };
    std::string line;
    if (shownCourse.looping)
        line = "holds " + delayFigures(shownCourse.delayMs) + " ms";
    else
        line = isSynced ? noteText(plugin, kDelayNote) : number(kDelayTime) + " ms";
    if (shownCourse.doubled) line += " X2";
    if (shownCourse.looping) return line;
    line += " \u00b7 feedback " + number(kFeedback);
    if (shownCourse.inverts) line += " inverted";
    if (shownCourse.highCutHz > 0.0)
        line += " \u00b7 hi cut " +
                fixedText(plainFromNormalised(kHighCutCutoff, plugin.value(kHighCutCutoff)), 1) +
                " kHz";
    return line;
}

void StageModel::idle(uint32_t now) {
    const uint32_t elapsed = std::min<uint32_t>(now - lastIdle, 1000);
    lastIdle = now;
    // The peak of the last block: a sound that falls between two looks is missed.
    history.note(now, plugin.reading(kOutHeadroom) * 2.0);
    followLoop(elapsed);
    followClock();
}

double StageModel::loopMs() const {
    const bool round = shownCourse.direction == DirectionMode::Backward;
    return round ? echoInterval(shownCourse) : shownCourse.delayMs * shownCourse.clockFactor;
}

// Begins where the engine's own lamp tells that the loop has engaged.
void StageModel::followLoop(uint32_t elapsed) {
    if (!shownCourse.looping || !switchState(plugin.reading(kOutInfRepeatLamp)) ||
        loopMs() <= 0.0) {
        position = -1.0;
    } else if (position < 0.0) {
        position = 0.0;
    } else {
        const double gone = position + elapsed * restingClock() / (bendNow * loopMs());
        position = gone - std::floor(gone);
    }
}

void StageModel::followClock() {
    const double rest = restingClock(), x2 = shownCourse.clockFactor / rest;
    const bool running = plugin.reading(kOutProcessingActivity) > 0.5;
    const double heard = plugin.reading(kOutDelayReadout) * kLongestHeardDelayMs;
    const bool told = running && shownCourse.delayMs > 0.01 && heard > 1e-3;
    // Nothing but the delay's length is left to differ: the loop was caught before the editor knew.
    const double delayMs = heard / shownCourse.clockFactor;
    if (told && shownCourse.looping && !shownCurve.moves() &&
        std::abs(delayMs / shownCourse.delayMs - 1.0) > 0.002)
        heldMs = std::min(delayMs, kLongestDelayMs);
    bendNow = told ? heard / (shownCourse.delayMs * x2) : rest;

    const double hz = switchState(plugin.value(kLfoSync))
                          ? noteHz(lfoNote(plugin.value(kLfoNote)), tempoInForce(plugin))
                          : lfoRateHz(plugin.value(kLfoRate));
    dotNow.shown = running && shownCurve.moves() && (!shownCurve.hasLfo() || hz <= kFastestLfo);
    dotNow.phase =
        shownCurve.hasLfo() ? phase.follow(plugin.reading(kOutLfoLamp) * 2.0 - 1.0) : 0.0;
    dotNow.height = told ? shownCurve.placeOf(bendNow, rest) : shownCurve.at(dotNow.phase);
}

double StageModel::glowOf(double ms, double level) const {
    const double heard = history.before(ms) * level;
    return std::clamp(1.0 - 20.0 * std::log10(std::max(heard, 1e-6)) / kDarkest, 0.0, 1.0);
}

uint32_t StageModel::timeParameter() const {
    return isSynced ? kDelayNote : kDelayTime;
}

double StageModel::valueForDelay(double ms, bool fine) const {
    if (!isSynced) return std::clamp(delayTimeValue(ms), 0.0, 1.0);
    const double tempo = tempoInForce(plugin);
    int best = 0;
    double least = INFINITY;
    for (int i = 0; i < kNoteCount; ++i) {
        if (!fine && !isEverydayNote(kDelayNote, i)) continue;
        const double length = noteMs(kDelayNotes[static_cast<std::size_t>(i)], tempo);
        const double off = std::abs(length - ms);
        if (off < least) {
            least = off;
            best = i;
        }
    }
    return listValue(best, kNoteCount);
}

double StageModel::steppedTime(int direction, bool fine) const {
    const double value = plugin.value(timeParameter());
    if (isSynced) {
        const int note = listState(value, kNoteCount);
        return listValue(nextNote(kDelayNote, note, direction, fine), kNoteCount);
    }
    return std::clamp(value + direction * delayTimeValue(fine ? 0.1 : 1.0), 0.0, 1.0);
}

double StageModel::feedbackFor(const Echo& echo, double level) const {
    return picture.feedbackFor(shownCourse, echo.pass, level);
}

}  // namespace Quorvant
