#include "presets/PresetManager.h"

#include "params/ParameterLaws.h"
#include "params/ParameterTable.h"
#include "platform/Desktop.h"
#include "platform/Utf8Path.h"
#include "presets/PresetFile.h"
#include "presets/PresetTexts.h"

#include <algorithm>
#include <cmath>

namespace Quorvant {
namespace {

using Path = std::filesystem::path;

const FactoryBank& factoryBank() {
    static const FactoryBank bank = buildFactoryBank();
    return bank;
}

std::vector<uint32_t> factoryList(int32_t source, int32_t list) {
    const auto index = static_cast<uint32_t>(list);
    return source == kFromCategory ? factoryPresetsOfCategory(index)
                                   : factoryPresetsOfDesigner(index);
}

// The first factory preset, where its category lists it.
SetupSlot freshSetup() {
    FactoryPresetInfo info{};
    getFactoryPreset(0, nullptr, nullptr, &info);
    const QVXPresetRecord& record = factoryBank()[0];
    return {record, record, false, {kFromCategory, static_cast<int32_t>(info.category), 0}};
}

// Whether a user would call both values the same setting: parameters of a host come back rounded,
// those with states to the middle of their state.
bool sameSetting(uint32_t index, float a, float b) {
    const int steps = kParameters[index].stepCount();
    if (steps > 0) return listState(a, steps + 1) == listState(b, steps + 1);
    return std::abs(a - b) < 1e-6f;
}

const ParameterSet& allParameters() {
    static const ParameterSet all = ParameterSet().set();
    return all;
}

const ParameterSet& writtenByChoice() {
    static const ParameterSet written = [] {
        ParameterSet set;
        for (uint32_t index = 0; index < kStoredParameterCount; ++index)
            set[index] = kParameters[index].writtenByPresetChoice();
        return set;
    }();
    return written;
}

}  // namespace

PresetManager::PresetManager(PresetHost& owner, Path mainFolder)
    : host(owner), folders(std::move(mainFolder)), slots(freshSetup()) {}

std::string PresetManager::nameDisplay() const {
    return presetNameDisplay(location().preset, shownText(presetName(current())));
}

void PresetManager::setName(std::string_view name) {
    setPresetName(slots.active().current, name);
    updateModified();
    host.presetsChanged();
}

void PresetManager::parameterEdited(uint32_t index, double value) {
    if (index >= kStoredParameterCount || std::isnan(value)) return;
    slots.active().current.values[index] = static_cast<float>(clampNormalised(value));
    const bool before = modified();
    updateModified();
    if (modified() != before) host.presetsChanged();
}

void PresetManager::updateModified() {
    SetupSlot& slot = slots.active();
    slot.modified = presetName(slot.current) != presetName(slot.loaded);
    for (uint32_t index = 0; index < kStoredParameterCount; ++index) {
        if (!writtenByChoice()[index]) continue;
        const bool same = sameSetting(index, slot.current.values[index], slot.loaded.values[index]);
        slot.modified = slot.modified || !same;
    }
}

// Lists

std::vector<std::string> PresetManager::listNames(PresetSource source) {
    std::vector<std::string> names;
    if (source == kFromCategory) {
        names.assign(kPresetCategories.begin(), kPresetCategories.end());
    } else if (source == kFromDesigner) {
        constexpr uint32_t kMostDesigners = 127;
        for (uint32_t index = 0; index < kMostDesigners; ++index)
            if (const auto designer = getPresetDesigner(index)) names.emplace_back(designer->name);
    } else {
        scanOnce();
        for (const auto& folder : folders.list()) names.push_back(folder.name);
    }
    return names;
}

std::vector<std::string> PresetManager::presetNames(PresetSource source, int32_t list) {
    std::vector<std::string> names;
    if (source == kFromFolder) {
        scanOnce();
        if (list < 0 || static_cast<std::size_t>(list) >= folders.list().size()) return names;
        for (const auto& entry : folders.list()[static_cast<std::size_t>(list)].files)
            names.push_back(entry.name);
        return names;
    }
    for (const uint32_t index : factoryList(source, list))
        names.emplace_back(presetName(factoryBank()[index]));
    return names;
}

int32_t PresetManager::listSize(const PresetLocation& place) {
    const auto source = static_cast<PresetSource>(place.source);
    return static_cast<int32_t>(presetNames(source, place.list).size());
}

void PresetManager::scanOnce() {
    if (!scanned) rescan({}, {});
}

void PresetManager::refreshFolders() {
    if (rescan({}, {})) host.presetsChanged();
}

template <typename Visit>
void PresetManager::forEachSetup(Visit&& visit) {
    for (const Setup setup : {Setup::A, Setup::B}) visit(slots.slot(setup));
    history.forEachSetup(visit);
}

// Whether the lists are others than before.
bool PresetManager::rescan(const Path& renamed, const Path& newFile) {
    const PresetFolders before = folders;
    folders.scan();
    scanned = true;
    const auto follow = [&](PresetLocation& place) {
        if (place.source != kFromFolder) return;
        if (const auto* entry = before.entryAt(place)) {
            place = folders.locate(entry->file == renamed ? newFile : entry->file);
            return;
        }
        const auto list = static_cast<std::size_t>(place.list);
        if (list < before.list().size()) place = folders.locate(before.list()[list].path / "");
    };
    forEachSetup([&](SetupSlot& slot) { follow(slot.location); });
    return folders.list() != before.list();
}

// Changes of preset

void PresetManager::apply(const ParameterSet& written) {
    std::vector<ParameterEdit> edits;
    edits.reserve(kStoredParameterCount);
    const auto add = [&](uint32_t index) {
        if (written[index]) edits.push_back({index, static_cast<double>(current().values[index])});
    };
    const bool loopOn = switchState(static_cast<double>(current().values[kInfRepeat]));
    if (!loopOn) add(kInfRepeat);
    for (uint32_t index = 0; index < kStoredParameterCount; ++index)
        if (index != kInfRepeat) add(index);
    if (loopOn) add(kInfRepeat);
    host.applyParameters(edits);
    host.presetsChanged();
}

void PresetManager::take(const QVXPresetRecord& record, const PresetLocation& place,
                         const ParameterSet& written) {
    history.push(slots);
    SetupSlot& slot = slots.active();
    const QVXPresetRecord live = slot.current;
    slot.current = record;
    keepOthers(slot.current, live, written);
    slot.loaded = slot.current;
    slot.modified = false;
    slot.location = place;
    history.commit(slots, written);
    apply(written);
}

PresetFault PresetManager::choose(const PresetLocation& chosen, const ParameterSet& kept) {
    if (chosen.source == kFromFolder) {
        Path file;
        if (const auto fault = fileAt(chosen, file); fault != PresetFault::None) return fault;
        return load(file, chosen, kept);
    }
    if (chosen.source != kFromCategory && chosen.source != kFromDesigner)
        return PresetFault::NotFound;
    const auto list = factoryList(chosen.source, chosen.list);
    const auto preset = static_cast<std::size_t>(chosen.preset);
    if (chosen.preset < 0 || preset >= list.size()) return PresetFault::NotFound;
    take(factoryBank()[list[preset]], chosen, writtenByChoice() & ~kept);
    return PresetFault::None;
}

PresetFault PresetManager::load(const Path& file, const PresetLocation& place,
                                const ParameterSet& kept) {
    QVXPresetRecord record = current();
    const auto fault = loadPreset(file, record);
    if (fault == PresetFault::NotFound) refreshFolders();
    if (fault == PresetFault::None) take(record, place, writtenByChoice() & ~kept);
    return fault;
}

PresetFault PresetManager::loadFile(const Path& file, const ParameterSet& kept) {
    return load(file, {location().source, location().list, kNotListed}, kept);
}

bool PresetManager::canStep(int direction) {
    const int64_t target = static_cast<int64_t>(location().preset) + direction;
    return target >= 0 && target < listSize(location());
}

PresetFault PresetManager::step(int direction, const ParameterSet& kept,
                                std::vector<std::string>* leftOut) {
    if (!canStep(direction)) return PresetFault::NotFound;
    const PresetLocation from = location();
    const int by = direction < 0 ? -1 : 1;
    if (from.source != kFromFolder) return choose({from.source, from.list, from.preset + by}, kept);
    // A copy: a file that turns out to be gone has the folders scanned again.
    const auto files = folders.list()[static_cast<std::size_t>(from.list)].files;
    auto firstFault = PresetFault::NotFound;
    for (int64_t at = from.preset + by; at >= 0 && at < std::ssize(files); at += by) {
        const auto& [file, name] = files[static_cast<std::size_t>(at)];
        const auto fault = load(file, folders.locate(file), kept);
        if (fault == PresetFault::None) return fault;
        if (at == from.preset + by) firstFault = fault;
        if (leftOut) leftOut->push_back(name);
    }
    return firstFault;
}

PresetFault PresetManager::pasteFromMemo(const ParameterSet& kept) {
    QVXPresetRecord record{};
    const auto fault = memo.paste(factoryBank()[0], record);
    if (fault == PresetFault::None)
        take(record, {location().source, location().list, kNotListed}, allParameters() & ~kept);
    return fault;
}

PresetFault PresetManager::copyToMemo() {
    return memo.copy(current(), location());
}

void PresetManager::undo(const ParameterSet& kept) {
    stepHistory(&UndoHistory::undo, kept);
}

void PresetManager::redo(const ParameterSet& kept) {
    stepHistory(&UndoHistory::redo, kept);
}

void PresetManager::stepHistory(std::optional<ParameterSet> (UndoHistory::*move)(SetupSlots&),
                                const ParameterSet& kept) {
    const QVXPresetRecord live = current();
    const Setup heard = slots.selected();
    const int32_t source = location().source;
    const auto written = (history.*move)(slots);
    if (!written) return;
    if (location().source == kFromFolder && location().source != source) rescan({}, {});
    hear(live, heard == slots.selected() ? *written : allParameters(), kept);
}

// Setups

// The parameters, which are as in `live`, follow what the selected setup has become.
void PresetManager::hear(const QVXPresetRecord& live, const ParameterSet& written,
                         const ParameterSet& kept) {
    SetupSlot& slot = slots.active();
    keepOthers(slot.current, live, ~kept);
    keepOthers(slot.loaded, live, ~kept);
    updateModified();
    apply(written & ~kept);
}

void PresetManager::selectSetup(double controlValue, const ParameterSet& kept) {
    const Setup setup = switchState(controlValue) ? Setup::B : Setup::A;
    if (setup == slots.selected()) return;
    const QVXPresetRecord live = current();
    slots.select(setup);
    hear(live, allParameters(), kept);
}

void PresetManager::copyAB(int direction, const ParameterSet& kept) {
    const Setup target = direction == 0 ? Setup::A : Setup::B;
    const QVXPresetRecord live = current();
    slots.copyOver(target);
    if (target == slots.selected())
        hear(live, allParameters(), kept);
    else
        host.presetsChanged();
}

// Files

std::string PresetManager::proposedFileName() const {
    return fileNameFor(presetName(current())) + std::string(kPresetExtension);
}

PresetFault PresetManager::save(const Path& file) {
    const Path target = withPresetExtension(file);
    QVXPresetRecord record = current();
    const std::string fileName = utf8FromPath(target.stem());
    if (!isNamedAfter(record, fileName)) setPresetName(record, fileName);
    const auto fault = savePreset(target, record, location());
    if (fault != PresetFault::None) return fault;
    rescan({}, {});
    SetupSlot& slot = slots.active();
    slot.current = record;
    const PresetLocation place = folders.locate(target);
    slot.location = place.preset != kNotListed
                        ? place
                        : PresetLocation{slot.location.source, slot.location.list, kNotListed};
    slot.loaded = slot.current;
    slot.modified = false;
    host.presetsChanged();
    return PresetFault::None;
}

PresetFault PresetManager::fileAt(const PresetLocation& place, Path& file) {
    if (place.source != kFromFolder) return PresetFault::NotAFile;
    scanOnce();
    const auto* entry = folders.entryAt(place);
    if (!entry) return PresetFault::NotFound;
    file = entry->file;
    return PresetFault::None;
}

PresetFault PresetManager::renameFile(const PresetLocation& place, std::string_view newName) {
    Path file;
    if (const auto fault = fileAt(place, file); fault != PresetFault::None) return fault;
    const auto fault = renamePreset(file, newName);
    if (fault == PresetFault::None) {
        renameSetups(place, utf8FromPath(file.stem()), newName);
        rescan(file, withPresetExtension(file.parent_path() / pathFromUtf8(newName)));
    } else {
        rescan({}, {});
    }
    host.presetsChanged();
    return fault;
}

// Setups that come from a file and have its name follow it.
void PresetManager::renameSetups(const PresetLocation& place, std::string_view fileName,
                                 std::string_view newName) {
    forEachSetup([&](SetupSlot& slot) {
        if (slot.location != place) return;
        for (QVXPresetRecord* record : {&slot.current, &slot.loaded})
            if (isNamedAfter(*record, fileName)) setPresetName(*record, newName);
    });
}

PresetFault PresetManager::deleteFile(const PresetLocation& place) {
    Path file;
    if (const auto fault = fileAt(place, file); fault != PresetFault::None) return fault;
    const auto fault = deletePreset(file);
    rescan({}, {});
    host.presetsChanged();
    return fault;
}

PresetFault PresetManager::revealFile(const PresetLocation& place) {
    Path file;
    if (const auto fault = fileAt(place, file); fault != PresetFault::None) return fault;
    return Quorvant::revealFile(file) ? PresetFault::None : PresetFault::NotFound;
}

bool PresetManager::openMainFolder() {
    return ensureMainFolder() == PresetFault::None && openPath(mainFolder());
}

// State

SavedSetups PresetManager::saveState() const {
    SavedSetups saved;
    saved.selected = slots.selected();
    for (const Setup setup : {Setup::A, Setup::B}) {
        auto& [slot, file] = saved.setups[static_cast<std::size_t>(setup)];
        slot = slots.slot(setup);
        file = folders.pathBelow(slot.location);
    }
    return saved;
}

void PresetManager::restoreState(const SavedSetups& saved,
                                 std::span<const double, kStoredParameterCount> live) {
    for (const Setup setup : {Setup::A, Setup::B}) {
        const auto& [savedSlot, file] = saved.setups[static_cast<std::size_t>(setup)];
        SetupSlot& slot = slots.slot(setup);
        slot = savedSlot;
        if (slot.location.source == kFromFolder) {
            scanOnce();
            slot.location = folders.locateBelow(file);
        } else if (slot.location.preset >= listSize(slot.location)) {
            slot.location.preset = kNotListed;
        }
    }
    history.clear();
    slots.select(saved.selected);
    for (uint32_t index = 0; index < kStoredParameterCount; ++index)
        if (!std::isnan(live[index]))
            slots.active().current.values[index] = static_cast<float>(clampNormalised(live[index]));
    updateModified();
    host.presetsChanged();
}

}  // namespace Quorvant
