// The built module's editor in a real window, with a host's event loop around it. Needs an X
// server: ctest runs this under xvfb-run.
#include "tests/module/ModuleRig.h"

#include "base/source/fobject.h"
#include "pluginterfaces/gui/iplugview.h"
#include <poll.h>
#include <xcb/xcb.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <set>
#include <thread>

namespace Quorvant::Test {
namespace {

using namespace Steinberg;
using Clock = std::chrono::steady_clock;

// What a host lends to a view: its window's size and its event loop.
class HostFrame final : public FObject, public IPlugFrame, public Linux::IRunLoop {
  public:
    tresult PLUGIN_API resizeView(IPlugView* view, ViewRect* size) override {
        ++resizes;
        return view->onSize(size);
    }
    tresult PLUGIN_API registerEventHandler(Linux::IEventHandler* handler,
                                            Linux::FileDescriptor descriptor) override {
        events.push_back({handler, descriptor});
        return kResultTrue;
    }
    tresult PLUGIN_API unregisterEventHandler(Linux::IEventHandler* handler) override {
        std::erase_if(events, [handler](const auto& e) { return e.handler == handler; });
        return kResultTrue;
    }
    tresult PLUGIN_API registerTimer(Linux::ITimerHandler* handler,
                                     Linux::TimerInterval milliseconds) override {
        timers.push_back({handler, std::chrono::milliseconds(milliseconds), Clock::now()});
        return kResultTrue;
    }
    tresult PLUGIN_API unregisterTimer(Linux::ITimerHandler* handler) override {
        std::erase_if(timers, [handler](const auto& t) { return t.handler == handler; });
        return kResultTrue;
    }

    // Until `done` says so, ten seconds at most; whether it did.
    bool runUntil(const std::function<bool()>& done) {
        const auto end = Clock::now() + std::chrono::seconds(10);
        while (Clock::now() < end) {
            const auto ready = events;  // handlers may come and go meanwhile
            for (const auto& event : ready) {
                pollfd descriptor{event.descriptor, POLLIN, 0};
                if (poll(&descriptor, 1, 0) > 0) event.handler->onFDIsSet(event.descriptor);
            }
            const auto now = Clock::now();
            std::vector<Linux::ITimerHandler*> due;
            for (auto& timer : timers) {
                if (now - timer.last < timer.interval) continue;
                timer.last = now;
                due.push_back(timer.handler);
            }
            for (Linux::ITimerHandler* handler : due)
                if (std::any_of(timers.begin(), timers.end(),
                                [handler](const auto& t) { return t.handler == handler; }))
                    handler->onTimer();
            if (done()) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return false;
    }
    bool isIdle() const { return events.empty() && timers.empty(); }

    int resizes = 0;

    DELEGATE_REFCOUNT(FObject)
    DEFINE_INTERFACES
    DEF_INTERFACE(IPlugFrame)
    DEF_INTERFACE(Linux::IRunLoop)
    END_DEFINE_INTERFACES(FObject)

  private:
    struct Event {
        Linux::IEventHandler* handler;
        Linux::FileDescriptor descriptor;
    };
    struct Timer {
        Linux::ITimerHandler* handler;
        Clock::duration interval;
        Clock::time_point last;
    };
    std::vector<Event> events;
    std::vector<Timer> timers;
};

// A top-level window with a plug-in's editor in it.
class EditorWindow {
  public:
    explicit EditorWindow(ModuleRig& rig) : connection(xcb_connect(nullptr, nullptr)) {
        if (xcb_connection_has_error(connection)) return;
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
        view = owned(rig.plugin->controller()->createView(Vst::ViewType::kEditor));
        if (!view) return;
        ViewRect size;
        view->getSize(&size);
        window = xcb_generate_id(connection);
        xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0,
                          static_cast<uint16_t>(size.getWidth()),
                          static_cast<uint16_t>(size.getHeight()), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          screen->root_visual, 0, nullptr);
        xcb_map_window(connection, window);
        xcb_flush(connection);
        view->setFrame(&frame);
        void* const parent = reinterpret_cast<void*>(static_cast<uintptr_t>(window));
        open = view->attached(parent, kPlatformTypeX11EmbedWindowID) == kResultOk;
    }
    ~EditorWindow() {
        if (open) view->removed();
        if (view) view->setFrame(nullptr);
        EXPECT_TRUE(frame.isIdle()) << "handlers are left in the host's loop";
        view = nullptr;
        xcb_disconnect(connection);
    }
    EditorWindow(const EditorWindow&) = delete;
    EditorWindow& operator=(const EditorWindow&) = delete;

    // Different colours in the innermost window, the one that is drawn to.
    size_t colours() {
        xcb_window_t innermost = window;
        for (bool deeper = true; deeper;) {
            auto* tree =
                xcb_query_tree_reply(connection, xcb_query_tree(connection, innermost), nullptr);
            deeper = tree != nullptr && xcb_query_tree_children_length(tree) > 0;
            if (deeper) innermost = xcb_query_tree_children(tree)[0];
            // An embedder maps what it embeds.
            xcb_map_window(connection, innermost);
            std::free(tree);
        }
        ViewRect size;
        view->getSize(&size);
        auto* reply =
            xcb_get_image_reply(connection,
                                xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, innermost, 0,
                                              0, static_cast<uint16_t>(size.getWidth()),
                                              static_cast<uint16_t>(size.getHeight()), ~0u),
                                nullptr);
        if (reply == nullptr) return 0;
        const auto* pixels = reinterpret_cast<const uint32_t*>(xcb_get_image_data(reply));
        const int count = xcb_get_image_data_length(reply) / 4;
        const std::set<uint32_t> found(pixels, pixels + count);
        std::free(reply);
        return found.size();
    }

    xcb_connection_t* connection;
    xcb_window_t window = 0;
    HostFrame frame;
    IPtr<IPlugView> view;
    bool open = false;
};

void person(const std::string& does) {
    ASSERT_EQ(std::system(("xdotool " + does).c_str()), 0) << does;
}

TEST(EditorWindow, DrawsItselfAndItsKnobsReachTheHost) {
    ModuleRig rig;
    EditorWindow window(rig);
    ASSERT_TRUE(window.open);
    ASSERT_TRUE(window.frame.runUntil([&] { return window.colours() > 100; }));

    // The Input knob, a third into the front panel's first group.
    auto& log = rig.plugin->editLog();
    person("mousemove 141 102 mousedown 1");
    int step = 0;
    EXPECT_TRUE(window.frame.runUntil([&] {
        if (++step % 20 == 0) person("mousemove_relative -- 0 -5");
        return log.edits.size() > 2;
    }));
    person("mouseup 1");
    EXPECT_TRUE(window.frame.runUntil([&] { return log.ended == log.begun && log.ended > 0; }));
    ASSERT_FALSE(log.edits.empty());
    EXPECT_EQ(log.edits.back().id, 4u);
    EXPECT_GT(log.edits.back().value, 0.5);
    // Keys belong to the host while nobody types.
    EXPECT_NE(window.view->onKeyDown(' ', 0, 0), kResultTrue);
}

TEST(EditorWindow, FollowsTheHostsSizeAndScale) {
    ModuleRig rig;
    EditorWindow window(rig);
    ASSERT_TRUE(window.open);
    ViewRect size;
    window.view->getSize(&size);
    EXPECT_EQ(window.view->canResize(), kResultTrue);
    ViewRect wanted(0, 0, size.getWidth() * 3 / 2, 100);
    EXPECT_EQ(window.view->checkSizeConstraint(&wanted), kResultTrue);
    EXPECT_NEAR(wanted.getHeight(), size.getHeight() * 1.5, 2.0);
    EXPECT_EQ(window.view->onSize(&wanted), kResultTrue);
    EXPECT_TRUE(window.frame.runUntil([&] { return window.colours() > 100; }));
}

TEST(EditorWindow, OpensAndClosesManyTimesWhileAudioRuns) {
    ModuleRig rig;
    std::atomic<bool> done = false;
    std::thread audio([&] {
        while (!done) rig.render(noise(0.2, 4800));
    });
    for (int round = 0; round < 12; ++round) {
        EditorWindow window(rig);
        EXPECT_TRUE(window.open) << round;
        EXPECT_TRUE(window.frame.runUntil([&] { return window.colours() > 100; })) << round;
    }
    done = true;
    audio.join();
}

}  // namespace
}  // namespace Quorvant::Test
