#include "gui/Tempo.h"

#include "dsp/OutputIndex.h"
#include "params/NoteTable.h"
#include "params/ParameterIndex.h"
#include "params/ParameterLaws.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string_view>
#include <system_error>

namespace Quorvant {
namespace {

constexpr uint32_t kTapPause = 2000;  // ms
constexpr std::size_t kMostTaps = 5;

const NoteValue& noteAt(uint32_t noteParameter, int index) {
    const NoteList& list = noteParameter == kLfoNote ? kLfoNotes : kDelayNotes;
    return list[static_cast<std::size_t>(std::clamp(index, 0, kNoteCount - 1))];
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

std::string fixedText(double number, int decimals) {
    char digits[64];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), number,
                                   std::chars_format::fixed, decimals);
    return end.ec == std::errc() ? std::string(digits, end.ptr) : std::string();
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

int nextNote(uint32_t noteParameter, int index, int direction, bool extended) {
    // The LFO's list falls.
    const int step = noteParameter == kLfoNote ? -direction : direction;
    for (int next = index + step; next >= 0 && next < kNoteCount; next += step) {
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
