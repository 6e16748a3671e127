// The handle ring: joining, releasing in every order, and the same from several threads.
#include "image/linked_ptr.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

namespace {

struct Counted
{
    ~Counted() { ++destroyed; }
    int& destroyed;
};
using Handle = CLinkedPtr<Counted>;

TEST(LinkedPtr, TheLastHandleDestroysInWhateverOrderTheyLetGo)
{
    std::array<std::size_t, 4> order{0, 1, 2, 3};
    do {
        int destroyed = 0;
        Handle first(new Counted{destroyed}), second(first), third(second), fourth(first);
        Handle* const handles[] = {&first, &second, &third, &fourth};
        for (auto leaving = order.begin(); leaving != order.end(); ++leaving) {
            EXPECT_EQ(destroyed, 0);
            handles[*leaving]->Release();
            EXPECT_TRUE(handles[*leaving]->IsEmpty());
            for (auto staying = leaving + 1; staying != order.end(); ++staying) {
                EXPECT_TRUE(handles[*staying]->Shares(*handles[order.back()]));
                EXPECT_FALSE(handles[*staying]->Shares(*handles[*leaving]));
            }
        }
        EXPECT_EQ(destroyed, 1);
    } while (std::ranges::next_permutation(order).found);
}

TEST(LinkedPtr, AssigningLeavesOneRingAndJoinsAnother)
{
    int oldDestroyed = 0, newDestroyed = 0;
    Handle target(new Counted{oldDestroyed}), source(new Counted{newDestroyed});
    const std::unique_ptr<Handle> other(source.Clone());
    target = static_cast<const Handle&>(target);
    EXPECT_EQ(oldDestroyed, 0);
    target = source;
    EXPECT_EQ(oldDestroyed, 1);
    EXPECT_TRUE(target.Shares(source) && source.Shares(target) && other->Shares(target));
    Handle lone(source.Get()); // a ring of its own, which joins the other of its pointee
    EXPECT_FALSE(lone.Shares(source));
    lone = source;
    EXPECT_TRUE(lone.Shares(*other) && other->Shares(lone));
    source = Handle();
    *other = source;
    lone.Release();
    EXPECT_TRUE(source.IsEmpty() && !other->Shares(source));
    EXPECT_EQ(newDestroyed, 0);
    target = *other;
    EXPECT_EQ(newDestroyed, 1);
}

TEST(LinkedPtr, ThreadsCopyAndReleaseHandlesOfTheirOwn)
{
    constexpr std::size_t ThreadCount = 4, Rounds = 3000;
    int destroyed = 0;
    std::atomic<std::size_t> shared = 0;
    std::vector<Handle> own(ThreadCount);
    own[0] = Handle(new Counted{destroyed});
    std::fill(own.begin() + 1, own.end(), own[0]);
    std::vector<std::thread> threads;
    threads.reserve(own.size());
    for (Handle& mine : own) {
        threads.emplace_back([&mine, &shared] {
            for (std::size_t i = 0; i < Rounds; ++i) {
                Handle copy(mine), kept;
                kept = copy;
                copy = Handle();
                shared += kept.Shares(mine) ? 1 : 0;
            }
            mine.Release();
        });
    }
    std::ranges::for_each(threads, &std::thread::join);
    EXPECT_TRUE(shared == ThreadCount * Rounds && destroyed == 1);
}

} // namespace
