#include "gui/SettingsMenu.h"

#include "params/ParameterIndex.h"
#include "params/ParameterLaws.h"

namespace Quorvant {
namespace {

constexpr int kZoomSteps[] = {50, 75, 100, 125, 150, 175, 200, 250, 300};

}  // namespace

Menu zoomMenu(EditorContext& editor) {
    const int zoom = editor.zoomPercent();
    Menu menu;
    for (const int step : kZoomSteps) {
        menu.push_back(
            {std::to_string(step) + " %", [&editor, step] { editor.setZoom(step); }, step == zoom});
    }
    menu.push_back(
        {"Use for new instances",
         [&editor, zoom] { editor.changeSettings([zoom](UserSettings& s) { s.zoom = zoom; }); },
         editor.settings().zoom == zoom});
    return menu;
}

Menu settingsMenu(EditorContext& editor, PresetActions& actions) {
    const UserSettings& settings = editor.settings();
    const EditorModel& model = editor.model();
    const bool circular = settings.knobMode == KnobMode::Circular;
    const bool fractions = switchState(model.value(kNoteViewStyle));
    const bool alwaysOpen = switchState(model.value(kDefaultExtensionsPanel));
    const auto knobs = [&editor](KnobMode mode) {
        return [&editor, mode] {
            editor.changeSettings([mode](UserSettings& changed) { changed.knobMode = mode; });
        };
    };
    const auto hints = [&editor](bool shown) {
        return [&editor, shown] {
            editor.changeSettings([shown](UserSettings& changed) { changed.hints = shown; });
        };
    };
    const auto parameter = [&editor](uint32_t index, double value) {
        return [&editor, index, value] { editor.setParameter(index, value); };
    };
    Menu menu = {{"ZOOM"}};
    const Menu zooms = zoomMenu(editor);
    menu.insert(menu.end(), zooms.begin(), zooms.end());
    const Menu rest = {
        {"HINTS", {}, false, true, true},
        {"Hints: shown", hints(true), settings.hints},
        {"Hints: hidden", hints(false), !settings.hints},
        {"KNOBS"},
        {"Drag up and down", knobs(KnobMode::Vertical), !circular},
        {"Drag around", knobs(KnobMode::Circular), circular},
        {"NOTES"},
        {"As names (1/4 Dotted)", parameter(kNoteViewStyle, 0.0), !fractions},
        {"As fractions (3/8)", parameter(kNoteViewStyle, 1.0), fractions},
        {"EXTENSIONS PANEL", {}, false, true, true},
        {"As it was left", parameter(kDefaultExtensionsPanel, 0.0), !alwaysOpen},
        {"Shown with every editor", parameter(kDefaultExtensionsPanel, 1.0), alwaysOpen},
        {"PRESETS"},
        {"Open preset folder", [&actions] { actions.openFolder(); }},
        {"Load or import preset file...", [&actions] { actions.load(); }},
        {"Scan preset folder again", [&actions] { actions.scanFolders(); }},
        {"HELP"},
        {"Manual", [&editor] { editor.openManual(); }},
        {"About Corvane QVX77x", [&editor] { editor.openAbout(); }},
    };
    menu.insert(menu.end(), rest.begin(), rest.end());
    return menu;
}

}  // namespace Quorvant
