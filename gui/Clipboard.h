// The desktop's clipboard for text fields. Windows' own fields have it anyway, and nothing here
// does anything there.
#pragma once

#include <functional>
#include <string>

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

// For whatever is no text field, on every system. `take` gets the clipboard's text, an empty one
// where there is none, now or later or, where another wish comes first, never. False: the clipboard
// can't be reached.
bool copyToClipboard(const std::string& text);
void takeFromClipboard(std::function<void(std::string text)> take);

}  // namespace Quorvant
