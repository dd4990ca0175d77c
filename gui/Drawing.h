// The few shapes that the editor is drawn with. Curves are Bézier curves throughout, since the
// arcs of some Direct2D implementations are missing or wrong.
#pragma once

#include "gui/Theme.h"

#include <vstgui/lib/cdrawcontext.h>
#include <vstgui/lib/cgraphicspath.h>

#include <string_view>

namespace Quorvant {

using VSTGUI::CColor;
using VSTGUI::CDrawContext;
using VSTGUI::CPoint;
using VSTGUI::CRect;
using Path = VSTGUI::SharedPointer<VSTGUI::CGraphicsPath>;

// Angles in degrees, clockwise from twelve o'clock.
Path arcPath(CDrawContext& context, CPoint centre, double radius, double from, double to);
Path circlePath(CDrawContext& context, CPoint centre, double radius);
Path roundRectPath(CDrawContext& context, const CRect& rect, double radius);
CPoint onCircle(CPoint centre, double radius, double angle);

void fillRound(CDrawContext& context, const CRect& rect, double radius, CColor colour);
void strokeRound(CDrawContext& context, const CRect& rect, double radius, CColor colour,
                 double width = 1.0);
// From one height to another.
void fillGradient(CDrawContext& context, VSTGUI::CGraphicsPath& path, CColor top, CColor bottom,
                  double from, double to);
void fillRoundGradient(CDrawContext& context, const CRect& rect, double radius, CColor top,
                       CColor bottom);
void strokePath(CDrawContext& context, VSTGUI::CGraphicsPath& path, CColor colour, double width);
void fillPath(CDrawContext& context, VSTGUI::CGraphicsPath& path, CColor colour);
void line(CDrawContext& context, CPoint from, CPoint to, CColor colour, double width = 1.0);
void polygon(CDrawContext& context, std::initializer_list<CPoint> points, CColor colour);
// Tells that a click opens a list.
void listArrow(CDrawContext& context, CPoint centre, CColor colour);
// A small light with its glow; `level` 0 ... 1.
void lamp(CDrawContext& context, CPoint centre, double radius, CColor colour, double level);
// What controls that belong together stand on.
void drawGroup(CDrawContext& context, const CRect& rect);
// A sunken black window.
void glass(CDrawContext& context, const CRect& rect);
// What menus and questions are written on, with its shadow.
void drawSheet(CDrawContext& context, const CRect& rect);
// The rectangle moved inside, then cut to what there is.
CRect heldWithin(CRect rect, const CRect& bounds);

enum class Align { Left, Centre, Right };
// One line in the middle of the rectangle's height. What is too wide is drawn in smaller type, and
// where that would be too small to read it ends in an ellipsis.
void drawText(CDrawContext& context, std::string_view text, const CRect& rect, Theme::Face face,
              CColor colour, Align align = Align::Centre);
// Whether drawText would not show all of it in so many pixels.
bool isCut(std::string_view text, double width, Theme::Face face);
// As much as drawText needs to show the text at its full size.
double textWidth(std::string_view text, Theme::Face face);

// Seven-segment figures, right-aligned in the rectangle: digits, '-', ' ' and '.'; the unlit
// segments of `places` digits shine through.
void drawFigures(CDrawContext& context, std::string_view text, const CRect& rect, int places,
                 CColor lit, CColor ghost);

CColor mix(CColor a, CColor b, double share);
CColor withAlpha(CColor colour, double alpha);

}  // namespace Quorvant
