// A top-level window with a plug-in's editor in it, the events that reach it, and its picture.
#pragma once

#include "tools/hosting/HostedPlugin.h"

#include "pluginterfaces/gui/iplugview.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace Quorvant::Hosting {

struct Pixels {
    int width = 0, height = 0;
    std::vector<uint32_t> values;  // 0x00RRGGBB, row by row from the top
};

enum class Pointer { Press, Release, Move, Drag };                  // Drag: with the button down
enum class Button { Left = 1, Middle, Right, WheelUp, WheelDown };  // a wheel is pressed only

// Main thread. The plug-in outlives the window.
class EditorWindow {
  public:
    using Ptr = std::unique_ptr<EditorWindow>;

    // At the size that the plug-in wishes. Throws a Failure where the plug-in has no editor,
    // refuses to open it, or there is no display.
    static Ptr open(HostedPlugin& plugin);
    virtual ~EditorWindow();
    EditorWindow(const EditorWindow&) = delete;
    EditorWindow& operator=(const EditorWindow&) = delete;

    // Until close().
    Steinberg::IPlugView& view() { return *plugView; }
    // The view's size in pixels.
    int width() const;
    int height() const;
    // Gives the window and the view a width, and the height that the view wants with it. False
    // where the view refuses.
    bool setWidth(int pixels);

    // Lets events and timers reach the view, and asks `done` between them, a hundred times a second
    // or more. False if the time is up or the user has closed the window.
    bool runUntil(const std::function<bool()>& done,
                  std::chrono::milliseconds limit = std::chrono::seconds(10));
    bool closedByUser() const { return closed; }

    // What the view shows. Empty where it can't be read.
    virtual Pixels pixels() = 0;
    // Closes the editor; the window goes with this object.
    void close();
    // As if the user did it, at a point of the view in pixels; `modifiers` are the SDK's.
    virtual void point(Pointer action, int x, int y, Button button = Button::Left,
                       int modifiers = 0) = 0;
    // Lets what has arrived, and what is due after that time, reach the view. Where the host keeps
    // the clock, this takes no time, and from then on nothing else makes it go on.
    virtual void pass(std::chrono::milliseconds time);
    // Handlers of the view's that the host's event loop holds.
    virtual size_t handlerCount() const { return 0; }

  protected:
    EditorWindow() = default;

    // Opens the window, and the plug-in's view in it.
    void show(HostedPlugin& plugin, Steinberg::FIDString platform, Steinberg::IPlugFrame* frame);
    // The native window of the view's size; null where there is no display.
    virtual void* makeWindow(const std::string& title) = 0;
    // Answers the plug-in's wish for another size.
    Steinberg::tresult resizeTo(const Steinberg::ViewRect& size);
    // Gives the view the size that the user has dragged the window to.
    void follow(int width, int height);
    // Handles what is due, after waiting for `pause` at most.
    virtual void turn(std::chrono::milliseconds pause) = 0;
    virtual void resizeWindow(int width, int height) = 0;

    Steinberg::IPtr<Steinberg::IPlugView> plugView;
    bool attached = false;
    bool closed = false;
};

}  // namespace Quorvant::Hosting
