// The identifiers of the readings that the engine reports to the editor after every block.
#pragma once

#include <cstdint>

namespace Quorvant {

enum OutputIndex : uint32_t {
    kOutHostSync = 42,            // 1 when the host gave a musical position in the last block
    kOutTempo = 43,               // BPM / 10000
    kOutSampleRate = 44,          // Hz / 1000000
    kOutLfoLamp = 45,             // sin(phase) / 2 + 1/2
    kOutHeadroom = 46,            // peak / 2, cleared before the next sample once read
    kOutDelayReadout = 47,        // heard delay in ms / 28800
    kOutDelayActivity = 49,       // square root of the peak, cleared on read
    kOutInfRepeatLamp = 50,       // 1 while lit
    kOutFirstGainReduction = 51,  // 1 - the lower of the two channels' gain factors
    kOutSecondGainReduction = 52,
    kOutProcessingActivity = 53,  // 1 while blocks arrive, nothing for 250 ms, then 1e-15
    kOutSideChainConnected = 68,
    kOutSideChainPeakLeft = 69,  // cleared on read
    kOutSideChainPeakRight = 70,
};

}  // namespace Quorvant
