#include "tests/module/soak/Player.h"

#include "tests/module/soak/Actions.h"

#include "pluginterfaces/base/keycodes.h"
#include "pluginterfaces/gui/iplugviewcontentscalesupport.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <limits>
#include <set>

namespace Quorvant::Soak {

using namespace Steinberg;
using Hosting::Button;
using Hosting::EditorWindow;
using Hosting::Pointer;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds kMoment{1}, kPicture{17}, kHint{720};
constexpr int kUsualWidth = 1000, kLargestWidth = 2200;  // larger ones only slow the player down
constexpr size_t kMostSpots = 24;
constexpr int kGrain = 4;  // pixels; what is smaller is overlooked

constexpr char kCharacters[] = "0123456789abcdefghijklmnopqrstuvwxyz./-, ";
constexpr int16 kAnswers[] = {KEY_RETURN, KEY_ESCAPE, KEY_TAB};
constexpr int16 kCodes[] = {KEY_RETURN, KEY_ESCAPE,   KEY_TAB,   KEY_SPACE, KEY_UP,
                            KEY_DOWN,   KEY_LEFT,     KEY_RIGHT, KEY_HOME,  KEY_END,
                            KEY_PAGEUP, KEY_PAGEDOWN, KEY_BACK,  KEY_DELETE};
constexpr char kEditing[] = "acxvz";  // with the control key

// One thing that a hand does in a moment, and what to call it.
struct Stroke {
    std::string name;
    std::function<void(EditorWindow&)> act;
};
using Strokes = std::vector<Stroke>;

void pass(Scene& scene, milliseconds time) {
    for (const auto& guest : scene.guests)
        if (guest->window) guest->window->pass(time);
}

std::set<std::string> files() {
    std::set<std::string> found;
    const char* home = std::getenv("HOME");
    for (const auto& entry : std::filesystem::recursive_directory_iterator(home ? home : "")) {
        if (entry.is_regular_file())
            found.insert(entry.path().string() + std::to_string(entry.file_size()) + ' ' +
                         std::to_string(entry.last_write_time().time_since_epoch().count()));
    }
    return found;
}

bool isOpen(Scene& scene, Guest& guest) {
    if (guest.window) return true;
    scene.journal.note("open");
    auto opened = EditorWindow::open(*guest.plugin);
    if (!opened) {
        scene.journal.complain(opened.error());
        return false;
    }
    guest.window = std::move(*opened);
    guest.memory = {};
    pass(scene, kPicture);
    return true;
}

void close(Scene& scene, Guest& guest) {
    const auto before = files();
    guest.window->close();
    if (guest.window->handlerCount() != 0)
        scene.journal.complain("handlers are left in the host's loop");
    guest.window = nullptr;
    if (files() != before) scene.journal.complain("closing the editor writes files");
    if (!guest.plugin->editLog().open.empty())
        scene.journal.complain("an edit outlives the editor");
}

void resize(Scene& scene, Guest& guest) {
    const bool usual = scene.chance.oneIn(2) || guest.window->width() > kLargestWidth;
    const int width = usual ? kUsualWidth : scene.chance.between(300, 1500);
    if (!guest.window->setWidth(width)) scene.journal.complain("the editor can't be resized");
}

void scaleContent(Scene& scene, Guest& guest) {
    constexpr float kFactors[] = {
        1.0F, 1.0F, 1.0F, 1.25F, 1.5F, 2.0F, 0.0F, -1.0F, std::numeric_limits<float>::quiet_NaN()};
    FUnknownPtr<IPlugViewContentScaleSupport> view(&guest.window->view());
    if (view) view->setContentScaleFactor(scene.chance.of(kFactors));
}

void loadState(Scene& scene, Guest& guest) {
    loadComponentState(guest, scene.chance, scene.journal, scene.known);
}

void process(Scene& scene, Guest& guest) {
    processBlock(guest, scene.chance, scene.journal);
}

// What the host does meanwhile.
void meddle(Scene& scene, Guest& guest) {
    constexpr struct {
        const char* name;
        void (*run)(Scene&, Guest&);
    } kWays[] = {{"close", close},         {"resize", resize},        {"scale", scaleContent},
                 {"automate", editInHost}, {"automate", editInHost},  {"load", loadState},
                 {"process", process},     {"program", chooseProgram}};
    const auto& way = scene.chance.of(kWays);
    scene.journal.note(way.name);
    way.run(scene, guest);
}

void perform(Scene& scene, Guest& guest, const Strokes& strokes) {
    for (const Stroke& stroke : strokes) {
        if (guest.window && scene.chance.oneIn(40)) meddle(scene, guest);
        if (!guest.window) return;
        scene.journal.note(stroke.name);
        stroke.act(*guest.window);
        if (!scene.chance.oneIn(4)) pass(scene, scene.chance.oneIn(4) ? kPicture : kMoment);
    }
}

// Where menus open.
Spot nearby(Chance& chance, Spot spot) {
    return {spot.x + chance.between(-10, 90), spot.y + chance.between(-5, 60)};
}

// Where a hand goes that doesn't know the editor.
Spot aim(Chance& chance, Guest& guest) {
    const int width = guest.window->width(), height = guest.window->height();
    auto& [seen, spots, from, to, curiosity, last] = guest.memory;
    if (curiosity > 0) --curiosity;
    if (curiosity > 0 && !chance.oneIn(4))
        return {chance.between(from.x, to.x), chance.between(from.y, to.y)};
    switch (chance.below(8)) {
        case 0:
        case 1:
        case 2:
            if (!spots.empty()) {
                const Spot &one = chance.of(spots), &other = chance.of(spots);
                return one.news > other.news ? one : other;
            }
            break;
        case 3:
            return {chance.between(width * 2 / 5, width * 3 / 5),
                    chance.between(height * 2 / 5, height * 3 / 5)};
        case 4:
        case 5:
            return nearby(chance, last);
        default:
            break;
    }
    return {chance.below(width), chance.below(height)};
}

// Remembers a click that changed much, and where it did.
void look(Scene& scene, Guest& guest) {
    if (!guest.window) return;
    pass(scene, kPicture);
    auto& memory = guest.memory;
    Hosting::Pixels now = guest.window->pixels();
    if (now.values.empty()) return;  // larger than the screen
    const auto& before = memory.seen;
    if (now.width == before.width && now.values.size() == before.values.size()) {
        Spot from{now.width, now.height}, to;
        int changed = 0;
        for (int y = 0; y < now.height; y += kGrain) {
            for (int x = 0; x < now.width; x += kGrain) {
                const auto at = static_cast<size_t>(y * now.width + x);
                if (now.values[at] == before.values[at]) continue;
                ++changed;
                from = {std::min(from.x, x), std::min(from.y, y)};
                to = {std::max(to.x, x), std::max(to.y, y)};
            }
        }
        memory.last.news = changed * kGrain * kGrain * 100 / (now.width * now.height);
        if (memory.last.news > 0) {
            const auto known = [&](Spot spot) {
                return std::abs(spot.x - memory.last.x) + std::abs(spot.y - memory.last.y) < 10;
            };
            if (std::ranges::none_of(memory.spots, known)) {
                if (memory.spots.size() == kMostSpots) memory.spots.erase(memory.spots.begin());
                memory.spots.push_back(memory.last);
            }
            memory.from = from;
            memory.to = to;
            memory.curiosity = 3 + memory.last.news / 8;  // clicks
        }
    }
    memory.seen = std::move(now);
}

int16 modifiers(Chance& chance) {
    constexpr int16 kHeld[] = {kShiftKey, kCommandKey, kAlternateKey};
    return chance.oneIn(12) ? chance.of(kHeld) : int16{0};
}

Stroke at(Pointer action, Spot spot, Button button, int held) {
    constexpr const char* kNames[] = {"press", "release", "move", "drag"};
    return {std::string(kNames[static_cast<int>(action)]) + " " +
                std::to_string(static_cast<int>(button)) + " at " + std::to_string(spot.x) + "," +
                std::to_string(spot.y),
            [=](EditorWindow& window) { window.point(action, spot.x, spot.y, button, held); }};
}

Strokes clickAt(Spot spot, Chance& chance, Guest& guest) {
    guest.memory.last = spot;
    const Button button = chance.oneIn(4)    ? Button::Right
                          : chance.oneIn(60) ? Button::Middle
                                             : Button::Left;
    const int held = modifiers(chance);
    Strokes strokes = {at(Pointer::Move, spot, button, 0)};
    for (int times = chance.oneIn(3) ? 2 : 1; times > 0; --times) {
        strokes.push_back(at(Pointer::Press, spot, button, held));
        strokes.push_back(at(Pointer::Release, spot, button, held));
    }
    return strokes;
}

// The code where there is one, else whatever comes to mind.
Stroke keyStroke(Chance& chance, int16 code = 0) {
    char character = 0;
    int16 held = 0;
    if (code != 0) {
        held = modifiers(chance);
    } else if (chance.oneIn(6)) {
        character = kEditing[chance.below(sizeof kEditing - 1)];
        held = kCommandKey;
    } else if (chance.oneIn(3)) {
        return keyStroke(chance, chance.of(kCodes));
    } else {
        character = kCharacters[chance.below(sizeof kCharacters - 1)];
    }
    const std::string name = "key " + (code ? std::to_string(code) : std::string(1, character)) +
                             (held ? " with " + std::to_string(held) : "");
    // Some hosts hand keys on, others leave them to the window.
    if (chance.oneIn(8))
        return {"the host's " + name,
                [=](EditorWindow& window) { window.EditorWindow::key(character, code, held); }};
    return {name, [=](EditorWindow& window) { window.key(character, code, held); }};
}

Strokes typeStrokes(Chance& chance) {
    Strokes strokes;
    for (int count = chance.between(1, 6); count > 0; --count) strokes.push_back(keyStroke(chance));
    return strokes;
}

}  // namespace

void click(Scene& scene, Guest& guest) {
    if (!isOpen(scene, guest)) return;
    perform(scene, guest, clickAt(aim(scene.chance, guest), scene.chance, guest));
    if (scene.chance.oneIn(2)) look(scene, guest);
}

void drag(Scene& scene, Guest& guest) {
    if (!isOpen(scene, guest)) return;
    Chance& chance = scene.chance;
    Spot spot = aim(chance, guest);
    const int held = modifiers(chance), stepX = chance.between(-6, 6),
              stepY = chance.between(-6, 6);
    const Button button = chance.oneIn(12) ? Button::Right : Button::Left;
    Strokes strokes = {at(Pointer::Move, spot, button, 0), at(Pointer::Press, spot, button, held)};
    for (int steps = chance.between(1, 12); steps > 0; --steps) {
        spot = {spot.x + stepX, spot.y + stepY};
        strokes.push_back(at(Pointer::Drag, spot, button, held));
    }
    if (!chance.oneIn(20)) strokes.push_back(at(Pointer::Release, spot, button, held));
    guest.memory.last = spot;
    perform(scene, guest, strokes);
}

void wheel(Scene& scene, Guest& guest) {
    if (!isOpen(scene, guest)) return;
    Chance& chance = scene.chance;
    const Spot spot = aim(chance, guest);
    const Button way = chance.oneIn(2) ? Button::WheelUp : Button::WheelDown;
    Strokes strokes = {at(Pointer::Move, spot, Button::Left, 0)};
    for (int steps = chance.between(1, 5); steps > 0; --steps)
        strokes.push_back(at(Pointer::Press, spot, way, modifiers(chance)));
    perform(scene, guest, strokes);
}

void type(Scene& scene, Guest& guest) {
    if (!isOpen(scene, guest)) return;
    perform(scene, guest, typeStrokes(scene.chance));
}

void hurry(Scene& scene, Guest& guest) {
    Chance& chance = scene.chance;
    for (int rounds = chance.between(1, 3); rounds > 0; --rounds) {
        if (!isOpen(scene, guest)) return;
        perform(scene, guest, clickAt(aim(chance, guest), chance, guest));
        if (chance.oneIn(2)) look(scene, guest);
        if (chance.oneIn(3))
            perform(scene, guest, typeStrokes(chance));
        else if (!chance.oneIn(4))
            perform(scene, guest, {keyStroke(chance, chance.of(kAnswers))});
        if (!chance.oneIn(3))
            perform(scene, guest, clickAt(nearby(chance, guest.memory.last), chance, guest));
    }
    if (guest.window && chance.oneIn(2)) meddle(scene, guest);
}

void rest(Scene& scene, Guest& guest) {
    if (!isOpen(scene, guest)) return;
    perform(scene, guest, {at(Pointer::Move, aim(scene.chance, guest), Button::Left, 0)});
    std::this_thread::sleep_for(kHint);
    for (int i = 0; i < 4; ++i) pass(scene, kPicture);
}

void treatWindow(Scene& scene, Guest& guest) {
    const bool wasOpen = guest.window != nullptr;
    if (!isOpen(scene, guest) || !wasOpen) return;
    constexpr void (*kWays[])(Scene&, Guest&) = {close, close, resize, scaleContent};
    (guest.window->width() > kLargestWidth ? resize : scene.chance.of(kWays))(scene, guest);
    pass(scene, kPicture);
}

}  // namespace Quorvant::Soak
