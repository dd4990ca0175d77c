#include "gui/controls/Meters.h"

#include "dsp/OutputIndex.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

namespace Quorvant {
namespace {

constexpr std::array<double, 8> kHeadroomSteps = {-30.0, -24.0, -18.0, -12.0,
                                                  -9.0,  -6.0,  -3.0,  0.0};  // dB
constexpr std::array<const char*, 8> kHeadroomTexts = {"30", "24", "18", "12", "9", "6", "3", "0"};
constexpr double kLedHeight = 10.0;
constexpr double kFall = 0.88;  // of the peak, each idle call

}  // namespace

QVXTextLabel::QVXTextLabel(const CRect& size, int32_t tagId, std::string words, Theme::Face faceOf,
                           CColor ink, Align alignment, CColor behind)
    : Control(size, tagId),
      text(std::move(words)),
      face(faceOf),
      colour(ink),
      align(alignment),
      plate(behind) {}

void QVXTextLabel::draw(VSTGUI::CDrawContext* context) {
    if (plate.alpha > 0) fillRound(*context, getViewSize(), 0.0, plate);
    drawText(*context, text, getViewSize(), face, colour, align);
    setDirty(false);
}

Meter::Meter(const CRect& size, int32_t tagId, int stepCount, std::function<double()> from)
    : Control(size, tagId), source(std::move(from)), steps(stepCount) {}

void Meter::idle() {
    const int now = static_cast<int>(std::clamp(source(), 0.0, 1.0) * steps + 0.5);
    if (now == step) return;
    step = now;
    invalidRect(livelyRect());
}

Lamp::Lamp(const CRect& size, int32_t tagId, CColor lit, std::string text,
           std::function<double()> from)
    : Meter(size, tagId, 12, std::move(from)), colour(lit), label(std::move(text)) {}

CRect Lamp::livelyRect() const {
    const CRect& size = getViewSize();
    return CRect(size.left, size.top, size.left + 14.0, size.bottom);
}

void Lamp::draw(VSTGUI::CDrawContext* context) {
    const CRect& size = getViewSize();
    lamp(*context, CPoint(size.left + 7.0, size.getCenter().y), 3.4, colour, level());
    drawText(*context, label, CRect(size.left + 15.0, size.top, size.right, size.bottom),
             Theme::Face::Small, Theme::kTextDim, Align::Left);
    setDirty(false);
}

HeadroomBar::HeadroomBar(const CRect& size, int32_t tagId, const EditorModel& model)
    : Meter(size, tagId, static_cast<int>(kHeadroomSteps.size()), [&model, peak = 0.0]() mutable {
          peak = std::max(model.reading(kOutHeadroom) * 2.0, peak * kFall);
          const double dB = 20.0 * std::log10(std::max(peak, 1e-6));
          const auto lit = std::count_if(kHeadroomSteps.begin(), kHeadroomSteps.end(),
                                         [dB](double mark) { return dB >= mark; });
          return static_cast<double>(lit) / static_cast<double>(kHeadroomSteps.size());
      }) {}

CRect HeadroomBar::livelyRect() const {
    const CRect& size = getViewSize();
    return CRect(size.left - 2.0, size.top - 2.0, size.right + 2.0, size.top + kLedHeight + 2.0);
}

void HeadroomBar::draw(VSTGUI::CDrawContext* context) {
    const CRect& size = getViewSize();
    const double pitch = getWidth() / static_cast<double>(kHeadroomSteps.size());
    const int lit = static_cast<int>(level() * static_cast<double>(kHeadroomSteps.size()) + 0.5);
    for (std::size_t i = 0; i < kHeadroomSteps.size(); ++i) {
        const double left = size.left + pitch * static_cast<double>(i);
        const CColor colour = i + 1 == kHeadroomSteps.size()   ? Theme::kRed
                              : i + 3 >= kHeadroomSteps.size() ? Theme::kAccent
                                                               : Theme::kGreen;
        const CRect led(left + 1.0, size.top, left + pitch - 1.0, size.top + kLedHeight);
        const bool on = static_cast<int>(i) < lit;
        if (on) {
            CRect glow = led;
            glow.inset(-2.0, -2.0);
            fillRound(*context, glow, 3.0, withAlpha(colour, 0.2));
        }
        fillRound(*context, led, 1.5, on ? colour : mix(colour, CColor(20, 20, 22, 255), 0.84));
        drawText(*context, kHeadroomTexts[i],
                 CRect(left, size.top + kLedHeight + 2.0, left + pitch, size.bottom),
                 Theme::Face::Small, Theme::kTextDim);
    }
    setDirty(false);
}

ReductionBar::ReductionBar(const CRect& size, const EditorModel& model)
    : Meter(size, -1, 24, [&model] {
          return std::max(model.reading(kOutFirstGainReduction),
                          model.reading(kOutSecondGainReduction));
      }) {}

void ReductionBar::draw(VSTGUI::CDrawContext* context) {
    const CRect& size = getViewSize();
    fillRound(*context, size, 2.0, Theme::kGlass);
    if (level() > 0.0) {
        CRect bar = size;
        bar.inset(1.0, 1.0);
        bar.left = bar.right - bar.getWidth() * level();
        fillRound(*context, bar, 1.0, Theme::kAccent);
    }
    setDirty(false);
}

}  // namespace Quorvant
