// What the stage shows, worked out of the plug-in's parameters and readings. Knows no view.
#pragma once

#include "gui/EditorModel.h"
#include "gui/stage/ClockCurve.h"
#include "gui/stage/EchoPicture.h"
#include "gui/stage/LevelHistory.h"
#include "gui/stage/TimeAxis.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Quorvant {

// Main thread.
class StageModel {
  public:
    // The plug-in outlives this.
    explicit StageModel(const EditorModel& model);

    // Whether anything but the level of echoes and the readings hangs on the parameter.
    static bool shows(uint32_t index);
    // Takes over parameters and tempo; the axis stays as it is where `keepAxis` says so. True where
    // the picture has changed.
    bool refresh(bool keepAxis);
    // Whether the picture asks for a refresh though no parameter has changed.
    bool isStale() const;
    // Takes over the readings; `now` in milliseconds of a wrapping counter.
    void idle(uint32_t now);

    const EchoCourse& course() const { return shownCourse; }
    const std::vector<Echo>& echoes() const { return picture.echoes(); }
    const TimeAxis& axis() const { return shownAxis; }
    const ClockCurve& curve() const { return shownCurve; }
    const std::string& settingsText() const { return text; }
    bool synced() const { return isSynced; }
    // Whether what is heard differs from the input at all: neither bypassed nor switched off.
    bool sounds() const { return isSounding; }

    // How brightly an echo, or the click itself (0 ms, level 1), glows: 0 ... 1.
    double glowOf(double ms, double level) const;
    // The clock's factor without X2 as it is now.
    double bend() const { return bendNow; }
    // Where the modulation is: the phase in radians and the place in the curve's height, -1 ... 1.
    // It shows while the plug-in runs and the LFO is slow enough to be followed.
    struct Dot {
        bool shown = false;
        double phase = 0.0, height = 0.0;
    };
    Dot dot() const { return dotNow; }
    // How far the loop has been played, 0 ... 1; below 0 while nothing loops.
    double loopPosition() const { return position; }
    double loopMs() const;

    // The value of timeParameter() that a delay asks for: the nearest note of everyday use, with
    // `fine` of all, or the time itself.
    uint32_t timeParameter() const;
    double valueForDelay(double ms, bool fine) const;
    // The value one step longer (1) or shorter (-1).
    double steppedTime(int direction, bool fine) const;
    // The feedback that gives the echo that level.
    double feedbackFor(const Echo& echo, double level) const;
    // The most that the echo can have, with the feedback at its end.
    double highestLevel(const Echo& echo) const {
        return firstLevel(shownCourse) * picture.cutPeak(echo.pass);
    }

  private:
    EchoCourse wantedCourse();
    double setDelayMs() const;
    std::string textOfSettings() const;
    void followLoop(uint32_t elapsed);
    void followClock();
    // Without X2 and modulation.
    double restingClock() const {
        return shownCourse.clockFactor / (shownCourse.doubled ? 2.0 : 1.0);
    }

    const EditorModel& plugin;
    EchoPicture picture;
    EchoCourse shownCourse;
    std::optional<double> heldMs;  // what the engine holds, where that is not what was set
    TimeAxis shownAxis;
    ClockCurve shownCurve;
    std::string text;
    bool isSynced = false, isSounding = true, fresh = true, axisIsKept = false;

    LevelHistory history;
    PhaseFollower phase;
    Dot dotNow;
    double bendNow = 1.0;
    double position = -1.0;
    uint32_t lastIdle = 0;
};

}  // namespace Quorvant
