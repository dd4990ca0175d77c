#include "tools/hosting/EditorWindow.h"

#include "pluginterfaces/base/funknownimpl.h"
#include "pluginterfaces/base/keycodes.h"
#include <poll.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace Quorvant::Hosting {
namespace {

using namespace Steinberg;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

struct Free {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename Reply>
using Owned = std::unique_ptr<Reply, Free>;

// The host's event loop, lent to views; and their wishes for another size.
class Loop final : public U::Implements<U::Directly<IPlugFrame, Linux::IRunLoop>> {
  public:
    std::function<tresult(const ViewRect&)> onResize;

    tresult PLUGIN_API resizeView(IPlugView*, ViewRect* size) override {
        return size != nullptr && onResize ? onResize(*size) : kInvalidArgument;
    }
    tresult PLUGIN_API registerEventHandler(Linux::IEventHandler* handler,
                                            Linux::FileDescriptor descriptor) override {
        events.push_back({handler, descriptor});
        return kResultTrue;
    }
    tresult PLUGIN_API unregisterEventHandler(Linux::IEventHandler* handler) override {
        return remove(events, handler);
    }
    tresult PLUGIN_API registerTimer(Linux::ITimerHandler* handler,
                                     Linux::TimerInterval interval) override {
        timers.push_back({handler, milliseconds(interval), now() + milliseconds(interval)});
        return kResultTrue;
    }
    tresult PLUGIN_API unregisterTimer(Linux::ITimerHandler* handler) override {
        return remove(timers, handler);
    }

    Clock::time_point now() const { return ownTime.value_or(Clock::now()); }
    // From then on time goes on by this alone.
    void goOn(milliseconds time) { ownTime = now() + time; }

    // Waits for `own` too, a descriptor of the host's.
    void turn(milliseconds pause, int own) {
        std::vector<pollfd> descriptors = {{own, POLLIN, 0}};
        for (const Event& event : events) descriptors.push_back({event.descriptor, POLLIN, 0});
        for (const Timer& timer : timers) {
            const auto left = std::chrono::ceil<milliseconds>(timer.due - now());
            pause = std::clamp(left, milliseconds(0), pause);
        }
        poll(descriptors.data(), descriptors.size(), static_cast<int>(pause.count()));
        // Handlers come and go while others are called.
        for (size_t i = 1; i < descriptors.size(); ++i) {
            if (descriptors[i].revents == 0) continue;
            const auto at = std::ranges::find(events, descriptors[i].fd, &Event::descriptor);
            if (at != events.end()) at->handler->onFDIsSet(at->descriptor);
        }
        std::vector<Linux::ITimerHandler*> due;
        const auto time = now();
        for (Timer& timer : timers) {
            if (time < timer.due) continue;
            timer.due = time + timer.interval;
            due.push_back(timer.handler);
        }
        for (Linux::ITimerHandler* handler : due)
            if (std::ranges::count(timers, handler, &Timer::handler) > 0) handler->onTimer();
    }
    size_t handlerCount() const { return events.size() + timers.size(); }

  private:
    struct Event {
        Linux::IEventHandler* handler;
        Linux::FileDescriptor descriptor;
    };
    struct Timer {
        Linux::ITimerHandler* handler;
        milliseconds interval;
        Clock::time_point due;
    };
    template <typename Entries, typename Handler>
    static tresult remove(Entries& entries, Handler* handler) {
        const auto isIt = [=](const auto& entry) { return entry.handler == handler; };
        return std::erase_if(entries, isIt) > 0 ? kResultTrue : kResultFalse;
    }

    std::vector<Event> events;
    std::vector<Timer> timers;
    std::optional<Clock::time_point> ownTime;
};

uint16_t stateOf(int modifiers) {
    return static_cast<uint16_t>((modifiers & kShiftKey ? XCB_MOD_MASK_SHIFT : 0) |
                                 (modifiers & kCommandKey ? XCB_MOD_MASK_CONTROL : 0) |
                                 (modifiers & kAlternateKey ? XCB_MOD_MASK_1 : 0));
}

class Window final : public EditorWindow {
  public:
    ~Window() override {
        close();
        loop->onResize = nullptr;
        xcb_disconnect(connection);
    }

    void open(HostedPlugin& plugin) {
        loop->onResize = [this](const ViewRect& size) { return resizeTo(size); };
        show(plugin, kPlatformTypeX11EmbedWindowID, loop);
        mapChildren();
    }

    Pixels pixels() override {
        xcb_flush(connection);
        const Owned<xcb_get_image_reply_t> reply(xcb_get_image_reply(
            connection,
            xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, innermost(), 0, 0,
                          static_cast<uint16_t>(width()), static_cast<uint16_t>(height()), ~0u),
            nullptr));
        if (!reply || reply->depth < 24) return {};
        const auto count = static_cast<size_t>(width()) * static_cast<size_t>(height());
        const auto bytes = static_cast<size_t>(xcb_get_image_data_length(reply.get()));
        if (bytes != count * sizeof(uint32_t)) return {};
        Pixels result{width(), height(), std::vector<uint32_t>(count)};
        std::memcpy(result.values.data(), xcb_get_image_data(reply.get()), bytes);
        for (uint32_t& value : result.values) value &= 0xffffffu;
        return result;
    }

    void point(Pointer action, int x, int y, Button button, int modifiers) override {
        const bool press = action == Pointer::Press, release = action == Pointer::Release;
        const int which = static_cast<int>(button);
        const int held = action == Pointer::Drag || release ? XCB_BUTTON_MASK_1 << (which - 1) : 0;
        const auto since = loop->now().time_since_epoch();
        // An event of motion has the same members.
        xcb_button_press_event_t event{};
        event.response_type = press     ? XCB_BUTTON_PRESS
                              : release ? XCB_BUTTON_RELEASE
                                        : XCB_MOTION_NOTIFY;
        event.detail = static_cast<xcb_button_t>(press || release ? which : 0);
        event.state = static_cast<uint16_t>(stateOf(modifiers) | held);
        event.time =
            static_cast<xcb_timestamp_t>(std::chrono::duration_cast<milliseconds>(since).count());
        event.root = root;
        event.event = innermost();
        event.root_x = event.event_x = static_cast<int16_t>(x);
        event.root_y = event.event_y = static_cast<int16_t>(y);
        event.same_screen = 1;
        constexpr uint32_t kAny = XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE |
                                  XCB_EVENT_MASK_POINTER_MOTION;
        xcb_send_event(connection, 0, event.event, kAny, reinterpret_cast<const char*>(&event));
        xcb_flush(connection);
    }

    void pass(milliseconds time) override {
        // An answer comes after what was sent before the question.
        std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
        loop->goOn(time);
        turn(milliseconds(0));
    }

    size_t handlerCount() const override { return loop->handlerCount(); }

  protected:
    void turn(milliseconds pause) override {
        loop->turn(pause, xcb_get_file_descriptor(connection));
        int newWidth = 0, newHeight = 0;
        while (const Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection)}) {
            const auto type = event->response_type & 0x7f;
            if (type == XCB_CONFIGURE_NOTIFY) {
                const auto* now = reinterpret_cast<xcb_configure_notify_event_t*>(event.get());
                if (now->window != window) continue;
                newWidth = now->width;
                newHeight = now->height;
            } else if (type == XCB_CREATE_NOTIFY || type == XCB_REPARENT_NOTIFY) {
                mapChildren();
            } else if (type == XCB_CLIENT_MESSAGE) {
                const auto* message = reinterpret_cast<xcb_client_message_event_t*>(event.get());
                if (message->data.data32[0] == deleteWindow) closed = true;
            }
        }
        if (newWidth > 0) follow(newWidth, newHeight);
        if (xcb_connection_has_error(connection)) closed = true;
    }
    void resizeWindow(int newWidth, int newHeight) override {
        const uint32_t size[] = {static_cast<uint32_t>(newWidth), static_cast<uint32_t>(newHeight)};
        xcb_configure_window(connection, window, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT,
                             size);
        xcb_flush(connection);
    }

  private:
    xcb_atom_t atom(std::string_view name) {
        const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
            connection,
            xcb_intern_atom(connection, 0, static_cast<uint16_t>(name.size()), name.data()),
            nullptr));
        return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
    }
    void* makeWindow(const std::string& title) override {
        if (xcb_connection_has_error(connection)) return nullptr;
        const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
        root = screen->root;
        window = xcb_generate_id(connection);
        const uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, root, 0, 0,
                          static_cast<uint16_t>(width()), static_cast<uint16_t>(height()), 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_EVENT_MASK,
                          &mask);
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME,
                            XCB_ATOM_STRING, 8, static_cast<uint32_t>(title.size()), title.data());
        deleteWindow = atom("WM_DELETE_WINDOW");
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, atom("WM_PROTOCOLS"),
                            XCB_ATOM_ATOM, 32, 1, &deleteWindow);
        xcb_map_window(connection, window);
        xcb_flush(connection);
        return reinterpret_cast<void*>(static_cast<uintptr_t>(window));
    }
    // An embedder maps what it embeds.
    void mapChildren() {
        xcb_window_t child = window;
        while ((child = childOf(child)) != XCB_NONE) xcb_map_window(connection, child);
        xcb_flush(connection);
    }
    xcb_window_t childOf(xcb_window_t parent) {
        const Owned<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(connection, xcb_query_tree(connection, parent), nullptr));
        if (!tree || xcb_query_tree_children_length(tree.get()) == 0) return XCB_NONE;
        return xcb_query_tree_children(tree.get())[0];
    }
    // The window that the view draws to.
    xcb_window_t innermost() {
        xcb_window_t inner = window;
        while (const xcb_window_t child = childOf(inner)) inner = child;
        return inner;
    }

    xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
    const IPtr<Loop> loop = owned(new Loop);
    xcb_window_t root = 0, window = 0;
    xcb_atom_t deleteWindow = 0;
};

}  // namespace

EditorWindow::Ptr EditorWindow::open(HostedPlugin& plugin) {
    auto window = std::make_unique<Window>();
    window->open(plugin);
    return window;
}

}  // namespace Quorvant::Hosting
