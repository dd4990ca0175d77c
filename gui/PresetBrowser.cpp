#include "gui/PresetBrowser.h"

#include "params/TextMatch.h"
#include "presets/FactoryBank.h"
#include "presets/PresetTexts.h"

#include <algorithm>

namespace Quorvant {
namespace {

constexpr double kGroupsWidth = 306.0;
constexpr double kInfoWidth = 170.0;
constexpr double kHeadHeight = 32.0;

bool containsIgnoringCase(std::string_view text, std::string_view part) {
    return std::search(text.begin(), text.end(), part.begin(), part.end(),
                       [](char a, char b) { return lowerCase(a) == lowerCase(b); }) != text.end();
}

// A designer's portrait: the initials on a disc, in a colour of the designer's own.
class Photo final : public ActionButton {
  public:
    using ActionButton::ActionButton;
    void draw(VSTGUI::CDrawContext* context) override {
        const CRect& size = getViewSize();
        const CPoint c(size.getCenter().x, size.top + 34.0);
        const std::string& name = text();
        std::string initials;
        unsigned seed = 7;
        for (std::size_t i = 0; i < name.size(); ++i) {
            seed = seed * 31 + static_cast<unsigned char>(name[i]);
            if (i == 0 || name[i - 1] == ' ') initials += name[i];
        }
        // All carry the house's name in front.
        if (initials.size() > 1) initials.erase(0, 1);
        const CColor tints[] = {CColor(196, 120, 60, 255), CColor(72, 132, 140, 255),
                                CColor(128, 108, 156, 255), CColor(124, 140, 84, 255),
                                CColor(168, 92, 92, 255)};
        const CColor tint = tints[seed % std::size(tints)];
        fillPath(*context, *circlePath(*context, c, 31.0), Theme::kDialEdge);
        fillPath(*context, *circlePath(*context, c, 29.0), tint);
        fillPath(*context, *circlePath(*context, CPoint(c.x, c.y - 4.0), 22.0),
                 mix(tint, CColor(255, 255, 255, 255), 0.12));
        drawText(*context, initials, CRect(size.left, c.y - 14.0, size.right, c.y + 14.0),
                 Theme::Face::Product, Theme::kText);
        drawText(*context, name, CRect(size.left, c.y + 36.0, size.right, c.y + 52.0),
                 Theme::Face::Label, Theme::kText);
        setDirty(false);
    }
};

}  // namespace

PresetBrowser::PresetBrowser(const CRect& size, const CRect& sheet, EditorContext& context,
                             PresetActions& presetActions)
    : Overlay(size), editor(context), actions(presetActions) {
    content = sheet;
    const double top = sheet.top + 6.0;
    search = new TextField(CRect(sheet.left + 10.0, top, sheet.left + 250.0, top + 22.0), "");
    search->setPlaceholderString("Search");
    search->onChange = [this](const std::string& typed) { setSearch(typed); };
    addView(search);
    const auto button = [&](double left, double right, const char* title,
                            ActionButton::Action action) {
        auto* view = new ActionButton(CRect(left, top, right, top + 22.0), -1,
                                      ActionButton::Look::Text, title, std::move(action));
        addView(view);
        return view;
    };
    favouritesOnly = button(sheet.left + 258.0, sheet.left + 346.0, "FAVOURITES", [this](auto) {
        onlyFavourites = !onlyFavourites;
        favouritesOnly->setLit(onlyFavourites);
        fillPresets();
    });
    favouritesOnly->setTooltipText("Shows your favourites only");
    mixLock = button(sheet.left + 350.0, sheet.left + 430.0, "MIX LOCK", [this](auto) {
        editor.changeSettings([](UserSettings& settings) { settings.mixLock = !settings.mixLock; });
        mixLock->setLit(editor.settings().mixLock);
    });
    mixLock->setTooltipText("Keeps Mix as it is while you change presets");
    mixLock->setLit(editor.settings().mixLock);
    button(sheet.right - 200.0, sheet.right - 106.0, "OPEN FOLDER", [this](auto) {
        actions.openFolder();
    })->setTooltipText("Opens the folder of your presets");
    button(sheet.right - 100.0, sheet.right - 10.0, "CLOSE", [this](auto) { cancel(); });

    const double listTop = sheet.top + kHeadHeight + 2.0;
    const double bottom = sheet.bottom - 6.0;
    groups =
        new ListColumn(CRect(sheet.left + 10.0, listTop, sheet.left + 10.0 + kGroupsWidth, bottom),
                       kGroupsWidth / 2.0);
    groups->onPick = [this](int row) { pickGroup(row); };
    addView(groups);
    const double presetsLeft = sheet.left + kGroupsWidth + 22.0;
    const double presetsRight = sheet.right - kInfoWidth - 12.0;
    presetList = new ListColumn(CRect(presetsLeft, listTop, presetsRight, bottom),
                                (presetsRight - presetsLeft) / 2.0);
    presetList->onPick = [this](int row) { pick(row); };
    presetList->onContext = [this](int row, CPoint where) { openRowMenu(row, where); };
    addView(presetList);
    photo = new Photo(
        CRect(sheet.right - kInfoWidth, listTop + 8.0, sheet.right - 10.0, listTop + 100.0), -1,
        ActionButton::Look::Plain, "", [this](auto) {
            const auto who = getPresetDesigner(static_cast<uint32_t>(designer()));
            if (who) editor.openLink(who->link);
        });
    photo->setTooltipText(kDesignerHint);
    addView(photo);

    group = {manager().location().source, manager().location().list};
    fillGroups();
    fillPresets();
}

std::vector<PresetBrowser::Entry> PresetBrowser::entriesOf(int32_t source, int32_t list) const {
    const auto lists = manager().listNames(static_cast<PresetSource>(source));
    std::vector<Entry> found;
    if (list < 0 || list >= static_cast<int32_t>(lists.size())) return found;
    int32_t place = 0;
    for (std::string& name : manager().presetNames(static_cast<PresetSource>(source), list)) {
        found.push_back(
            {{source, list, place++}, std::move(name), lists[static_cast<std::size_t>(list)]});
    }
    return found;
}

void PresetBrowser::fillGroups() {
    groupRows.clear();
    std::vector<ListRow> rows;
    for (int32_t source = 0; source < kPresetSourceCount; ++source) {
        groupRows.push_back({});
        rows.push_back({std::string(kSourceNames[source]), true});
        int32_t list = 0;
        for (std::string& name : manager().listNames(static_cast<PresetSource>(source))) {
            groupRows.push_back({source, list++});
            rows.push_back({std::move(name)});
        }
    }
    groups->setRows(std::move(rows));
    for (std::size_t i = 0; i < groupRows.size(); ++i) {
        if (groupRows[i].source == group.source && groupRows[i].list == group.list) {
            groups->select(static_cast<int>(i));
        }
    }
}

void PresetBrowser::fillPresets() {
    entries.clear();
    const auto& favourites = editor.settings().favourites;
    if (searching()) {
        for (const int32_t source : {kFromCategory, kFromFolder}) {
            const auto lists = manager().listNames(static_cast<PresetSource>(source));
            for (int32_t list = 0; list < static_cast<int32_t>(lists.size()); ++list) {
                for (Entry& entry : entriesOf(source, list)) {
                    const bool wanted =
                        (words.empty() || containsIgnoringCase(entry.name, words) ||
                         containsIgnoringCase(entry.list, words)) &&
                        (!onlyFavourites ||
                         favourites.contains(favouriteKey(entry.location, entry.list, entry.name)));
                    if (wanted) entries.push_back(std::move(entry));
                }
            }
        }
    } else {
        entries = entriesOf(group.source, group.list);
    }
    std::vector<ListRow> rows;
    for (const Entry& entry : entries) {
        const std::string key = favouriteKey(entry.location, entry.list, entry.name);
        rows.push_back(
            {searching() ? entry.name : numberedPreset(entry.location.preset, entry.name), false,
             favourites.contains(key), searching() ? entry.list : ""});
    }
    presetList->setRows(std::move(rows));
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (!(entries[i].location == manager().location())) continue;
        if (searching()) {
            presetList->mark(static_cast<int>(i));
        } else {
            presetList->select(static_cast<int>(i));
        }
    }
    showDesigner();
}

int PresetBrowser::designer() const {
    if (!searching() && group.source == kFromDesigner) return group.list;
    const int row = presetList->selected();
    if (row < 0) return -1;
    const PresetLocation& location = entries[static_cast<std::size_t>(row)].location;
    if (location.source != kFromCategory) return -1;
    const auto presets = factoryPresetsOfCategory(static_cast<uint32_t>(location.list));
    if (location.preset < 0 || location.preset >= static_cast<int32_t>(presets.size())) return -1;
    FactoryPresetInfo info{};
    getFactoryPreset(presets[static_cast<std::size_t>(location.preset)], nullptr, nullptr, &info);
    return static_cast<int>(info.designer);
}

void PresetBrowser::showDesigner() {
    const int index = designer();
    // A designer's list may name another index than the bank does.
    std::string name;
    if (index >= 0 && !searching() && group.source == kFromDesigner) {
        name = manager().listNames(kFromDesigner)[static_cast<std::size_t>(index)];
    } else if (index >= 0) {
        if (const auto who = getPresetDesigner(static_cast<uint32_t>(index))) name = who->name;
    }
    photo->setVisible(!name.empty());
    photo->setText(name);
    photo->invalid();
}

void PresetBrowser::pickGroup(int row) {
    group = groupRows[static_cast<std::size_t>(row)];
    if (onlyFavourites) {
        onlyFavourites = false;
        favouritesOnly->setLit(false);
    }
    words.clear();
    search->setText("");
    fillPresets();
}

void PresetBrowser::pick(int row) {
    actions.choose(entries[static_cast<std::size_t>(row)].location);
    presetList->select(row);
    showDesigner();
}

void PresetBrowser::toggleFavourite(const Entry& entry) {
    editor.changeSettings([&](UserSettings& settings) {
        const std::string key = favouriteKey(entry.location, entry.list, entry.name);
        if (settings.favourites.erase(key) == 0) settings.favourites.insert(key);
    });
    fillPresets();
}

void PresetBrowser::openRowMenu(int row, CPoint where) {
    const Entry entry = entries[static_cast<std::size_t>(row)];
    const bool starred =
        editor.settings().favourites.contains(favouriteKey(entry.location, entry.list, entry.name));
    Menu menu = {{starred ? "Remove from favourites" : "Add to favourites",
                  [this, entry] { toggleFavourite(entry); }}};
    if (entry.location.source == kFromFolder) {
        menu.push_back({kShowFileText, [this, entry] { actions.reveal(entry.location); }});
        menu.push_back({"Rename...",
                        [this, entry] { actions.rename(entry.location, entry.list, entry.name); }});
        menu.push_back({"Delete...",
                        [this, entry] { actions.remove(entry.location, entry.list, entry.name); }});
    } else {
        menu.push_back({kFactoryFileText, [this] { editor.tell(kFactoryFileHint); }});
    }
    editor.openMenu(std::move(menu), CRect(where.x, where.y, where.x, where.y));
}

void PresetBrowser::refresh() {
    fillGroups();
    fillPresets();
}

void PresetBrowser::setSearch(const std::string& typed) {
    const std::string_view wanted = trimmed(typed);
    if (wanted == words) return;
    words = wanted;
    fillPresets();
    if (searching()) presetList->scrollToStart();
}

bool PresetBrowser::key(const VSTGUI::KeyboardEvent& event) {
    using VSTGUI::VirtualKey;
    const auto move = [this](int by) {
        const int count = static_cast<int>(entries.size());
        if (count == 0) return;
        const int from = presetList->selected();
        const int to = from < 0 ? 0 : std::clamp(from + by, 0, count - 1);
        if (to != from) pick(to);
    };
    switch (event.virt) {
        case VirtualKey::Up:
            move(-1);
            return true;
        case VirtualKey::Down:
            move(1);
            return true;
        case VirtualKey::PageUp:
            move(-presetList->rowsPerColumn());
            return true;
        case VirtualKey::PageDown:
            move(presetList->rowsPerColumn());
            return true;
        default:
            return false;
    }
}

void PresetBrowser::drawBackgroundRect(VSTGUI::CDrawContext* context, const CRect&) {
    fillRound(*context, content, 0.0, Theme::kOverlay);
    strokeRound(*context, content, 0.0, Theme::kFaceEdge);
    const double x = content.left + kGroupsWidth + 14.0;
    const double infoX = content.right - kInfoWidth - 6.0;
    for (const double at : {x, infoX}) {
        line(*context, CPoint(at, content.top + kHeadHeight + 2.0),
             CPoint(at, content.bottom - 8.0), Theme::kGroupEdge);
    }
    if (entries.empty()) {
        drawText(*context, searching() ? "No preset matches" : "No presets here yet",
                 CRect(x + 20.0, content.top + 50.0, infoX - 20.0, content.top + 70.0),
                 Theme::Face::Value, Theme::kTextFaint, Align::Left);
    }
}

}  // namespace Quorvant
