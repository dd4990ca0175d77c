// The host's transport as the engine sees it: filled by the plug-in shell before every block.
#pragma once

namespace Quorvant {

// One block's transport. Written and read on the audio thread only.
struct HostTransport {
    bool tempoValid = false;
    double tempoBpm = 120.0;  // quarter notes per minute
    bool positionValid = false;
    double positionBeats = 0.0;  // quarter notes since the song's start, may be negative
    bool playing = false;
};

// Given to the engine at construction, outlives it.
class QVXHostLink {
  public:
    virtual ~QVXHostLink() = default;
    // The transport at the first frame of the block being processed. Audio thread.
    virtual HostTransport transport() const = 0;
};

}  // namespace Quorvant
