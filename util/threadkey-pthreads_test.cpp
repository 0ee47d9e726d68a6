#include "util/threadkey-pthreads.h"

#include <thread>

#include <gtest/gtest.h>

namespace {

int gDestroyed = 0;

TEST(ThreadKeyTest, EachThreadSeesItsOwnValueAndStartsWithNull) {
    ThreadKey key(nullptr);
    int mine = 0;
    key.set(&mine);
    void* seen = &mine;
    std::thread([&] { seen = key.get(); }).join();
    EXPECT_EQ(seen, nullptr);
    EXPECT_EQ(key.get(), &mine);
}

TEST(ThreadKeyTest, TheDestructorGetsTheValueWhenItsThreadEnds) {
    gDestroyed = 0;
    ThreadKey key([](void* value) { gDestroyed += *static_cast<int*>(value); });
    int value = 7;
    std::thread([&] { key.set(&value); }).join();
    EXPECT_EQ(gDestroyed, 7);
}

}  // namespace
