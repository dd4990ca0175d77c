// What the tempo and delay readouts show.
#pragma once

#include "gui/EditorModel.h"

#include <optional>
#include <string>
#include <vector>

namespace Quorvant {

// The tempo in force in BPM.
double tempoInForce(const EditorModel& model);
// The heard delay in milliseconds: as the engine reports it while it runs, else as it would be.
double heardDelay(const EditorModel& model);
// At most five figures, with a decimal below 100 ms.
std::string delayFigures(double milliseconds);

// Delay notes in the style of Note View Style: the name ("1/4 Dotted"), or the plain fraction of a
// whole note ("3/8").
std::string noteText(const EditorModel& model, uint32_t noteParameter);
std::string noteText(const EditorModel& model, uint32_t noteParameter, int index);

// The values of a note list that are stepped through: those of everyday use, or all 60.
bool isEverydayNote(uint32_t noteParameter, int index);
// The place in its list of the note that `rank` others are shorter than, 0 ... 59.
int noteByLength(uint32_t noteParameter, int rank);
// The next longer (+1) or shorter (-1) note from `index`; `index` itself at the end.
int nextNote(uint32_t noteParameter, int index, int direction, bool extended);

// Tempo by taps. A pause of more than two seconds begins anew.
class TapTempo {
  public:
    // `now` in milliseconds of a wrapping counter; BPM from the second tap on.
    std::optional<double> tap(uint32_t now);

  private:
    std::vector<uint32_t> taps;
};

}  // namespace Quorvant
