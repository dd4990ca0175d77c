// Modules that come and go with their editors, as hosts' scans and closed projects have them.
#include "tests/module/ModuleRig.h"
#include "tests/module/ProcessUse.h"
#include "tools/hosting/EditorWindow.h"

#include <chrono>
#include <iostream>

namespace Quorvant::Test {
namespace {

ProcessUse useAfterRounds(int rounds) {
    for (int i = 0; i < rounds; ++i) {
        ModuleRig rig;
        auto window = Hosting::EditorWindow::open(*rig.plugin);
        EXPECT_TRUE(window) << window.error();
        if (!window) break;
        (*window)->runUntil([] { return false; }, std::chrono::milliseconds(40));
        rig.render(impulse(480));
    }
    return currentUse();
}

TEST(EditorLife, LoadingAndUnloadingLeavesNothingBehind) {
    useAfterRounds(15);  // what the desktop's libraries make once and keep
    const ProcessUse before = useAfterRounds(5);
    const ProcessUse after = useAfterRounds(50);
    std::cout << "heap: " << before.heapBytes << " bytes before, " << after.heapBytes
              << " after 50 rounds; handles " << before.handles << " and " << after.handles
              << ", threads " << before.threads << " and " << after.threads << '\n';
    EXPECT_LE(after.threads, before.threads);
    EXPECT_LE(after.handles, before.handles);
    // An editor's bitmaps alone are megabytes; the libraries' caches breathe.
    EXPECT_LT(after.heapBytes, before.heapBytes + 1000000);
}

}  // namespace
}  // namespace Quorvant::Test
