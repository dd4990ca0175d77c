// The hand-over between two threads.
#include "plugin/Mailbox.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <thread>

namespace Quorvant {
namespace {

TEST(Mailbox, ValuesArriveWholeAndInOrder) {
    constexpr uint64_t kLast = 200000;
    Mailbox<std::array<uint64_t, 40>> box;
    std::thread writer([&] {
        std::array<uint64_t, 40> value;
        for (uint64_t i = 1; i <= kLast; ++i) {
            value.fill(i);
            box.put(value);
        }
    });
    uint64_t last = 0;
    bool sound = true;
    while (last < kLast && sound) {
        const auto* value = box.take();
        if (!value) continue;
        for (const uint64_t part : *value) sound = sound && part == value->front();
        sound = sound && value->front() > last;
        last = value->front();
    }
    writer.join();
    EXPECT_EQ(box.take(), nullptr) << "once is enough";
    EXPECT_TRUE(sound) << "at " << last;
}

}  // namespace
}  // namespace Quorvant
