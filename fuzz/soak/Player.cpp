// Somebody who plays in the editors with mouse and keyboard and doesn't look, while the host goes
// on as hosts do.
#include "fuzz/soak/Soak.h"

#include "pluginterfaces/base/keycodes.h"

namespace Quorvant::Soak {

using namespace Steinberg;
using Hosting::Button;
using Hosting::Pointer;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds kMoment{1}, kPicture{17};
constexpr int kUsualWidth = 1000, kLargestWidth = 2200;  // larger ones only slow the player down

void pass(Scene& scene, milliseconds time) {
    for (const auto& guest : scene.guests)
        if (guest->window) guest->window->pass(time);
}

void close(Scene&, Guest& guest) {
    guest.window->close();
    require(guest.window->handlerCount() == 0, "handlers are left in the host's loop");
    guest.window = nullptr;
}

void resize(Scene& scene, Guest& guest) {
    const bool usual = scene.dice.oneIn(2) || guest.window->width() > kLargestWidth;
    const int width = usual ? kUsualWidth : scene.dice.between(300, 1500);
    require(guest.window->setWidth(width), "the editor can't be resized");
}

// What the host does meanwhile.
void meddle(Scene& scene, Guest& guest) {
    constexpr decltype(&close) kWays[] = {close, resize,        editParameters, loadStates,
                                          play,  chooseProgram, chooseProgram};
    scene.dice.of(kWays)(scene, guest);
}

// One go at an editor, which the host may close at any moment of it.
class Hand {
  public:
    Hand(Scene& whole, Guest& played) : scene(whole), guest(played), dice(whole.dice) {}

    // Where a menu has opened, at the bar of buttons, where questions are, or anywhere.
    void aim() {
        if (!guest.window) return;
        const int width = guest.window->width(), height = guest.window->height();
        const int lot = dice.below(10);
        if (lot < 3) {
            scene.x += dice.between(-90, 90);
            scene.y += dice.between(-5, 120);
        } else {
            scene.x = lot == 5 ? dice.between(width * 2 / 5, width * 3 / 5) : dice.below(width);
            scene.y = lot == 5  ? dice.between(height * 2 / 5, height * 3 / 5)
                      : lot > 5 ? dice.below(height)
                                : dice.below(height / 10);
        }
    }
    // A click, two, or a drag, which may find no end.
    void press() {
        aim();
        const Button button = dice.oneIn(5) ? Button::Right : Button::Left;
        const int held = modifiers(), stepX = dice.between(-6, 6), stepY = dice.between(-6, 6);
        point(Pointer::Move, button, 0);
        for (int times = dice.oneIn(3) ? 2 : 1; times > 0; --times) {
            point(Pointer::Press, button, held);
            for (int steps = dice.oneIn(4) ? dice.between(1, 20) : 0; steps > 0; --steps) {
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
        constexpr std::string_view kCharacters = "0123456789abcdefgmnoprstuz./-, ";
        constexpr std::string_view kEditing = "acxvz";
        constexpr int16 kSelecting[] = {KEY_LEFT, KEY_HOME, KEY_END};
        constexpr int16 kCodes[] = {KEY_UP,  KEY_DOWN, KEY_LEFT,   KEY_RIGHT, KEY_HOME,
                                    KEY_END, KEY_BACK, KEY_DELETE, KEY_SPACE, KEY_TAB};
        for (int keys = dice.below(8); keys > 0; --keys) {
            const int lot = dice.below(6);
            if (lot == 0 && dice.oneIn(2)) key(0, dice.of(kSelecting), kShiftKey);
            if (lot == 0) key(dice.of(kEditing), 0, kCommandKey);
            if (lot > 0 && lot < 4) key(0, dice.of(kCodes), modifiers());
            if (lot > 3) key(dice.of(kCharacters), 0, 0);
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
        if (guest.window) {
            auto& view = guest.window->view();
            view.onKeyDown(static_cast<char16>(character), code, held);
            view.onKeyUp(static_cast<char16>(character), code, held);
        }
        goOn();
    }
    void goOn() {
        if (guest.window && dice.oneIn(30)) meddle(scene, guest);
        if (!dice.oneIn(4)) pass(scene, dice.oneIn(4) ? kPicture : kMoment);
    }

    Scene& scene;
    Guest& guest;
    Dice& dice;
};

}  // namespace

void playInEditor(Scene& scene, Guest& guest) {
    if (!guest.window) guest.window = Hosting::EditorWindow::open(*guest.plugin);
    if (guest.window->width() > kLargestWidth) resize(scene, guest);
    pass(scene, kPicture);
    if (scene.dice.oneIn(20)) meddle(scene, guest);
    constexpr void (Hand::*kGestures[])() = {&Hand::press, &Hand::press, &Hand::type,
                                             &Hand::hurry, &Hand::hurry, &Hand::turnWheel};
    Hand hand(scene, guest);
    (hand.*scene.dice.of(kGestures))();
}

}  // namespace Quorvant::Soak
