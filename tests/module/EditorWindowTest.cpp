// The built module's editor in a real window, with a host's event loop around it.
#include "params/ParameterIndex.h"
#include "tests/module/ModuleRig.h"
#include "tests/module/ProcessUse.h"
#include "tools/hosting/EditorWindow.h"

#include "pluginterfaces/gui/iplugviewcontentscalesupport.h"

#include <chrono>
#include <cmath>
#include <filesystem>
#include <functional>
#include <set>
#include <thread>

#ifndef _WIN32
#include "base/source/fobject.h"
#include <unistd.h>
#include <xcb/xcb.h>
#endif

namespace Quorvant::Test {
namespace {

using namespace Steinberg;
using Hosting::EditorWindow;
using Hosting::Pointer;

#ifdef _WIN32
// Wine takes seconds for each, and never shows about one window in ten.
constexpr int kAttempts = 5, kRounds = 10, kEditors = 8, kWarmUp = 3;
constexpr std::chrono::seconds kPatience{10};
#else
constexpr int kAttempts = 1, kRounds = 50, kEditors = 200, kWarmUp = 20;
constexpr std::chrono::seconds kPatience{120};  // however busy the machine is
#endif
constexpr int kInputX = 141, kInputY = 65;  // the Input knob at 100 %

bool waitFor(EditorWindow& window, const std::function<bool()>& condition) {
    return window.runUntil(condition, kPatience);
}

// Once the editor has drawn itself, it shows more than a few colours.
bool isDrawn(EditorWindow& window) {
    const auto pixels = window.pixels();
    return std::set<uint32_t>(pixels.values.begin(), pixels.values.end()).size() > 100;
}

EditorWindow::Ptr open(ModuleRig& rig) {
    return EditorWindow::open(*rig.plugin);
}

EditorWindow::Ptr openDrawn(ModuleRig& rig) {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        auto window = open(rig);
        if (waitFor(*window, [&] { return isDrawn(*window); })) return window;
    }
    ADD_FAILURE() << "the editor isn't drawn";
    std::abort();
}

void pause(EditorWindow& window, int milliseconds) {
    window.runUntil([] { return false; }, std::chrono::milliseconds(milliseconds));
}

void dragInputUp(EditorWindow& window) {
    window.point(Pointer::Move, kInputX, kInputY);
    window.point(Pointer::Press, kInputX, kInputY);
    for (int y = kInputY; y > kInputY - 30; y -= 3) window.point(Pointer::Drag, kInputX, y);
    window.point(Pointer::Release, kInputX, kInputY - 30);
}

void click(EditorWindow& window, int x, int y) {
    for (const auto action : {Pointer::Move, Pointer::Press, Pointer::Release})
        window.point(action, x, y);
}

#ifndef _WIN32

// Real keys, which reach the window that has the keyboard.
void type(EditorWindow& window, const std::string& keys) {
    ASSERT_EQ(std::system(("xdotool key --delay 15 " + keys).c_str()), 0);
    pause(window, 150);
}

// The preset folder is found once a process.
const struct UserFolder {
    UserFolder() {
        std::filesystem::create_directories(path);
        setenv("HOME", path.c_str(), 1);
        setenv("XDG_CONFIG_HOME", path.c_str(), 1);
    }
    ~UserFolder() { std::filesystem::remove_all(path); }

    const std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("corvane-window-" + std::to_string(getpid()));
} user;

std::set<std::string> presetFiles() {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(user.path))
        if (entry.path().extension() == ".qvx") names.insert(entry.path().stem());
    return names;
}

TEST(EditorWindow, RealKeysEditAndClicksInARowAreCounted) {
    for (const char* dialogs : {"/usr/bin/zenity", "/usr/bin/kdialog"})
        if (access(dialogs, X_OK) == 0) GTEST_SKIP() << "names are typed into " << dialogs;
    ModuleRig rig;
    auto window = openDrawn(rig);
    for (const char* keys : {"K e y Return", "x y z ctrl+a ctrl+c Right ctrl+v Return",
                             "q ctrl+a ctrl+x ctrl+v ctrl+v Return",
                             "v w shift+Home ctrl+x ctrl+v ctrl+v Return",  // from its end
                             "E s c Escape", "L o s t"}) {
        click(*window, 425, 18);
        pause(*window, 150);
        type(*window, keys);
    }
    window = nullptr;
    EXPECT_EQ(presetFiles(), (std::set<std::string>{"Key", "xyzxyz", "qq", "vwvw"}));

    // A single click and, after the time of a double click, two.
    window = openDrawn(rig);
    click(*window, kInputX, kInputY);
    pause(*window, 500);
    for (int i = 0; i < 2; ++i) click(*window, kInputX, kInputY);
    pause(*window, 150);
    type(*window, "minus 6 Return");
    ASSERT_FALSE(rig.plugin->editLog().edits.empty());
    EXPECT_EQ(rig.plugin->editLog().edits.back().id, uint32_t{kInput});
}

// A host's side without a window.
class BareFrame final : public FObject, public IPlugFrame, public Linux::IRunLoop {
  public:
    int handlers = 0;

    tresult PLUGIN_API resizeView(IPlugView*, ViewRect*) override { return kResultFalse; }
    tresult PLUGIN_API registerEventHandler(Linux::IEventHandler*, Linux::FileDescriptor) override {
        ++handlers;
        return kResultTrue;
    }
    tresult PLUGIN_API unregisterEventHandler(Linux::IEventHandler*) override {
        --handlers;
        return kResultTrue;
    }
    tresult PLUGIN_API registerTimer(Linux::ITimerHandler*, Linux::TimerInterval) override {
        ++handlers;
        return kResultTrue;
    }
    tresult PLUGIN_API unregisterTimer(Linux::ITimerHandler*) override {
        --handlers;
        return kResultTrue;
    }

    DELEGATE_REFCOUNT(FObject)
    DEFINE_INTERFACES
    DEF_INTERFACE(IPlugFrame)
    DEF_INTERFACE(Linux::IRunLoop)
    END_DEFINE_INTERFACES(FObject)
};

TEST(EditorWindow, OpensOnlyWhereItCan) {
    ModuleRig rig;
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    xcb_disconnect(connection);
    const auto view = owned(rig.plugin->controller()->createView(Vst::ViewType::kEditor));
    const auto attach = [&](uintptr_t window, FIDString type = kPlatformTypeX11EmbedWindowID) {
        return view->attached(reinterpret_cast<void*>(window), type);
    };
    EXPECT_EQ(attach(root), kResultFalse) << "no event loop";
    const auto host = owned(new BareFrame);
    view->setFrame(host);
    EXPECT_EQ(attach(0), kResultFalse);
    EXPECT_EQ(attach(root, kPlatformTypeHWND), kResultFalse);
    EXPECT_EQ(attach(0x7ffffff), kResultFalse) << "no window";
    EXPECT_EQ(host->handlers, 0);
    ASSERT_EQ(attach(root), kResultOk);
    EXPECT_EQ(attach(root), kResultFalse) << "open already";
    EXPECT_EQ(view->removed(), kResultOk);
    EXPECT_EQ(host->handlers, 0);
    view->setFrame(nullptr);
}

#endif

// Once nothing changes any more.
Hosting::Pixels settled(EditorWindow& window) {
    Hosting::Pixels last = window.pixels();
    int same = 0;
    window.runUntil([&] {
        auto now = window.pixels();
        same = now.values == last.values ? same + 1 : 0;
        last = std::move(now);
        return same == 40;
    });
    return last;
}

TEST(EditorWindow, ItsControlsReachTheHostAndAreDrawnAsIfAllAtOnce) {
    ModuleRig rig;
    auto window = openDrawn(rig);
    auto& log = rig.plugin->editLog();
    dragInputUp(*window);
    EXPECT_TRUE(waitFor(*window, [&] { return log.ended == 1; }));
    ASSERT_GT(log.edits.size(), 2u);
    EXPECT_EQ(log.edits.back().id, uint32_t{kInput});
    EXPECT_GT(log.edits.back().value, 0.5);
    // Keys belong to the host while nobody types.
    EXPECT_NE(window->view().onKeyDown(' ', 0, 0), kResultTrue);
    for (const auto& [x, y] : {std::pair{562, 164}, {280, 200}, {138, 196}}) click(*window, x, y);
    window->point(Pointer::Move, 620, 347);  // where nothing lights up under the pointer
    EXPECT_TRUE(waitFor(*window, [&] { return log.ended == 4; }));
    EXPECT_EQ(log.misuses, std::vector<std::string>{});
    const auto changed = settled(*window);
    window = nullptr;
    window = openDrawn(rig);
    const auto whole = settled(*window);
    ASSERT_EQ(changed.values.size(), whole.values.size());
    int different = 0;
    for (size_t i = 0; i < whole.values.size(); ++i)
        different += changed.values[i] != whole.values[i] ? 1 : 0;
    EXPECT_LT(different, 50);
}

TEST(EditorWindow, FollowsTheHostsSizeAndKeepsItsShape) {
    ModuleRig rig;
    auto window = openDrawn(rig);
    const int width = window->width(), height = window->height();
    for (const int percent : {50, 300, 125}) {
        ASSERT_TRUE(window->setWidth(width * percent / 100));
        EXPECT_EQ(window->width(), width * percent / 100);
        EXPECT_NEAR(window->height(), height * percent / 100, 1) << percent;
        EXPECT_TRUE(waitFor(*window, [&] { return isDrawn(*window); })) << percent;
    }
    window = nullptr;
    window = openDrawn(rig);
    EXPECT_EQ(window->width(), width * 5 / 4) << "as the instance's last one was left";
    ViewRect size(0, 0, 1234, 10);
    EXPECT_EQ(window->view().checkSizeConstraint(&size), kResultTrue);
    EXPECT_EQ(size.getWidth(), 1230);
    EXPECT_NEAR(size.getHeight(), height * 1230 / width, 1);
    FUnknownPtr<IPlugViewContentScaleSupport> scale(&window->view());
    ASSERT_TRUE(scale);
    EXPECT_EQ(scale->setContentScaleFactor(2.0F), kResultTrue);
    EXPECT_EQ(window->width(), width * 5 / 2);
}

// Each window has an event loop of its own, as in hosts that run one a window.
TEST(EditorWindow, EditorsOfSeveralInstancesLiveAndDieApart) {
    ModuleRig rigs[2];
    EditorWindow::Ptr windows[2];
    const auto waitAmongAll = [&](int which, const std::function<bool()>& condition) {
        return waitFor(*windows[which], [&] {
            for (const auto& window : windows)
                if (window) pause(*window, 1);
            return condition();
        });
    };
    const auto openAt = [&](int which) {
        windows[which] = open(rigs[which]);
        // Until then events may find no window of the editor's.
        waitAmongAll(which, [&] { return isDrawn(*windows[which]); });
    };
    const auto dragIn = [&](int which) {
        const auto& log = rigs[which].plugin->editLog();
        const int ended = log.ended;
        dragInputUp(*windows[which]);
        return waitAmongAll(which, [&] { return log.ended == ended + 1; });
    };
    for (const int which : {0, 1}) openAt(which);
    for (const int which : {0, 1}) EXPECT_TRUE(dragIn(which));
    windows[0] = nullptr;
    EXPECT_TRUE(dragIn(1));
    // Timers go on, too, in the thread that opened the editor: they have the panel closed.
    const int height = windows[1]->height();
    rigs[1].plugin->controller()->setParamNormalized(kShowHideExtensions, 0.0);
    std::thread([&] { pause(*windows[1], 200); }).join();
    EXPECT_EQ(windows[1]->height(), height);
    EXPECT_TRUE(waitFor(*windows[1], [&] { return windows[1]->height() < height; }));
    openAt(0);
    EXPECT_TRUE(dragIn(1));
    windows[1] = nullptr;
    EXPECT_TRUE(dragIn(0));
    EXPECT_EQ(rigs[0].plugin->editLog().ended, 2);
    EXPECT_EQ(rigs[1].plugin->editLog().ended, 3);
}

// As hosts' scans and closed projects have it: the module may come and go with its editor.
TEST(EditorWindow, LeavesNothingBehind) {
    const auto useAfter = [](ModuleRig* kept, int rounds) {
        for (int i = 0; i < rounds; ++i) {
            std::optional<ModuleRig> own;
            ModuleRig& rig = kept ? *kept : own.emplace();
            std::thread audio([&] { rig.render(noise(4800, 0.2)); });
            auto window = open(rig);
            pause(*window, i % 3 * 20);
            window->close();
            EXPECT_EQ(window->handlerCount(), 0u) << "handlers are left in the host's loop";
            audio.join();
        }
        return currentUse();
    };
    const auto expectNoMore = [&](ModuleRig* kept, int rounds) {
        // The desktop's libraries make some things once and keep them.
        const ProcessUse before = useAfter(kept, kWarmUp);
        const ProcessUse after = useAfter(kept, rounds);
        EXPECT_LE(after.threads, before.threads);
        EXPECT_LE(after.handles, before.handles);
        // An editor's bitmaps alone are megabytes; the libraries' caches breathe.
        EXPECT_LT(after.heapBytes, before.heapBytes + 1000000) << before.heapBytes;
    };
    expectNoMore(nullptr, kRounds);
    ModuleRig rig;
    expectNoMore(&rig, kEditors);
}

}  // namespace
}  // namespace Quorvant::Test
