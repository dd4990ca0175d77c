#include "gui/Drawing.h"

#include "platform/Utf8Path.h"

#include <vstgui/lib/cgradient.h>
#include <vstgui/lib/platform/iplatformfont.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <string>

namespace Quorvant {
namespace {

using VSTGUI::CGraphicsPath;

constexpr double kCircleControl = 0.5522847498307936;  // of a quarter circle's Bézier curve

// Shapes keep their exact places instead of being moved to whole pixels.
constexpr VSTGUI::CDrawMode kDrawMode(VSTGUI::kAntiAliasing | VSTGUI::kNonIntegralMode);

double radians(double degrees) {
    return degrees * std::numbers::pi / 180.0;
}

Path newPath(CDrawContext& context) {
    return VSTGUI::owned(context.createGraphicsPath());
}

// Tangent of the clockwise circle at an angle.
CPoint tangent(double angle) {
    return {std::cos(radians(angle)), std::sin(radians(angle))};
}

void addArc(CGraphicsPath& path, CPoint centre, double radius, double from, double to) {
    const int pieces = std::max(1, static_cast<int>(std::ceil(std::fabs(to - from) / 45.0)));
    const double step = (to - from) / pieces;
    const double reach = 4.0 / 3.0 * std::tan(radians(step) / 4.0) * radius;
    for (int i = 0; i < pieces; ++i) {
        const double a = from + i * step;
        const double b = a + step;
        const CPoint start = onCircle(centre, radius, a);
        const CPoint end = onCircle(centre, radius, b);
        const CPoint ta = tangent(a);
        const CPoint tb = tangent(b);
        path.addBezierCurve(CPoint(start.x + ta.x * reach, start.y + ta.y * reach),
                            CPoint(end.x - tb.x * reach, end.y - tb.y * reach), end);
    }
}

void addPolygon(CGraphicsPath& path, std::initializer_list<CPoint> points) {
    path.beginSubpath(*points.begin());
    for (const CPoint* point = points.begin() + 1; point != points.end(); ++point) {
        path.addLine(*point);
    }
    path.closeSubpath();
}

}  // namespace

CPoint onCircle(CPoint centre, double radius, double angle) {
    return {centre.x + std::sin(radians(angle)) * radius,
            centre.y - std::cos(radians(angle)) * radius};
}

Path arcPath(CDrawContext& context, CPoint centre, double radius, double from, double to) {
    Path path = newPath(context);
    path->beginSubpath(onCircle(centre, radius, from));
    addArc(*path, centre, radius, from, to);
    return path;
}

Path circlePath(CDrawContext& context, CPoint centre, double radius) {
    Path path = arcPath(context, centre, radius, 0.0, 360.0);
    path->closeSubpath();
    return path;
}

Path roundRectPath(CDrawContext& context, const CRect& r, double radius) {
    radius = std::min({radius, r.getWidth() / 2.0, r.getHeight() / 2.0});
    const double k = radius * (1.0 - kCircleControl);
    Path path = newPath(context);
    path->beginSubpath(CPoint(r.left + radius, r.top));
    path->addLine(CPoint(r.right - radius, r.top));
    path->addBezierCurve(r.right - k, r.top, r.right, r.top + k, r.right, r.top + radius);
    path->addLine(CPoint(r.right, r.bottom - radius));
    path->addBezierCurve(r.right, r.bottom - k, r.right - k, r.bottom, r.right - radius, r.bottom);
    path->addLine(CPoint(r.left + radius, r.bottom));
    path->addBezierCurve(r.left + k, r.bottom, r.left, r.bottom - k, r.left, r.bottom - radius);
    path->addLine(CPoint(r.left, r.top + radius));
    path->addBezierCurve(r.left, r.top + k, r.left + k, r.top, r.left + radius, r.top);
    path->closeSubpath();
    return path;
}

void fillPath(CDrawContext& context, CGraphicsPath& path, CColor colour) {
    context.setDrawMode(kDrawMode);
    context.setFillColor(colour);
    context.drawGraphicsPath(&path, CDrawContext::kPathFilled);
}

void strokePath(CDrawContext& context, CGraphicsPath& path, CColor colour, double width) {
    context.setDrawMode(kDrawMode);
    context.setFrameColor(colour);
    context.setLineWidth(width);
    context.setLineStyle(VSTGUI::kLineSolid);
    context.drawGraphicsPath(&path, CDrawContext::kPathStroked);
}

void fillRound(CDrawContext& context, const CRect& rect, double radius, CColor colour) {
    fillPath(context, *roundRectPath(context, rect, radius), colour);
}

void strokeRound(CDrawContext& context, const CRect& rect, double radius, CColor colour,
                 double width) {
    CRect inner = rect;
    inner.inset(width / 2.0, width / 2.0);
    strokePath(context, *roundRectPath(context, inner, radius), colour, width);
}

void fillGradient(CDrawContext& context, CGraphicsPath& path, CColor top, CColor bottom,
                  double from, double to) {
    if (context.getGlobalAlpha() < 1.0F) {
        // Wine's Direct2D lets translucent gradients shine.
        fillPath(context, path, mix(top, bottom, 0.5));
        return;
    }
    const auto gradient = VSTGUI::owned(VSTGUI::CGradient::create(0.0, 1.0, top, bottom));
    context.setDrawMode(kDrawMode);
    context.fillLinearGradient(&path, *gradient, CPoint(0.0, from), CPoint(0.0, to));
}

void fillRoundGradient(CDrawContext& context, const CRect& rect, double radius, CColor top,
                       CColor bottom) {
    fillGradient(context, *roundRectPath(context, rect, radius), top, bottom, rect.top,
                 rect.bottom);
}

void line(CDrawContext& context, CPoint from, CPoint to, CColor colour, double width) {
    context.setDrawMode(kDrawMode);
    context.setFrameColor(colour);
    context.setLineWidth(width);
    context.setLineStyle(VSTGUI::kLineSolid);
    context.drawLine(from, to);
}

void polygon(CDrawContext& context, std::initializer_list<CPoint> points, CColor colour) {
    const Path path = newPath(context);
    addPolygon(*path, points);
    fillPath(context, *path, colour);
}

void listArrow(CDrawContext& context, CPoint c, CColor colour) {
    polygon(context,
            {CPoint(c.x - 4.0, c.y - 2.0), CPoint(c.x + 4.0, c.y - 2.0), CPoint(c.x, c.y + 3.0)},
            colour);
}

void lamp(CDrawContext& context, CPoint centre, double radius, CColor colour, double level) {
    level = std::clamp(level, 0.0, 1.0);
    if (level > 0.05) {
        fillPath(context, *circlePath(context, centre, radius + 2.5),
                 withAlpha(colour, 0.22 * level));
    }
    fillPath(context, *circlePath(context, centre, radius + 0.8), Theme::kDialEdge);
    const CColor off = mix(colour, CColor(20, 20, 22, 255), 0.82);
    fillPath(context, *circlePath(context, centre, radius), mix(off, colour, level));
    fillPath(context,
             *circlePath(context, CPoint(centre.x - radius * 0.3, centre.y - radius * 0.3),
                         radius * 0.3),
             CColor(255, 255, 255, static_cast<uint8_t>(30 + 90 * level)));
}

void drawGroup(CDrawContext& context, const CRect& rect) {
    fillRound(context, rect, 4.0, Theme::kGroupEdge);
    CRect inner = rect;
    inner.inset(1.0, 1.0);
    fillRound(context, inner, 3.0, Theme::kGroup);
}

void glass(CDrawContext& context, const CRect& rect) {
    fillRound(context, rect, 3.0, Theme::kGlassEdge);
    CRect inner = rect;
    inner.inset(1.0, 1.0);
    fillRound(context, inner, 2.0, Theme::kGlass);
}

void drawSheet(CDrawContext& context, const CRect& rect) {
    CRect shadow = rect;
    shadow.inset(-3.0, -3.0);
    shadow.offset(0.0, 2.0);
    fillRound(context, shadow, 7.0, Theme::kShadow);
    fillRound(context, rect, 5.0, Theme::kOverlay);
    strokeRound(context, rect, 5.0, Theme::kFaceEdge);
}

CRect heldWithin(CRect rect, const CRect& bounds) {
    if (rect.right > bounds.right) rect.offset(bounds.right - rect.right, 0.0);
    if (rect.bottom > bounds.bottom) rect.offset(0.0, bounds.bottom - rect.bottom);
    if (rect.left < bounds.left) rect.offset(bounds.left - rect.left, 0.0);
    if (rect.top < bounds.top) rect.offset(0.0, bounds.top - rect.top);
    return rect;
}

double textWidth(std::string_view text, Theme::Face face) {
    const VSTGUI::UTF8String string{std::string(text)};
    const auto platformFont = Theme::font(face)->getPlatformFont();
    if (!platformFont || !platformFont->getPainter()) return 0.0;
    // Glyphs are drawn a little wider than they are measured.
    return platformFont->getPainter()->getStringWidth(nullptr, string.getPlatformString()) * 1.03;
}

bool isCut(std::string_view text, double width, Theme::Face face) {
    const double size = Theme::font(face)->getSize();
    return textWidth(text, face) * std::min(1.0, Theme::kSmallestType / size) > width;
}

void drawText(CDrawContext& context, std::string_view text, const CRect& rect, Theme::Face face,
              CColor colour, Align align) {
    // Laying out text costs more than all else; most redrawing is of a lamp beside it.
    CRect clip;
    if (text.empty() || !context.getClipRect(clip).rectOverlap(rect)) return;
    std::string string(text);
    const auto font = Theme::font(face);
    context.setFontColor(colour);
    context.setFont(font);
    const double width = textWidth(text, face);
    if (width > rect.getWidth()) {
        const double size = font->getSize() * rect.getWidth() / width;
        context.setFont(font, std::min(font->getSize(), std::max(Theme::kSmallestType, size)));
        for (std::size_t bytes = text.size(); isCut(string, rect.getWidth(), face) && bytes > 0;) {
            text = cutUtf8(text, --bytes);
            bytes = text.size();
            string = std::string(text) + "\u2026";
        }
    }
    const VSTGUI::CHoriTxtAlign kinds[] = {VSTGUI::kLeftText, VSTGUI::kCenterText,
                                           VSTGUI::kRightText};
    context.drawString(string.c_str(), rect, kinds[static_cast<int>(align)]);
}

void drawFigures(CDrawContext& context, std::string_view text, const CRect& rect, int places,
                 CColor lit, CColor ghost) {
    // Bits 0 to 6: top, upper right, lower right, bottom, lower left, upper left, middle.
    constexpr std::array<uint8_t, 10> kDigits = {0x3f, 0x06, 0x5b, 0x4f, 0x66,
                                                 0x6d, 0x7d, 0x07, 0x7f, 0x6f};
    const double height = rect.getHeight();
    const double thick = height * 0.115;
    const double pitch = rect.getWidth() / places;
    const double width = std::min(pitch * 0.74, height * 0.56);
    constexpr double kSlant = 0.09;  // to the right, of the height
    const double gap = thick * 0.14;

    // All segments of a colour make one path.
    const auto addCell = [&](CGraphicsPath& path, double left, uint8_t bits, bool point) {
        const double middle = rect.top + height / 2.0;
        const double h = thick / 2.0;
        const auto at = [&](double x, double y) {
            return CPoint(left + x + (rect.bottom - y) * kSlant, y);
        };
        const auto horizontal = [&](double y) {
            addPolygon(path, {at(h + gap, y), at(thick + gap, y - h),
                              at(width - thick - gap, y - h), at(width - h - gap, y),
                              at(width - thick - gap, y + h), at(thick + gap, y + h)});
        };
        const auto vertical = [&](double x, double top, double bottom) {
            addPolygon(
                path, {at(x, top + gap), at(x + h, top + h + gap), at(x + h, bottom - h - gap),
                       at(x, bottom - gap), at(x - h, bottom - h - gap), at(x - h, top + h + gap)});
        };
        const double top = rect.top + h;
        const double bottom = rect.bottom - h;
        if (bits & 0x01) horizontal(top);
        if (bits & 0x08) horizontal(bottom);
        if (bits & 0x40) horizontal(middle);
        if (bits & 0x02) vertical(width - h, top, middle);
        if (bits & 0x04) vertical(width - h, middle, bottom);
        if (bits & 0x10) vertical(h, middle, bottom);
        if (bits & 0x20) vertical(h, top, middle);
        if (point) {
            const double x = width + thick * 0.25;
            addPolygon(path, {at(x, rect.bottom - thick), at(x + thick, rect.bottom - thick),
                              at(x + thick, rect.bottom), at(x, rect.bottom)});
        }
    };
    const Path ghosts = newPath(context);
    const Path figures = newPath(context);

    int place = places;
    std::size_t end = text.size();
    while (place > 0) {
        --place;
        bool point = false;
        char c = ' ';
        if (end > 0) {
            c = text[--end];
            if (c == '.' && end > 0) {
                point = true;
                c = text[--end];
            }
        }
        const double left =
            rect.left + place * pitch + (pitch - width) / 2.0 - height * kSlant / 2.0;
        addCell(*ghosts, left, 0x7f, false);
        uint8_t bits = 0;
        if (c >= '0' && c <= '9') bits = kDigits[static_cast<std::size_t>(c - '0')];
        if (c == '-') bits = 0x40;
        addCell(*figures, left, bits, point);
    }
    fillPath(context, *ghosts, ghost);
    fillPath(context, *figures, lit);
}

CColor mix(CColor a, CColor b, double share) {
    const auto blend = [share](uint8_t x, uint8_t y) {
        return static_cast<uint8_t>(std::lround(x + (y - x) * share));
    };
    return CColor(blend(a.red, b.red), blend(a.green, b.green), blend(a.blue, b.blue),
                  blend(a.alpha, b.alpha));
}

CColor withAlpha(CColor colour, double alpha) {
    colour.alpha = static_cast<uint8_t>(std::lround(std::clamp(alpha, 0.0, 1.0) * 255.0));
    return colour;
}

}  // namespace Quorvant
