// The index of every parameter. The index is also the parameter's identifier towards hosts, the
// preset record and the editor's control tags: entries are only ever appended.
#pragma once

#include <cstdint>

namespace Quorvant {

enum ParameterIndex : uint32_t {
    kProcess = 0,
    kProcessingMode,
    kSensitivity,
    kReferenceLevel,
    kInput,
    kOutput,
    kMix,
    kBypass,
    kGlobal,
    kGlobalSensitivity,
    kGlobalReferenceLevel,
    kGlobalInput,
    kGlobalOutput,
    kGlobalMix,
    kGlobalBypass,
    kDelayTime,
    kDelayClockMode,
    kDelayNote,
    kDelayX2,
    kDelayInvert,
    kDirectionMode,
    kFeedback,
    kFeedbackInvert,
    kHighCut,
    kHighCutCutoff,
    kInfRepeat,
    kManualVco,
    kDepth,
    kEnvInvert,
    kWaveform,
    kLfoRate,
    kLfoSync,
    kLfoNote,
    kLfoOffset,
    kEnforceManualTempo,
    kManualTempo,
    kSideChainIntExt,
    kSideChainMonitor,
    kEmptySlot,
    kNoteViewStyle,
    kShowHideExtensions,
    kDefaultExtensionsPanel,

    kParameterCount,  // 42

    kStoredParameterCount = 38,  // 0 to 37 make up the component state and the preset record

    // Identifiers above the table. 42 to 114 are what the engine reports (OutputIndex.h).
    kResetCommand = 79,
    kEngineOption = 113,
    kLastOutputIndex = 114,
    kSuspend = 115,
    kHeartbeat = 159,
    kProgram = 160,  // the factory bank as the host's program list; the processor ignores it
};

enum class ProcessingMode : int { Clean, Legacy, Lims, Full };
enum class DirectionMode : int { Forward, Backward, Reverse, Bounce };

}  // namespace Quorvant
