#include "plugin/HostRunLoop.h"

#include "base/source/fobject.h"
#include <cairo/cairo-xcb.h>
#include <vstgui/lib/platform/linux/x11platform.h>

#include <algorithm>
#include <vector>

namespace Quorvant {
namespace {

using namespace Steinberg;
namespace X11 = VSTGUI::X11;

class EventAdapter final : public FObject, public Linux::IEventHandler {
  public:
    explicit EventAdapter(X11::IEventHandler* to) : target(to) {}
    void PLUGIN_API onFDIsSet(Linux::FileDescriptor) override { target->onEvent(); }

    X11::IEventHandler* const target;

    DELEGATE_REFCOUNT(FObject)
    DEFINE_INTERFACES
    DEF_INTERFACE(Linux::IEventHandler)
    END_DEFINE_INTERFACES(FObject)
};

class TimerAdapter final : public FObject, public Linux::ITimerHandler {
  public:
    explicit TimerAdapter(X11::ITimerHandler* to) : target(to) {}
    void PLUGIN_API onTimer() override { target->onTimer(); }

    X11::ITimerHandler* const target;

    DELEGATE_REFCOUNT(FObject)
    DEFINE_INTERFACES
    DEF_INTERFACE(Linux::ITimerHandler)
    END_DEFINE_INTERFACES(FObject)
};

class HostRunLoop final : public X11::IRunLoop, public VSTGUI::AtomicReferenceCounted {
  public:
    explicit HostRunLoop(IPtr<Linux::IRunLoop> host) : loop(std::move(host)) {}

    bool registerEventHandler(int descriptor, X11::IEventHandler* handler) override {
        auto adapter = owned(new EventAdapter(handler));
        if (loop->registerEventHandler(adapter, descriptor) != kResultTrue) return false;
        events.push_back(adapter);
        return true;
    }
    bool unregisterEventHandler(X11::IEventHandler* handler) override {
        return drop(events, handler,
                    [this](EventAdapter* adapter) { loop->unregisterEventHandler(adapter); });
    }
    bool registerTimer(uint64_t milliseconds, X11::ITimerHandler* handler) override {
        auto adapter = owned(new TimerAdapter(handler));
        if (loop->registerTimer(adapter, milliseconds) != kResultTrue) return false;
        timers.push_back(adapter);
        return true;
    }
    bool unregisterTimer(X11::ITimerHandler* handler) override {
        return drop(timers, handler,
                    [this](TimerAdapter* adapter) { loop->unregisterTimer(adapter); });
    }

  private:
    template <typename Adapter, typename Handler, typename Unregister>
    static bool drop(std::vector<IPtr<Adapter>>& adapters, Handler* handler,
                     Unregister unregister) {
        const auto at =
            std::find_if(adapters.begin(), adapters.end(),
                         [handler](const auto& adapter) { return adapter->target == handler; });
        if (at == adapters.end()) return false;
        unregister(at->get());
        adapters.erase(at);
        return true;
    }

    IPtr<Linux::IRunLoop> loop;
    std::vector<IPtr<EventAdapter>> events;
    std::vector<IPtr<TimerAdapter>> timers;
};

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

VSTGUI::SharedPointer<X11::IRunLoop> hostRunLoop(IPlugFrame* frame) {
    FUnknownPtr<Linux::IRunLoop> loop(frame);
    if (!loop) return nullptr;
    return VSTGUI::makeOwned<HostRunLoop>(IPtr<Linux::IRunLoop>(loop));
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
