// mingw's DirectWrite header calls one overload GetMatchingFonts_; everybody else's does not.
#pragma once

#define GetMatchingFonts_ GetMatchingFonts
#include_next <dwrite_3.h>
#undef GetMatchingFonts_
