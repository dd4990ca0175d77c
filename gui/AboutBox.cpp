#include "gui/AboutBox.h"

#include "gui/Hints.h"
#include "gui/controls/ProductLabel.h"

namespace Quorvant {

AboutBox::AboutBox(const CRect& size, EditorContext& editor) : Overlay(size) {
    addView(new ProductLabel(CRect(10, 12, 102, 62), kAboutLabelId, [this](auto) { cancel(); }));
    const auto addButton = [this](double left, const char* title, std::function<void()> action) {
        addView(new ActionButton(CRect(left, 156, left + 130, 180), -1, ActionButton::Look::Text,
                                 title, [action](auto) { action(); }));
    };
    addButton(140, "MANUAL", [&editor] { editor.openManual(); });
    addButton(280, "WEBSITE", [&editor] { editor.openLink("https://www.quorvant.example"); });
    addButton(420, "BACK TO THE PANEL", [this] { cancel(); });
}

void AboutBox::drawBackgroundRect(VSTGUI::CDrawContext* context, const CRect&) {
    drawFace(*context, CRect(0.0, 0.0, getWidth(), getHeight()));
    struct Row {
        const char* text;
        Theme::Face face;
        CColor colour;
    };
    const Row rows[] = {
        {"Corvane QVX77x " CORVANE_VERSION, Theme::Face::Title, Theme::kText},
        {"A stereo delay with a VCO-driven memory clock, by Quorvant.", Theme::Face::Value,
         Theme::kTextDim},
        {"Free software under the GNU General Public License, version 3 or later. It comes with no "
         "warranty.",
         Theme::Face::Value, Theme::kTextDim},
        {"Built with the VST 3 SDK and VSTGUI of Steinberg Media Technologies GmbH, and with the "
         "Boost C++ Libraries.",
         Theme::Face::Value, Theme::kTextDim},
        {"VST is a trademark of Steinberg Media Technologies GmbH.    Support: "
         "support@quorvant.example",
         Theme::Face::Value, Theme::kTextDim},
    };
    double y = 18.0;
    for (const Row& row : rows) {
        drawText(*context, row.text, CRect(140.0, y, getWidth() - 20.0, y + 20.0), row.face,
                 row.colour, Align::Left);
        y += 24.0;
    }
}

}  // namespace Quorvant
