#include "plugin/HostRunLoop.h"

#include "base/source/fobject.h"

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

}  // namespace

VSTGUI::SharedPointer<X11::IRunLoop> hostRunLoop(IPlugFrame* frame) {
    FUnknownPtr<Linux::IRunLoop> loop(frame);
    if (!loop) return nullptr;
    return VSTGUI::makeOwned<HostRunLoop>(IPtr<Linux::IRunLoop>(loop));
}

}  // namespace Quorvant
