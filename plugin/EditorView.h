// The editor as hosts see it: a view that they open in a window of theirs.
#pragma once

namespace Steinberg {
class IPlugView;
}

namespace Quorvant {

class QVXVST3ControllerWrapper;

// A new view with one reference; the controller outlives it. Main thread.
Steinberg::IPlugView* createEditorView(QVXVST3ControllerWrapper& controller);

}  // namespace Quorvant
