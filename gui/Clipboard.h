// The desktop's clipboard for text fields. Windows' own fields have it anyway, and nothing here
// does anything there.
#pragma once

#include <functional>

namespace Quorvant {

// Held by every open editor: with the last one ends what was copied, as with any program. Main
// thread.
class ClipboardUse {
  public:
    ClipboardUse();
    ~ClipboardUse();
    ClipboardUse(const ClipboardUse&) = delete;
    ClipboardUse& operator=(const ClipboardUse&) = delete;
};

// Under X11 another program has the text and takes its time to hand it over; that may even be the
// host, which can't while it waits for us. True: `then` is called once VSTGUI's clipboard holds the
// text. False: it holds all that there is.
bool fetchClipboard(std::function<void()> then);

}  // namespace Quorvant
