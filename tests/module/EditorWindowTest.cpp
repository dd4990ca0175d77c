// The built module's editor in a real window, with a host's event loop around it.
#include "params/ParameterIndex.h"
#include "tests/module/ModuleRig.h"
#include "tests/module/ProcessUse.h"
#include "tools/hosting/EditorWindow.h"

#include "pluginterfaces/gui/iplugviewcontentscalesupport.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <filesystem>
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
constexpr int kAttempts = 5, kRounds = 10, kEditors = 8,
              kWarmUp = 3;  // Wine takes seconds for each
#else
constexpr int kAttempts = 1, kRounds = 50, kEditors = 200, kWarmUp = 20;
#endif
constexpr int kInputX = 141, kInputY = 65;  // the Input knob at 100 %

// Once the editor has drawn itself, it shows more than a few colours.
bool isDrawn(EditorWindow& window) {
    const auto pixels = window.pixels();
    return std::set<uint32_t>(pixels.values.begin(), pixels.values.end()).size() > 100;
}

EditorWindow::Ptr open(ModuleRig& rig) {
    auto window = EditorWindow::open(*rig.plugin);
    if (!window) {
        ADD_FAILURE() << window.error();
        std::abort();
    }
    return std::move(*window);
}

EditorWindow::Ptr openDrawn(ModuleRig& rig) {
    // Wine never shows about one window in ten.
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        auto window = open(rig);
        if (window->runUntil([&] { return isDrawn(*window); })) return window;
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
    window.point(Pointer::Move, x, y);
    window.point(Pointer::Press, x, y);
    window.point(Pointer::Release, x, y);
    pause(window, 150);
}

#ifndef _WIN32

// Real keys, which reach the window that has the keyboard.
void type(EditorWindow& window, const std::string& keys) {
    ASSERT_EQ(std::system(("xdotool key --delay 15 " + keys).c_str()), 0);
    pause(window, 150);
}

// The preset folder is found once a process.
class UserFolder final : public ::testing::Environment {
  public:
    void SetUp() override {
        std::filesystem::create_directories(folder);
        setenv("HOME", folder.c_str(), 1);
        setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("corvane-window-" + std::to_string(getpid()));
};
const auto* const user =
    static_cast<UserFolder*>(::testing::AddGlobalTestEnvironment(new UserFolder));

std::set<std::string> presetFiles() {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(user->folder))
        if (entry.path().extension() == ".qvx") names.insert(entry.path().stem());
    return names;
}

TEST(EditorWindow, TypedTextIsTakenByReturnAndTheNamedButtonAlone) {
    for (const char* dialogs : {"/usr/bin/zenity", "/usr/bin/kdialog"})
        if (access(dialogs, X_OK) == 0) GTEST_SKIP() << "names are typed into " << dialogs;
    ModuleRig rig;
    auto window = openDrawn(rig);
    const auto saveAs = [&](const char* name) {
        click(*window, 425, 18);
        type(*window, name);
    };
    saveAs("C a n c e l");
    click(*window, 599, 207);
    saveAs("B e s i d e");
    click(*window, 100, 300);
    saveAs("E s c Escape");
    EXPECT_EQ(presetFiles(), std::set<std::string>());
    saveAs("K e y Return");
    saveAs("B u t t o n");
    click(*window, 521, 207);
    EXPECT_EQ(presetFiles(), (std::set<std::string>{"Button", "Key"}));
    // Closing the editor cancels, too.
    saveAs("L o s t");
    window = nullptr;
    EXPECT_EQ(presetFiles(), (std::set<std::string>{"Button", "Key"}));

    // The common shortcuts, and a value that closing must not write.
    window = openDrawn(rig);
    saveAs("x y z ctrl+a ctrl+c Right ctrl+v Return");
    EXPECT_TRUE(presetFiles().contains("xyzxyz"));
    saveAs("q ctrl+a ctrl+x ctrl+v ctrl+v Return");
    EXPECT_TRUE(presetFiles().contains("qq"));
    saveAs("v w shift+Home ctrl+x ctrl+v ctrl+v Return");  // selected from its end
    EXPECT_TRUE(presetFiles().contains("vwvw"));
    // Two clicks in 400 ms are a double click, after a single one too.
    click(*window, kInputX, kInputY);
    pause(*window, 300);
    click(*window, kInputX, kInputY);
    pause(*window, 130);
    click(*window, kInputX, kInputY);
    type(*window, "minus 6 Return");
    ASSERT_FALSE(rig.plugin->editLog().edits.empty());
    EXPECT_EQ(rig.plugin->editLog().edits.back().id, uint32_t{kInput});
    const auto begun = rig.plugin->editLog().begun;
    for (int i = 0; i < 2; ++i) click(*window, kInputX, kInputY);
    type(*window, "1 2");
    window = nullptr;
    EXPECT_EQ(rig.plugin->editLog().begun, begun);
}

// A host's side without a window.
class BareFrame final : public FObject, public IPlugFrame, public Linux::IRunLoop {
  public:
    std::vector<Linux::ITimerHandler*> timers;
    int resized = 0;

    tresult PLUGIN_API resizeView(IPlugView* view, ViewRect* size) override {
        ++resized;
        return view->onSize(size);
    }
    tresult PLUGIN_API registerEventHandler(Linux::IEventHandler*, Linux::FileDescriptor) override {
        return kResultTrue;
    }
    tresult PLUGIN_API unregisterEventHandler(Linux::IEventHandler*) override {
        return kResultTrue;
    }
    tresult PLUGIN_API registerTimer(Linux::ITimerHandler* handler, Linux::TimerInterval) override {
        timers.push_back(handler);
        return kResultTrue;
    }
    tresult PLUGIN_API unregisterTimer(Linux::ITimerHandler* handler) override {
        std::erase(timers, handler);
        return kResultTrue;
    }
    void runTimers() {
        for (auto* timer : std::vector(timers)) timer->onTimer();
    }

    DELEGATE_REFCOUNT(FObject)
    DEFINE_INTERFACES
    DEF_INTERFACE(IPlugFrame)
    DEF_INTERFACE(Linux::IRunLoop)
    END_DEFINE_INTERFACES(FObject)
};

TEST(EditorWindow, OpensOnlyWhereItCanAndObeysOneThread) {
    ModuleRig rig;
    auto& controller = *rig.plugin->controller();
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    xcb_disconnect(connection);
    const auto handle = [](xcb_window_t window) {
        return reinterpret_cast<void*>(static_cast<uintptr_t>(window));
    };
    const auto view = owned(controller.createView(Vst::ViewType::kEditor));
    const auto x11 = kPlatformTypeX11EmbedWindowID;
    EXPECT_EQ(view->attached(handle(root), x11), kResultFalse) << "no event loop";
    const auto host = owned(new BareFrame);
    view->setFrame(host);
    EXPECT_EQ(view->attached(nullptr, x11), kResultFalse);
    EXPECT_EQ(view->attached(handle(root), kPlatformTypeHWND), kResultFalse);
    EXPECT_EQ(view->attached(handle(0x7ffffff), x11), kResultFalse) << "no window";
    EXPECT_TRUE(host->timers.empty());
    ASSERT_EQ(view->attached(handle(root), x11), kResultOk);
    EXPECT_EQ(view->attached(handle(root), x11), kResultFalse) << "open already";

    const int before = host->resized;
    controller.setParamNormalized(kShowHideExtensions, 0.0);
    std::thread([&] { host->runTimers(); }).join();
    EXPECT_EQ(host->resized, before);
    host->runTimers();
    EXPECT_GT(host->resized, before);
    EXPECT_EQ(view->removed(), kResultOk);
    EXPECT_TRUE(host->timers.empty());
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
    EXPECT_TRUE(window->runUntil([&] { return log.ended == 1; }));
    ASSERT_GT(log.edits.size(), 2u);
    EXPECT_EQ(log.edits.back().id, uint32_t{kInput});
    EXPECT_GT(log.edits.back().value, 0.5);
    // Keys belong to the host while nobody types.
    EXPECT_NE(window->view().onKeyDown(' ', 0, 0), kResultTrue);
    for (const auto& [x, y] : {std::pair{562, 164}, {280, 200}, {138, 196}}) click(*window, x, y);
    window->point(Pointer::Move, 620, 347);  // where nothing lights up under the pointer
    EXPECT_TRUE(window->runUntil([&] { return log.ended == 4; }));
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
    for (const int percent : {150, 50, 300, 100}) {
        ASSERT_TRUE(window->setWidth(width * percent / 100));
        EXPECT_EQ(window->width(), width * percent / 100);
        EXPECT_NEAR(window->height(), height * percent / 100, 1) << percent;
        EXPECT_TRUE(window->runUntil([&] { return isDrawn(*window); })) << percent;
    }
    FUnknownPtr<IPlugViewContentScaleSupport> scale(&window->view());
    ASSERT_TRUE(scale);
    for (const float factor : {1.0F, 2.0F, 2.0F, 1.0F}) {
        EXPECT_EQ(scale->setContentScaleFactor(factor), kResultTrue);
        EXPECT_EQ(window->width(), static_cast<int>(static_cast<float>(width) * factor));
    }
    for (const float factor : {0.2F, 8.1F, 0.0F, -1.0F, INFINITY, NAN})
        EXPECT_NE(scale->setContentScaleFactor(factor), kResultTrue) << factor;
    EXPECT_EQ(window->width(), width);
    for (const auto& [wanted, given] :
         {std::pair{10, width / 2}, {1234, 1230}, {99999, width * 3}}) {
        ViewRect size(0, 0, wanted, 10);
        EXPECT_EQ(window->view().checkSizeConstraint(&size), kResultTrue);
        EXPECT_EQ(size.getWidth(), given);
        EXPECT_NEAR(size.getHeight(), height * given / width, 1);
    }
    // The next editor of the same instance opens as it was left.
    ASSERT_TRUE(window->setWidth(width * 5 / 4));
    window = nullptr;
    EXPECT_EQ(openDrawn(rig)->width(), width * 5 / 4);
}

// Each window has an event loop of its own, as in hosts that run one a window.
TEST(EditorWindow, EditorsOfSeveralInstancesLiveAndDieApart) {
    ModuleRig rigs[3];
    EditorWindow::Ptr windows[3];
    const auto dragIn = [&](int which) {
        const auto& log = rigs[which].plugin->editLog();
        const int ended = log.ended;
        dragInputUp(*windows[which]);
        return windows[which]->runUntil([&] {
            for (const auto& window : windows)
                if (window) pause(*window, 1);
            return log.ended == ended + 1;
        });
    };
    for (int i = 0; i < 3; ++i) windows[i] = open(rigs[i]);
    EXPECT_TRUE(dragIn(0));
    windows[0] = nullptr;
    EXPECT_TRUE(dragIn(1));
    EXPECT_TRUE(dragIn(2));
    // Timers go on, too: they have the panel closed.
    const int height = windows[1]->height();
    rigs[1].plugin->controller()->setParamNormalized(kShowHideExtensions, 0.0);
    EXPECT_TRUE(windows[1]->runUntil([&] { return windows[1]->height() < height; }));
    windows[1] = nullptr;
    EXPECT_TRUE(dragIn(2));
    windows[0] = open(rigs[0]);
    EXPECT_TRUE(dragIn(2));
    windows[2] = nullptr;
    EXPECT_TRUE(dragIn(0));
    EXPECT_EQ(rigs[0].plugin->editLog().ended, 2);
    EXPECT_EQ(rigs[1].plugin->editLog().ended, 1);
    EXPECT_EQ(rigs[2].plugin->editLog().ended, 3);
}

TEST(EditorWindow, OpensAndClosesManyTimesWhileAudioRuns) {
    ModuleRig rig;
    std::atomic<bool> done = false;
    std::thread audio([&] {
        while (!done) rig.render(noise(4800, 0.2));
    });
    size_t handles = 0;
    for (int round = 0; round < kRounds; ++round) {
        if (round == kRounds / 2) handles = currentUse().handles;
        auto window = round % 10 == 0 ? openDrawn(rig) : open(rig);
        pause(*window, round % 3 * 30);
        window->close();
        EXPECT_EQ(window->handlerCount(), 0u) << "handlers are left in the host's loop";
    }
    EXPECT_EQ(currentUse().handles, handles);
    done = true;
    audio.join();
}

// As hosts' scans and closed projects have it: the module may come and go with its editor.
TEST(EditorWindow, LeavesNothingBehind) {
    const auto useAfter = [](ModuleRig* kept, int rounds) {
        for (int i = 0; i < rounds; ++i) {
            std::optional<ModuleRig> own;
            ModuleRig& rig = kept ? *kept : own.emplace();
            pause(*open(rig), 40);
            rig.render(impulse(480));
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
