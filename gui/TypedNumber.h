// The one parser of numbers that a user types into the editor.
#pragma once

namespace Quorvant {

// Replaces every occurrence of `pattern` in `text`, from left to right without overlap, and tells
// how many there were. The replacement must not be longer than the pattern; an empty pattern, or a
// longer replacement, changes nothing.
int replaceAll(char* text, const char* pattern, const char* replacement);

// Reads a number as people type it: a comma or a point as the decimal mark, "k" (thousands) or "m"
// (thousandths) in its place, stray plus signs and blanks. The text is edited in place. False when
// it holds no number; `value` is then not written. An empty text is 0.
bool parseTypedNumber(char* text, double& value);

}  // namespace Quorvant
