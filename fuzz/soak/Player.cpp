// Somebody who plays in the editors with mouse and keyboard and doesn't look, while the host goes
// on as hosts do.
#include "fuzz/soak/Soak.h"

#include "pluginterfaces/base/keycodes.h"
#include "pluginterfaces/gui/iplugviewcontentscalesupport.h"

#include <cmath>
#include <thread>

namespace Quorvant::Soak {

using namespace Steinberg;
using Hosting::Button;
using Hosting::Pointer;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds kMoment{1}, kPicture{17}, kHint{720};
constexpr int kUsualWidth = 1000, kLargestWidth = 2200;  // larger ones only slow the player down

void pass(Scene& scene, milliseconds time) {
    for (const auto& guest : scene.guests)
        if (guest->window) guest->window->pass(time);
}

void close(Scene&, Guest& guest) {
    guest.window->close();
    require(guest.window->handlerCount() == 0, "handlers are left in the host's loop");
    guest.window = nullptr;
    require(guest.plugin->editLog().open.empty(), "an edit outlives the editor");
}

void resize(Scene& scene, Guest& guest) {
    const bool usual = scene.dice.oneIn(2) || guest.window->width() > kLargestWidth;
    const int width = usual ? kUsualWidth : scene.dice.between(300, 1500);
    require(guest.window->setWidth(width).operator bool(), "the editor can't be resized");
}

void scaleContent(Scene& scene, Guest& guest) {
    constexpr float kFactors[] = {1.0F, 1.25F, 2.0F, 0.0F, -1.0F, NAN, INFINITY};
    const float factor = scene.dice.of(kFactors);
    FUnknownPtr<IPlugViewContentScaleSupport> view(&guest.window->view());
    require(
        (view->setContentScaleFactor(factor) == kResultTrue) == (factor >= 1.0F && factor < 3.0F),
        "takes or refuses a wrong scale");
}

void process(Scene& scene, Guest& guest) {
    processBlock(guest, scene.dice);
}

// What the host does meanwhile.
void meddle(Scene& scene, Guest& guest) {
    constexpr decltype(&close) kWays[] = {close,          resize,     scaleContent, editParameters,
                                          editParameters, loadStates, process,      chooseProgram};
    scene.dice.of(kWays)(scene, guest);
}

// One go at an editor, which the host may close at any moment of it.
class Hand {
  public:
    Hand(Scene& whole, Guest& played) : scene(whole), guest(played), dice(whole.dice) {}

    // Where a menu has opened, where questions are, or anywhere.
    void aim() {
        if (!guest.window) return;
        const int width = guest.window->width(), height = guest.window->height();
        const int lot = dice.below(8);
        if (lot < 2) {
            scene.x += dice.between(-10, 90);
            scene.y += dice.between(-5, 60);
        } else {
            const int share = lot < 4 ? 5 : 1;  // of the editor, around its middle
            scene.x = width / 2 + dice.between(-width, width) / 2 / share;
            scene.y = height / 2 + dice.between(-height, height) / 2 / share;
        }
    }
    // A click, two, or a drag, which may find no end.
    void press() {
        aim();
        const Button button = dice.oneIn(4) ? Button::Right : Button::Left;
        const int held = modifiers(), stepX = dice.between(-6, 6), stepY = dice.between(-6, 6);
        point(Pointer::Move, button, 0);
        for (int times = dice.oneIn(4) ? 2 : 1; times > 0; --times) {
            point(Pointer::Press, button, held);
            for (int steps = dice.oneIn(4) ? dice.between(1, 12) : 0; steps > 0; --steps) {
                scene.x += stepX;
                scene.y += stepY;
                point(Pointer::Drag, button, held);
            }
            if (!dice.oneIn(100)) point(Pointer::Release, button, held);
        }
    }
    void turnWheel() {
        aim();
        const Button way = dice.oneIn(2) ? Button::WheelUp : Button::WheelDown;
        for (int turns = dice.between(1, 5); turns > 0; --turns)
            point(Pointer::Press, way, modifiers());
    }
    void type() {
        constexpr std::string_view kCharacters = "0123456789abcdefgmnoprstuz./-, ",
                                   kEditing = "acxvz";
        constexpr int16 kCodes[] = {KEY_SPACE,  KEY_UP,     KEY_DOWN,     KEY_LEFT,
                                    KEY_RIGHT,  KEY_HOME,   KEY_END,      KEY_BACK,
                                    KEY_DELETE, KEY_PAGEUP, KEY_PAGEDOWN, KEY_TAB};
        for (int keys = dice.below(6); keys > 0; --keys) {
            const int lot = dice.below(5);
            if (lot == 0) key(dice.of(kEditing), 0, kCommandKey);
            if (lot == 1 || lot == 2)
                key(0, dice.of(kCodes), dice.oneIn(2) ? int16{kShiftKey} : modifiers());
            if (lot > 2) key(dice.of(kCharacters), 0, 0);
        }
        if (dice.oneIn(2)) key(0, dice.oneIn(3) ? KEY_ESCAPE : KEY_RETURN, modifiers());
    }
    // A menu, a question or a field opens, and the next comes at once.
    void hurry() {
        press();
        dice.oneIn(2) ? type() : press();
        dice.oneIn(2) ? type() : press();
    }

  private:
    int16 modifiers() {
        constexpr int16 kHeld[] = {kShiftKey, kCommandKey, kAlternateKey};
        return dice.oneIn(12) ? dice.of(kHeld) : int16{0};
    }
    void point(Pointer action, Button button, int held) {
        if (guest.window) guest.window->point(action, scene.x, scene.y, button, held);
        goOn();
    }
    void key(char character, int16 code, int16 held) {
        // Some hosts hand keys on, others leave them to the window.
        if (guest.window && dice.oneIn(8))
            guest.window->EditorWindow::key(character, code, held);
        else if (guest.window)
            guest.window->key(character, code, held);
        goOn();
    }
    void goOn() {
        if (guest.window && dice.oneIn(60)) meddle(scene, guest);
        if (!dice.oneIn(4)) pass(scene, dice.oneIn(4) ? kPicture : kMoment);
    }

    Scene& scene;
    Guest& guest;
    Dice& dice;
};

}  // namespace

void playInEditor(Scene& scene, Guest& guest) {
    if (!guest.window) {
        auto opened = Hosting::EditorWindow::open(*guest.plugin);
        if (!opened) require(false, opened.error());
        guest.window = std::move(*opened);
    }
    if (guest.window->width() > kLargestWidth) resize(scene, guest);
    pass(scene, kPicture);
    if (scene.dice.oneIn(20)) meddle(scene, guest);
    constexpr void (Hand::*kGestures[])() = {&Hand::press, &Hand::press, &Hand::type,
                                             &Hand::hurry, &Hand::hurry, &Hand::turnWheel};
    Hand hand(scene, guest);
    (hand.*scene.dice.of(kGestures))();
    if (scene.dice.oneIn(400)) std::this_thread::sleep_for(kHint);  // until hints show
}

}  // namespace Quorvant::Soak
