// Modules that come and go with their editors, as hosts' scans and closed projects have them.
#include "tests/module/ModuleRig.h"
#include "tests/module/ProcessUse.h"
#include "tools/hosting/EditorWindow.h"

#include <chrono>
#include <iostream>

namespace Quorvant::Test {
namespace {

#ifdef _WIN32
constexpr int kWarmUp = 3, kRounds = 8, kEditors = 8;  // Wine takes seconds for each
#else
constexpr int kWarmUp = 20, kRounds = 50, kEditors = 200;
#endif

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
    // The desktop's libraries make some things once and keep them.
    const ProcessUse before = useAfterRounds(kWarmUp);
    const ProcessUse after = useAfterRounds(kRounds);
    std::cout << "heap: " << before.heapBytes << " bytes before, " << after.heapBytes << " after "
              << kRounds << " rounds; handles " << before.handles << " and " << after.handles
              << ", threads " << before.threads << " and " << after.threads << '\n';
    EXPECT_LE(after.threads, before.threads);
    EXPECT_LE(after.handles, before.handles);
    // An editor's bitmaps alone are megabytes; the libraries' caches breathe.
    EXPECT_LT(after.heapBytes, before.heapBytes + 1000000);
}

TEST(EditorLife, OpeningAndClosingLeavesTheHeapAsItWas) {
    ModuleRig rig;
    const auto useAfterEditors = [&rig](int count) {
        for (int i = 0; i < count; ++i) {
            auto window = Hosting::EditorWindow::open(*rig.plugin);
            EXPECT_TRUE(window) << window.error();
            if (!window) break;
            (*window)->runUntil([] { return false; }, std::chrono::milliseconds(40));
        }
        return currentUse();
    };
    const ProcessUse before = useAfterEditors(kWarmUp);
    const ProcessUse after = useAfterEditors(kEditors);
    std::cout << "heap: " << before.heapBytes << " bytes before, " << after.heapBytes << " after "
              << kEditors << " editors\n";
    EXPECT_LT(after.heapBytes, before.heapBytes + 1000000);
}

}  // namespace
}  // namespace Quorvant::Test
