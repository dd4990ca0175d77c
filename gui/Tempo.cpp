#include "gui/Tempo.h"

#include "dsp/OutputIndex.h"
#include "params/NoteTable.h"
#include "params/ParameterIndex.h"
#include "params/ParameterLaws.h"
#include "params/ParameterTable.h"
#include "params/ParameterText.h"

#include <algorithm>
#include <string_view>

namespace Quorvant {
namespace {

constexpr uint32_t kTapPause = 2000;  // ms
constexpr std::size_t kMostTaps = 5;

const NoteValue& noteAt(uint32_t noteParameter, int index) {
    return (*kParameters[noteParameter].notes)[static_cast<std::size_t>(index)];
}

}  // namespace

double tempoInForce(const EditorModel& model) {
    const double reported = model.reading(kOutTempo) * 10000.0;
    if (reported < kLowestTempo || switchState(model.value(kEnforceManualTempo))) {
        return manualTempoBpm(model.value(kManualTempo));
    }
    return reported;
}

double heardDelay(const EditorModel& model) {
    const double reported = model.reading(kOutDelayReadout) * kLongestHeardDelayMs;
    if (model.reading(kOutProcessingActivity) > 0.5 && reported > 1e-9) return reported;
    const double set = switchState(model.value(kDelayClockMode))
                           ? noteMs(delayNote(model.value(kDelayNote)), tempoInForce(model))
                           : delayTimeMs(model.value(kDelayTime));
    return set * vcoRatio(model.value(kManualVco), model.value(kDepth)) *
           x2Factor(model.value(kDelayX2));
}

std::string delayFigures(double milliseconds) {
    return fixedText(std::clamp(milliseconds, 0.0, 99999.0), milliseconds < 99.95 ? 1 : 0);
}

std::string noteText(const EditorModel& model, uint32_t noteParameter, int index) {
    const NoteValue& note = noteAt(noteParameter, index);
    if (!switchState(model.value(kNoteViewStyle))) return note.name;
    return std::to_string(note.numerator) + "/" + std::to_string(note.denominator);
}

std::string noteText(const EditorModel& model, uint32_t noteParameter) {
    return noteText(model, noteParameter, listState(model.value(noteParameter), kNoteCount));
}

bool isEverydayNote(uint32_t noteParameter, int index) {
    const NoteValue& note = noteAt(noteParameter, index);
    const std::string_view name = note.name;
    return name.starts_with("1/") || name == "2/1" || name == "3/1" || name == "4/1" ||
           name == "8/1";
}

int noteByLength(uint32_t noteParameter, int rank) {
    // A list rises or falls: its first note is the shortest one or the longest.
    const NoteValue& first = noteAt(noteParameter, 0);
    const NoteValue& last = noteAt(noteParameter, kNoteCount - 1);
    const bool rises = first.numerator * last.denominator < last.numerator * first.denominator;
    return rises ? rank : kNoteCount - 1 - rank;
}

int nextNote(uint32_t noteParameter, int index, int direction, bool extended) {
    // What leads from ranks to places leads back, too.
    int rank = noteByLength(noteParameter, index) + direction;
    for (; rank >= 0 && rank < kNoteCount; rank += direction) {
        const int next = noteByLength(noteParameter, rank);
        if (extended || isEverydayNote(noteParameter, next)) return next;
    }
    return index;
}

std::optional<double> TapTempo::tap(uint32_t now) {
    if (!taps.empty() && now - taps.back() > kTapPause) taps.clear();
    taps.push_back(now);
    if (taps.size() > kMostTaps) taps.erase(taps.begin());
    if (taps.size() < 2 || now == taps.front()) return std::nullopt;
    return 60000.0 * static_cast<double>(taps.size() - 1) / static_cast<double>(now - taps.front());
}

}  // namespace Quorvant
