#include "tests/module/soak/Actions.h"

#include "pluginterfaces/base/keycodes.h"
#include "pluginterfaces/gui/iplugviewcontentscalesupport.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>

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
constexpr int kUnit = 1000, kInteresting = 2;
constexpr int kGrain = 4;  // pixels; what is smaller is overlooked

constexpr std::string_view kCharacters = "0123456789abcdefghijklmnopqrstuvwxyz./-, ";
constexpr std::string_view kEditing = "acxvz";  // with the control key
constexpr int16 kAnswers[] = {KEY_RETURN, KEY_ESCAPE, KEY_TAB};
constexpr int16 kCodes[] = {KEY_SPACE, KEY_UP,     KEY_DOWN,     KEY_LEFT, KEY_RIGHT, KEY_HOME,
                            KEY_END,   KEY_PAGEUP, KEY_PAGEDOWN, KEY_BACK, KEY_DELETE};

// What a hand does in a moment, and what to call it.
struct Stroke {
    std::string name;
    std::function<void(EditorWindow&)> act;
};
using Strokes = std::vector<Stroke>;

void pass(Scene& scene, milliseconds time) {
    for (const auto& guest : scene.guests)
        if (guest->window) guest->window->pass(time);
}

// What the home holds, in a number.
uint64_t filesSum() {
    uint64_t sum = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(std::getenv("HOME"))) {
        if (entry.is_regular_file())
            sum += std::hash<std::string>()(entry.path().string()) ^
                   static_cast<uint64_t>(entry.last_write_time().time_since_epoch().count());
    }
    return sum;
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
    pass(scene, kPicture);
    return true;
}

void close(Scene& scene, Guest& guest) {
    const uint64_t before = filesSum();
    guest.window->close();
    if (guest.window->handlerCount() != 0)
        scene.journal.complain("handlers are left in the host's loop");
    guest.window = nullptr;
    if (filesSum() != before) scene.journal.complain("closing the editor writes files");
    if (!guest.plugin->editLog().open.empty())
        scene.journal.complain("an edit outlives the editor");
}

void resize(Scene& scene, Guest& guest) {
    const bool usual = scene.chance.oneIn(2) || guest.window->width() > kLargestWidth;
    const int width = usual ? kUsualWidth : scene.chance.between(300, 1500);
    if (!guest.window->setWidth(width)) scene.journal.complain("the editor can't be resized");
}

void scaleContent(Scene& scene, Guest& guest) {
    constexpr float kFactors[] = {1.0F, 1.0F, 1.25F, 2.0F, 0.0F, -1.0F, NAN, INFINITY};
    const float factor = scene.chance.of(kFactors);
    FUnknownPtr<IPlugViewContentScaleSupport> view(&guest.window->view());
    if (!view) return;
    const bool taken = view->setContentScaleFactor(factor) == kResultTrue;
    if (taken == (factor > 0.0F && std::isfinite(factor))) return;
    scene.journal.complain("takes a wrong scale, or refuses a good one");
    close(scene, guest);
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
        if (guest.window && scene.chance.oneIn(60)) meddle(scene, guest);
        if (!guest.window) return;
        scene.journal.note(stroke.name);
        stroke.act(*guest.window);
        if (!scene.chance.oneIn(4)) pass(scene, scene.chance.oneIn(4) ? kPicture : kMoment);
    }
}

// Where a hand goes that doesn't know the editor.
Spot aim(Scene& scene, Guest& guest) {
    Chance& chance = scene.chance;
    const int width = guest.window->width(), height = guest.window->height();
    auto& [seen, where, spots, from, to, curiosity, last] = scene.memory;
    if (curiosity > 0) --curiosity;
    if (curiosity > 0 && !chance.oneIn(4))
        return {chance.between(from.x, to.x), chance.between(from.y, to.y)};
    const int lot = chance.below(10);
    if (lot < 4 && !spots.empty()) {
        const Spot &one = chance.of(spots), &other = chance.of(spots);
        const Spot& spot = one.news > other.news ? one : other;
        return {spot.x * width / kUnit, spot.y * width / kUnit};
    }
    if (lot < 6)  // where questions are
        return {chance.between(width * 2 / 5, width * 3 / 5),
                chance.between(height * 2 / 5, height * 3 / 5)};
    return {chance.below(width), chance.below(height)};
}

// Remembers a spot where something changed, and what.
void look(Scene& scene, Guest& guest) {
    pass(scene, kPicture);
    Memory& memory = scene.memory;
    const Hosting::Pixels before =
        std::exchange(memory.seen, guest.window->pixels());  // none if larger than the screen
    const auto& [width, height, now] = memory.seen;
    memory.curiosity = 0;
    if (std::exchange(memory.where, &guest) != &guest) return;
    if (now.empty() || now.size() != before.values.size() || width != before.width) return;
    Spot from{width, height}, to;
    int changed = 0;
    for (int y = 0; y < height; y += kGrain) {
        for (int x = 0; x < width; x += kGrain) {
            const auto at = static_cast<size_t>(y * width + x);
            if (now[at] == before.values[at]) continue;
            ++changed;
            from = {std::min(from.x, x), std::min(from.y, y)};
            to = {std::max(to.x, x), std::max(to.y, y)};
        }
    }
    const int news = changed * kGrain * kGrain * 100 / (width * height);
    if (news < kInteresting) return;
    const Spot spot{memory.last.x * kUnit / width, memory.last.y * kUnit / width, news};
    std::erase_if(memory.spots, [&](const Spot& old) {
        return std::abs(spot.x - old.x) + std::abs(spot.y - old.y) < 10;
    });
    memory.spots.push_back(spot);
    if (memory.spots.size() > kMostSpots) memory.spots.erase(memory.spots.begin());
    memory.from = from;
    memory.to = to;
    memory.curiosity = 3 + news / 8;  // clicks
}

int16 modifiers(Chance& chance) {
    constexpr int16 kHeld[] = {kShiftKey, kCommandKey, kAlternateKey};
    return chance.oneIn(12) ? chance.of(kHeld) : int16{0};
}

Stroke at(Pointer action, Spot spot, Button button, int held) {
    constexpr const char* kNames[] = {"press ", "release ", "move ", "drag "};
    return {kNames[static_cast<int>(action)] + std::to_string(static_cast<int>(button)) + " at " +
                std::to_string(spot.x) + "," + std::to_string(spot.y),
            [=](EditorWindow& window) { window.point(action, spot.x, spot.y, button, held); }};
}

Strokes clickAt(Scene& scene, Spot spot) {
    Chance& chance = scene.chance;
    scene.memory.last = spot;
    const Button button = chance.oneIn(3) ? Button::Right : Button::Left;
    const int held = modifiers(chance);
    Strokes strokes = {at(Pointer::Move, spot, button, 0)};
    for (int times = chance.oneIn(4) ? 2 : 1; times > 0; --times) {
        strokes.push_back(at(Pointer::Press, spot, button, held));
        strokes.push_back(at(Pointer::Release, spot, button, held));
    }
    return strokes;
}

Strokes click(Scene& scene, Guest& guest) {
    return clickAt(scene, aim(scene, guest));
}

// Where menus open.
Strokes clickBelow(Scene& scene, Guest&) {
    const Spot spot = scene.memory.last;
    return clickAt(scene,
                   {spot.x + scene.chance.between(-10, 90), spot.y + scene.chance.between(-5, 60)});
}

Strokes drag(Scene& scene, Guest& guest) {
    Chance& chance = scene.chance;
    Spot& spot = scene.memory.last = aim(scene, guest);
    const int held = modifiers(chance);
    const int stepX = chance.between(-6, 6), stepY = chance.between(-6, 6);
    const Button button = chance.oneIn(12) ? Button::Right : Button::Left;
    Strokes strokes = {at(Pointer::Move, spot, button, 0), at(Pointer::Press, spot, button, held)};
    for (int steps = chance.between(1, 12); steps > 0; --steps) {
        spot = {spot.x + stepX, spot.y + stepY};
        strokes.push_back(at(Pointer::Drag, spot, button, held));
    }
    if (!chance.oneIn(20)) strokes.push_back(at(Pointer::Release, spot, button, held));
    return strokes;
}

Strokes wheel(Scene& scene, Guest& guest) {
    Chance& chance = scene.chance;
    const Spot spot = aim(scene, guest);
    const Button way = chance.oneIn(2) ? Button::WheelUp : Button::WheelDown;
    return Strokes(static_cast<size_t>(chance.between(1, 5)),
                   at(Pointer::Press, spot, way, modifiers(chance)));
}

Stroke key(Chance& chance, char character, int16 code, int16 held) {
    const std::string name = "key " + (code ? std::to_string(code) : std::string(1, character)) +
                             (held ? " with " + std::to_string(held) : "");
    // Some hosts hand keys on, others leave them to the window.
    if (chance.oneIn(8))
        return {"the host's " + name,
                [=](EditorWindow& window) { window.EditorWindow::key(character, code, held); }};
    return {name, [=](EditorWindow& window) { window.key(character, code, held); }};
}

Strokes type(Scene& scene, Guest&) {
    Chance& chance = scene.chance;
    Strokes strokes;
    for (int count = chance.between(1, 5); count > 0; --count) {
        const int lot = chance.below(6);
        strokes.push_back(lot == 0   ? key(chance, chance.of(kEditing), 0, kCommandKey)
                          : lot == 1 ? key(chance, 0, chance.of(kCodes), modifiers(chance))
                                     : key(chance, chance.of(kCharacters), 0, 0));
    }
    return strokes;
}

Strokes answer(Scene& scene, Guest&) {
    return {key(scene.chance, 0, scene.chance.of(kAnswers), modifiers(scene.chance))};
}

// Goes on before there is an answer.
Strokes hurry(Scene& scene, Guest& guest) {
    Strokes strokes = click(scene, guest);
    for (const auto next : {scene.chance.oneIn(3) ? type : answer, clickBelow})
        std::ranges::move(next(scene, guest), std::back_inserter(strokes));
    return strokes;
}

}  // namespace

void playInEditor(Scene& scene, Guest& guest) {
    Chance& chance = scene.chance;
    if (!isOpen(scene, guest)) return;
    if (guest.window->width() > kLargestWidth) resize(scene, guest);
    if (chance.oneIn(20)) meddle(scene, guest);
    if (!guest.window) return;
    constexpr decltype(&click) kGestures[] = {click, click, click,      click, click, drag,
                                              wheel, type,  clickBelow, hurry, hurry};
    const auto gesture = chance.of(kGestures);
    perform(scene, guest, gesture(scene, guest));
    if (chance.oneIn(400)) std::this_thread::sleep_for(kHint);  // until hints show
    if (guest.window && gesture == click && chance.oneIn(2)) look(scene, guest);
}

}  // namespace Quorvant::Soak
