// The pop-up list of presets in columns: groups, presets, and who made them.
#pragma once

#include "gui/OverlayStack.h"
#include "gui/PresetActions.h"
#include "gui/controls/Buttons.h"
#include "gui/controls/ListColumn.h"

#include <string>
#include <vector>

namespace Quorvant {

class PresetBrowser final : public Overlay {
  public:
    // Covers the editor; its sheet is `sheet`.
    PresetBrowser(const CRect& size, const CRect& sheet, EditorContext& context,
                  PresetActions& actions);

    // Presets or lists have changed.
    void refresh();
    // Arrows choose.
    bool key(const VSTGUI::KeyboardEvent& event) override;
    TextField* textField() const override { return search; }
    void setSearch(const std::string& words);

    ListColumn& groupColumn() { return *groups; }
    ListColumn& presetColumn() { return *presetList; }
    void drawBackgroundRect(VSTGUI::CDrawContext* context, const CRect& rect) override;

  private:
    struct Group {
        int32_t source = -1;  // -1 for a heading
        int32_t list = 0;
    };
    struct Entry {
        PresetLocation location;
        std::string name;
        std::string list;
    };

    PresetManager& manager() const { return *actions.manager(); }
    void fillGroups();
    void fillPresets();
    void pickGroup(int row);
    void pick(int row);
    void openRowMenu(int row, CPoint where);
    void toggleFavourite(const Entry& entry);
    void showDesigner();
    std::vector<Entry> entriesOf(int32_t source, int32_t list) const;
    // The factory designer that the present group or choice leads to; -1 for none.
    int designer() const;
    bool searching() const { return !words.empty() || onlyFavourites; }

    EditorContext& editor;
    PresetActions& actions;
    std::string words;
    bool onlyFavourites = false;
    Group group;
    std::vector<Group> groupRows;
    std::vector<Entry> entries;
    TextField* search;
    ListColumn* groups;
    ListColumn* presetList;
    ActionButton* favouritesOnly;
    ActionButton* mixLock;
    ActionButton* photo;
};

}  // namespace Quorvant
