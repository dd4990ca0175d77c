// The built module's editor in a real window, with a host's event loop around it.
#include "tests/module/ModuleRig.h"
#include "tools/hosting/EditorWindow.h"

#include <atomic>
#include <set>
#include <thread>

namespace Quorvant::Test {
namespace {

using namespace Steinberg;
using Hosting::EditorWindow;
using Hosting::Pointer;

constexpr int kInputX = 141, kInputY = 65;  // the Input knob at 100 %

// Once the editor has drawn itself, it shows more than a few colours.
bool isDrawn(EditorWindow& window) {
    const auto pixels = window.pixels();
    return std::set<uint32_t>(pixels.values.begin(), pixels.values.end()).size() > 100;
}

EditorWindow::Ptr openDrawn(ModuleRig& rig) {
    auto window = EditorWindow::open(*rig.plugin);
    if (!window) {
        ADD_FAILURE() << window.error();
        std::abort();
    }
    EXPECT_TRUE((*window)->runUntil([&] { return isDrawn(**window); }));
    return std::move(*window);
}

void dragInputUp(EditorWindow& window) {
    window.point(Pointer::Move, kInputX, kInputY);
    window.point(Pointer::Press, kInputX, kInputY);
    for (int y = kInputY; y > kInputY - 30; y -= 3) window.point(Pointer::Drag, kInputX, y);
    window.point(Pointer::Release, kInputX, kInputY - 30);
}

TEST(EditorWindow, DrawsItselfAndItsKnobsReachTheHost) {
    ModuleRig rig;
    auto window = openDrawn(rig);
    auto& log = rig.plugin->editLog();
    const auto before = window->pixels();
    dragInputUp(*window);
    EXPECT_TRUE(window->runUntil([&] { return log.ended == log.begun && log.ended > 0; }));
    ASSERT_GT(log.edits.size(), 2u);
    EXPECT_EQ(log.edits.back().id, 4u);
    EXPECT_GT(log.edits.back().value, 0.5);
    EXPECT_TRUE(window->runUntil([&] { return window->pixels().values != before.values; }));
    // Keys belong to the host while nobody types.
    EXPECT_NE(window->view().onKeyDown(' ', 0, 0), kResultTrue);
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
    // The next editor of the same instance opens as it was left.
    ASSERT_TRUE(window->setWidth(width * 5 / 4));
    window = nullptr;
    EXPECT_EQ(openDrawn(rig)->width(), width * 5 / 4);
}

// Each window has an event loop of its own, as in hosts that run one a window.
TEST(EditorWindow, EditorsOfSeveralInstancesLiveAndDieApart) {
    ModuleRig first, second, third;
    auto window = openDrawn(first);
    auto other = openDrawn(second);
    auto last = openDrawn(third);
    window = nullptr;
    const auto& log = second.plugin->editLog();
    dragInputUp(*other);
    EXPECT_TRUE(other->runUntil([&] { return log.ended == 1 && log.edits.size() > 2; }));
    const auto before = other->pixels().values;
    dragInputUp(*other);
    EXPECT_TRUE(other->runUntil([&] { return other->pixels().values != before; }));
    EXPECT_TRUE(first.plugin->editLog().edits.empty());
    EXPECT_TRUE(third.plugin->editLog().edits.empty());
    other = nullptr;
    window = openDrawn(first);
    dragInputUp(*last);
    EXPECT_TRUE(last->runUntil([&] { return third.plugin->editLog().ended == 1; }));
    last = nullptr;
    dragInputUp(*window);
    EXPECT_TRUE(window->runUntil([&] { return first.plugin->editLog().ended == 1; }));
}

TEST(EditorWindow, OpensAndClosesManyTimesWhileAudioRuns) {
    ModuleRig rig;
    std::atomic<bool> done = false;
    std::thread audio([&] {
        while (!done) rig.render(noise(0.2, 4800));
    });
    for (int round = 0; round < 50; ++round) {
        auto window = openDrawn(rig);
        window->close();
        EXPECT_EQ(window->handlerCount(), 0u) << "handlers are left in the host's loop";
    }
    done = true;
    audio.join();
}

}  // namespace
}  // namespace Quorvant::Test
