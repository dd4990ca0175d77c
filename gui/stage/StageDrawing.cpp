// How the stage looks.
#include "gui/stage/StagePlaces.h"
#include "gui/stage/StageView.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Quorvant {
namespace {

constexpr double kDense = 20.0;  // pixels between bars that leave no room for tails and arrows
constexpr CColor kWhite{255, 255, 255, 255};
constexpr CColor kGridLine{34, 37, 42, 255}, kGridNumbered{62, 67, 74, 255};

// Edges on whole pixels of the screen, whatever the zoom.
class Pixels {
  public:
    explicit Pixels(const CDrawContext& context) : to(context.getCurrentTransform()) {}
    CRect snapped(const CRect& rect) const {
        return CRect(x(rect.left), y(rect.top), x(rect.right), y(rect.bottom));
    }
    double x(double at) const { return (std::round(at * to.m11 + to.dx) - to.dx) / to.m11; }
    double y(double at) const { return (std::round(at * to.m22 + to.dy) - to.dy) / to.m22; }
    // A line of whole pixels, about that wide.
    double width(double wanted) const {
        return std::max(1.0, std::round(wanted * to.m11)) / to.m11;
    }

  private:
    VSTGUI::CGraphicsTransform to;
};

void fillRect(CDrawContext& context, const CRect& rect, CColor colour) {
    context.setDrawMode(VSTGUI::kAliasing);
    context.setFillColor(colour);
    context.drawRect(rect, VSTGUI::kDrawFilled);
}

bool meets(const CDrawContext& context, CRect rect) {
    CRect clip;
    return context.getClipRect(clip).rectOverlap(rect);
}

Path pathThrough(CDrawContext& context, const std::vector<CPoint>& points) {
    Path path = VSTGUI::owned(context.createGraphicsPath());
    path->beginSubpath(points.front());
    for (std::size_t i = 1; i < points.size(); ++i) path->addLine(points[i]);
    return path;
}

const char* nameOf(DirectionMode direction) {
    switch (direction) {
        case DirectionMode::Backward:
            return "ECHOES BACKWARD";
        case DirectionMode::Reverse:
            return "ECHOES IN REVERSE";
        case DirectionMode::Bounce:
            return "ECHOES BOUNCING";
        default:
            return "ECHOES";
    }
}

// Points the way in which the sound is heard; `way` is its size, below 0 to the left.
void arrow(CDrawContext& context, CPoint at, double way, CColor colour) {
    const double high = std::abs(way);
    polygon(context,
            {CPoint(at.x + way, at.y), CPoint(at.x - way * 0.75, at.y - high),
             CPoint(at.x - way * 0.75, at.y + high)},
            colour);
}

// The sound dies away behind its attack, or grows towards it where it is heard in reverse.
void tail(CDrawContext& context, const CRect& bar, bool reversed, CColor colour) {
    const double edge = reversed ? bar.left : bar.right;
    const double far = edge + (reversed ? -StagePlaces::kTail : StagePlaces::kTail);
    const double height = bar.getHeight();
    const Path path = VSTGUI::owned(context.createGraphicsPath());
    path->beginSubpath(CPoint(edge, bar.bottom));
    path->addLine(CPoint(edge, bar.top + height * 0.2));
    path->addBezierCurve(edge + (far - edge) * 0.2, bar.top + height * 0.75,
                         edge + (far - edge) * 0.5, bar.bottom, far, bar.bottom);
    path->closeSubpath();
    fillPath(context, *path, colour);
}

void padlock(CDrawContext& context, CPoint at, CColor colour) {
    strokePath(context, *arcPath(context, CPoint(at.x, at.y - 1.0), 3.0, -90.0, 90.0), colour, 1.6);
    fillRound(context, CRect(at.x - 5.0, at.y - 1.0, at.x + 5.0, at.y + 6.0), 1.5, colour);
}

}  // namespace

void StageView::draw(CDrawContext* context) {
    glass(*context, getViewSize());
    drawTexts(*context);
    CRect plot = plotRect();
    plot.top -= StagePlaces::kHandle * 2.0;
    plot.left -= StagePlaces::kLeft;
    plot.right += StagePlaces::kRight;
    plot.bottom += StagePlaces::kText + 4.0;
    if (meets(*context, plot)) {
        CRect clip;
        context->getClipRect(clip);
        drawGrid(*context);
        if (stage.echoes().empty())
            drawText(*context, "A click in the middle of a segment is lost: the delay is too long",
                     plotRect(), Theme::Face::Value, Theme::kTextDim);
        // What lies behind the end of the axis is not drawn into the frame.
        CRect inner = getViewSize();
        inner.inset(2.0, 2.0);
        inner.bound(clip);
        context->setClipRect(inner);
        drawLoop(*context);
        drawSlope(*context);
        drawBars(*context);
        drawHandles(*context);
        context->setClipRect(clip);
    }
    if (meets(*context, CRect(getViewSize().left, clockRect().top, getViewSize().right,
                              getViewSize().bottom)))
        drawClock(*context);
    setDirty(false);
}

void StageView::drawTexts(CDrawContext& context) const {
    const CRect& size = getViewSize();
    const CRect row(size.left + 10.0, size.top + StagePlaces::kHeader, size.right - 12.0,
                    size.top + StagePlaces::kHeader + StagePlaces::kText);
    const bool busy = hovered != Part::None || held != Part::None;
    drawText(context, nameOf(stage.course().direction), row, Theme::Face::Value, Theme::kTextDim,
             Align::Left);
    CRect told = row;
    told.left += 150.0;
    drawText(context, stage.settingsText(), told, Theme::Face::Value,
             stage.course().looping ? Theme::kRed
             : busy                 ? Theme::kAccent
                                    : Theme::kTextDim,
             Align::Right);
}

void StageView::drawGrid(CDrawContext& context) const {
    const Pixels pixels(context);
    const CRect plot = plotRect();
    const double wide = pixels.width(1.0);
    for (const TimeAxis::Mark& mark : stage.axis().marks) {
        const double x = pixels.x(xOf(mark.ms));
        if (!meets(context, CRect(x - 32.0, plot.top - 8.0, x + 32.0, getViewSize().bottom)))
            continue;
        fillRect(context, CRect(x, pixels.y(plot.top - 4.0), x + wide, pixels.y(plot.bottom)),
                 mark.text.empty() ? kGridLine : kGridNumbered);
        if (!mark.text.empty())
            drawText(context, mark.text,
                     CRect(x - 32.0, plot.bottom + 3.0, x + 32.0,
                           plot.bottom + 3.0 + StagePlaces::kText),
                     Theme::Face::Value, Theme::kTextDim);
    }
    const double y = pixels.y(plot.bottom);
    fillRect(context, CRect(plot.left - 20.0, y, plot.right + 8.0, y + wide), kGridNumbered);
}

void StageView::drawLoop(CDrawContext& context) const {
    if (!stage.course().looping) return;
    const CRect plot = plotRect();
    const double aside = StagePlaces::kBar / 2.0 + 5.0;
    CRect frame(xOf(0.0) - aside, plot.top - 7.0, xOf(stage.loopMs()) - aside, plot.bottom + 2.0);
    frame.right = std::max(frame.right, frame.left + 2.0 * aside);
    frame = Pixels(context).snapped(frame);
    // Faint until the loop has engaged, at the next repeat of a synced delay.
    const bool engaged = loopX >= 0.0;
    fillRound(context, frame, 3.0, withAlpha(Theme::kRed, engaged ? 0.12 : 0.05));
    strokeRound(context, frame, 3.0, Theme::kRed, engaged ? 2.0 : 1.0);
    if (loopX >= 0.0) fillRect(context, loopLineRect(), Theme::kText);
}

void StageView::drawSlope(CDrawContext& context) const {
    const auto& echoes = stage.echoes();
    if (echoes.size() < 2 || stage.course().looping) return;
    const CColor ink = stage.sounds() ? Theme::kAccent : Theme::kTextDim;
    const bool lit = hovered == Part::Feedback || held == Part::Feedback;
    context.setDrawMode(VSTGUI::kAntiAliasing | VSTGUI::kNonIntegralMode);
    context.setFrameColor(lit ? ink : mix(ink, Theme::kGlass, 0.35));
    context.setLineWidth(lit ? 1.6 : 1.0);
    context.setLineStyle(VSTGUI::CLineStyle(VSTGUI::CLineStyle::kLineCapButt,
                                            VSTGUI::CLineStyle::kLineJoinMiter, 0.0, {4.0, 3.0}));
    // Dashes begin anew at every top, so that they are the same where a part is drawn.
    for (std::size_t i = 1; i < echoes.size() && echoes[i - 1].level > 0.0; ++i) {
        const CPoint from(xOf(echoes[i - 1].ms), yOf(echoes[i - 1].level));
        const CPoint to(xOf(echoes[i].ms), yOf(echoes[i].level));
        if (meets(context,
                  CRect(from.x, std::min(from.y, to.y) - 1.0, to.x, std::max(from.y, to.y) + 1.0)))
            context.drawLine(from, to);
    }
    context.setLineStyle(VSTGUI::kLineSolid);
}

void StageView::drawBars(CDrawContext& context) const {
    const Pixels pixels(context);
    const auto& echoes = stage.echoes();
    const CColor ink = stage.sounds() ? Theme::kAccent : Theme::kTextDim;
    for (std::size_t i = bars.size(); i-- > 0;) {
        const Bar& bar = bars[i];
        CRect around = bar.rect;
        around.inset(-StagePlaces::kTail - StagePlaces::kGlow, -StagePlaces::kTail);
        if (!meets(context, around) || bar.rect.left > plotRect().right) continue;
        const CRect rect = pixels.snapped(bar.rect);
        const double glow = static_cast<double>(bar.glow) / StagePlaces::kGlowSteps;
        const bool click = i == 0;
        const CColor base = click ? Theme::kTextDim : mix(ink, Theme::kGlass, 0.22);
        const CColor colour = mix(base, click ? kWhite : mix(ink, kWhite, 0.35), glow);
        const double next = i + 1 < bars.size() ? bars[i + 1].rect.left - bar.rect.left : 1e3;
        const double last = i > 0 ? bar.rect.left - bars[i - 1].rect.left : 1e3;
        const bool roomy = std::min(next, last) >= kDense;
        if (glow > 0.0) {
            CRect halo = rect;
            halo.inset(-StagePlaces::kGlow, -StagePlaces::kGlow);
            halo.bottom = rect.bottom;
            fillRound(context, halo, 4.0, withAlpha(colour, 0.4 * glow * glow));
        }
        if (rect.getHeight() < 1.0) continue;
        const bool reversed = !click && echoes[i - 1].reversed;
        if (roomy) tail(context, rect, reversed, withAlpha(colour, 0.5));
        const bool hollow = !click && echoes[i - 1].inverted;
        if (hollow) {
            fillRect(context, rect, Theme::kGlass);
            strokeRound(context, rect, 0.0, colour, pixels.width(2.0));
        } else {
            fillRect(context, rect, colour);
        }
        if (!click && stage.course().direction != DirectionMode::Forward && rect.getHeight() > 16.0)
            arrow(context, CPoint(rect.getCenter().x, rect.bottom - 8.0),
                  (reversed ? -1.0 : 1.0) * (hollow ? 3.0 : 4.0), hollow ? colour : Theme::kGlass);
    }
}

void StageView::drawHandles(CDrawContext& context) const {
    const auto draw = [&](Part part, CPoint at) {
        const bool lit = hovered == part || held == part;
        CRect around(at.x, at.y, at.x, at.y);
        around.inset(-StagePlaces::kTail, -StagePlaces::kTail);
        if (at.x > plotRect().right + 4.0 || !meets(context, around)) return;
        const CColor colour = lit ? kWhite : Theme::kText;
        if (stage.course().looping) {
            if (part == Part::Time) padlock(context, at, colour);
            return;
        }
        if (lit)
            fillPath(context, *circlePath(context, at, StagePlaces::kHandle + 6.0),
                     withAlpha(Theme::kAccent, 0.3));
        const double r = StagePlaces::kHandle;
        const Path shape =
            part == Part::Time
                ? circlePath(context, at, r)
                : pathThrough(context, {CPoint(at.x, at.y - r), CPoint(at.x + r, at.y),
                                        CPoint(at.x, at.y + r), CPoint(at.x - r, at.y)});
        if (part == Part::Feedback) shape->closeSubpath();
        fillPath(context, *shape, Theme::kGlass);
        strokePath(context, *shape, colour, 2.0);
    };
    draw(Part::Feedback, feedbackHandle());
    draw(Part::Time, timeHandle());
}

void StageView::drawClock(CDrawContext& context) const {
    const CRect clock = clockRect();
    const ClockCurve& curve = stage.curve();
    const CColor ink = curve.moves() ? Theme::kText : Theme::kTextDim;
    drawText(context, "CLOCK",
             CRect(getViewSize().left + 10.0, clock.top, clock.left - 6.0, clock.bottom),
             Theme::Face::Value, Theme::kTextDim, Align::Left);
    drawText(context, bendText, bendRect(), Theme::Face::Value, ink, Align::Right);

    const Pixels pixels(context);
    const double middle = clock.getCenter().y;
    fillRect(context,
             CRect(clock.left, pixels.y(middle), clock.right, pixels.y(middle) + pixels.width(1.0)),
             kGridNumbered);
    CRect around = clock;
    around.inset(-2.0, -2.0);
    if (!meets(context, around)) return;
    if (curve.hasLfo()) {
        constexpr int kSteps = 64;
        const double high = curve.height() * (clock.getHeight() / 2.0 - StagePlaces::kDot);
        std::vector<CPoint> points;
        for (int i = 0; i <= kSteps; ++i) {
            const double share = static_cast<double>(i) / kSteps;
            const double y = middle - high * curve.at((2.0 * share - 1.0) * std::numbers::pi);
            const double x = clock.left + share * clock.getWidth();
            // The square's edge is upright.
            if (i > 0 && curve.waveform > 0.5 && y != points.back().y)
                points.emplace_back(points.back().x, y);
            points.emplace_back(x, y);
        }
        strokePath(context, *pathThrough(context, points), Theme::kTextDim, 1.5);
    }
    if (dot.shown) {
        const CPoint at = dotRect().getCenter();
        fillPath(context, *circlePath(context, at, StagePlaces::kDot), Theme::kText);
    }
}

}  // namespace Quorvant
