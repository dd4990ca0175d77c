#include "plugin/HostRunLoop.h"

#include "base/source/fobject.h"
#include <cairo/cairo-xcb.h>
#include <vstgui/lib/platform/linux/x11platform.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

namespace Quorvant {
namespace {

using namespace Steinberg;
namespace X11 = VSTGUI::X11;

// Some hosts run their timers in two threads: views belong to the one that has opened them. What a
// descriptor tells stays there to be read.
bool isHere(std::thread::id home) {
    return std::this_thread::get_id() == home;
}

class EventAdapter final : public FObject, public Linux::IEventHandler {
  public:
    EventAdapter(X11::IEventHandler* to, int watched) : target(to), descriptor(watched) {}
    void PLUGIN_API onFDIsSet(Linux::FileDescriptor) override {
        if (isHere(home)) target->onEvent();
    }
    bool enter(Linux::IRunLoop& loop) {
        return loop.registerEventHandler(this, descriptor) == kResultTrue;
    }
    void leave(Linux::IRunLoop& loop) { loop.unregisterEventHandler(this); }

    X11::IEventHandler* const target;
    const int descriptor;
    const std::thread::id home = std::this_thread::get_id();

    DELEGATE_REFCOUNT(FObject)
    DEFINE_INTERFACES
    DEF_INTERFACE(Linux::IEventHandler)
    END_DEFINE_INTERFACES(FObject)
};

class TimerAdapter final : public FObject, public Linux::ITimerHandler {
  public:
    TimerAdapter(X11::ITimerHandler* to, uint64_t interval) : target(to), milliseconds(interval) {}
    void PLUGIN_API onTimer() override {
        if (isHere(home)) target->onTimer();
    }
    bool enter(Linux::IRunLoop& loop) {
        return loop.registerTimer(this, milliseconds) == kResultTrue;
    }
    void leave(Linux::IRunLoop& loop) { loop.unregisterTimer(this); }

    X11::ITimerHandler* const target;
    const uint64_t milliseconds;
    const std::thread::id home = std::this_thread::get_id();

    DELEGATE_REFCOUNT(FObject)
    DEFINE_INTERFACES
    DEF_INTERFACE(Linux::ITimerHandler)
    END_DEFINE_INTERFACES(FObject)
};

// What VSTGUI registers is in the first of the hosts' loops, and moves on when that one goes.
class SharedLoop final : public X11::IRunLoop, public VSTGUI::AtomicReferenceCounted {
  public:
    void add(const IPtr<Linux::IRunLoop>& loop) { loops.push_back(loop); }
    void remove(const IPtr<Linux::IRunLoop>& loop) {
        const auto at = std::find(loops.begin(), loops.end(), loop);
        if (at == loops.end()) return;
        const bool serving = at == loops.begin();
        loops.erase(at);
        if (!serving) return;
        const auto move = [&](auto& adapters) {
            for (const auto& adapter : adapters) {
                adapter->leave(*loop);
                if (!loops.empty()) adapter->enter(*loops.front());
            }
        };
        move(events);
        move(timers);
    }

    bool registerEventHandler(int descriptor, X11::IEventHandler* handler) override {
        return take(events, owned(new EventAdapter(handler, descriptor)));
    }
    bool unregisterEventHandler(X11::IEventHandler* handler) override {
        return drop(events, handler);
    }
    bool registerTimer(uint64_t milliseconds, X11::ITimerHandler* handler) override {
        return take(timers, owned(new TimerAdapter(handler, milliseconds)));
    }
    bool unregisterTimer(X11::ITimerHandler* handler) override { return drop(timers, handler); }

  private:
    template <typename Adapter>
    bool take(std::vector<IPtr<Adapter>>& adapters, IPtr<Adapter> adapter) {
        if (loops.empty() || !adapter->enter(*loops.front())) return false;
        adapters.push_back(std::move(adapter));
        return true;
    }
    template <typename Adapter, typename Handler>
    bool drop(std::vector<IPtr<Adapter>>& adapters, Handler* handler) {
        const auto at =
            std::find_if(adapters.begin(), adapters.end(),
                         [handler](const auto& adapter) { return adapter->target == handler; });
        if (at == adapters.end()) return false;
        if (!loops.empty()) (*at)->leave(*loops.front());
        adapters.erase(at);
        return true;
    }

    std::vector<IPtr<Linux::IRunLoop>> loops;
    std::vector<IPtr<EventAdapter>> events;
    std::vector<IPtr<TimerAdapter>> timers;
};

SharedLoop& sharedLoop() {
    static const auto loop = VSTGUI::makeOwned<SharedLoop>();
    return *loop;
}

xcb_visualtype_t* visualOf(const xcb_screen_t* screen) {
    for (auto depth = xcb_screen_allowed_depths_iterator(screen); depth.rem;
         xcb_depth_next(&depth)) {
        for (auto visual = xcb_depth_visuals_iterator(depth.data); visual.rem;
             xcb_visualtype_next(&visual)) {
            if (visual.data->visual_id == screen->root_visual) return visual.data;
        }
    }
    return nullptr;
}

}  // namespace

HostRunLoop::HostRunLoop(IPlugFrame* frame) : loop(FUnknownPtr<Linux::IRunLoop>(frame)) {
    if (loop) sharedLoop().add(loop);
}

HostRunLoop::~HostRunLoop() {
    if (loop) sharedLoop().remove(loop);
}

VSTGUI::SharedPointer<X11::IRunLoop> HostRunLoop::forFrames() const {
    if (!loop) return nullptr;
    return VSTGUI::shared<X11::IRunLoop>(&sharedLoop());
}

bool isWindow(void* handle) {
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    bool there = false;
    if (!xcb_connection_has_error(connection)) {
        const auto id = static_cast<xcb_window_t>(reinterpret_cast<uintptr_t>(handle));
        const std::unique_ptr<xcb_get_geometry_reply_t, decltype(&std::free)> reply(
            xcb_get_geometry_reply(connection, xcb_get_geometry(connection, id), nullptr),
            &std::free);
        there = reply != nullptr;
    }
    xcb_disconnect(connection);
    return there;
}

void bindCairoToConnection() {
    auto& loop = X11::RunLoop::instance();
    xcb_connection_t* connection = loop.getXcbConnection();
    if (!connection || xcb_connection_has_error(connection)) return;
    const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    xcb_visualtype_t* visual = visualOf(screen);
    if (!visual) return;
    cairo_surface_t* surface = cairo_xcb_surface_create(connection, screen->root, visual, 1, 1);
    if (cairo_device_t* device = cairo_surface_get_device(surface)) loop.setDevice(device);
    cairo_surface_destroy(surface);
}

}  // namespace Quorvant
