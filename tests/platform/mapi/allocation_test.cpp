// The MAPI allocator: linked buffers die with their parent, nulls are refused or ignored as
// documented, and many threads may link to one parent at once.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

#include "mapix.h"

namespace {

bool AlignedForAnyType(const void* p) {
    return reinterpret_cast<std::uintptr_t>(p) % alignof(std::max_align_t) == 0;
}

TEST(MapiAllocation, LinkedBuffersKeepTheirContentsUntilTheParentIsFreed) {
    LPVOID parent = nullptr;
    ASSERT_EQ(MAPIAllocateBuffer(16, &parent), S_OK);
    std::memset(parent, 0xAB, 16);
    std::vector<unsigned char*> linked;
    for (int i = 0; i < 200; ++i) {
        LPVOID more = nullptr;
        ASSERT_EQ(MAPIAllocateMore(static_cast<ULONG>(i + 1), parent, &more), S_OK);
        std::memset(more, i, static_cast<size_t>(i + 1));
        linked.push_back(static_cast<unsigned char*>(more));
    }
    for (int i = 0; i < 200; ++i) {
        for (int j = 0; j <= i; ++j) ASSERT_EQ(linked[i][j], static_cast<unsigned char>(i));
    }
    EXPECT_EQ(static_cast<unsigned char*>(parent)[15], 0xAB);
    EXPECT_EQ(MAPIFreeBuffer(parent), static_cast<ULONG>(S_OK));
}

TEST(MapiAllocation, EveryBufferIsAlignedForAnyType) {
    LPVOID parent = nullptr;
    ASSERT_EQ(MAPIAllocateBuffer(3, &parent), S_OK);
    EXPECT_TRUE(AlignedForAnyType(parent));
    for (ULONG size : {1u, 2u, 3u, 7u, 9u, 15u, 17u, 33u}) {
        LPVOID more = nullptr;
        ASSERT_EQ(MAPIAllocateMore(size, parent, &more), S_OK);
        EXPECT_TRUE(AlignedForAnyType(more)) << size;
    }
    MAPIFreeBuffer(parent);
}

TEST(MapiAllocation, BufferLinkedToALinkedBufferBelongsToTheSameParent) {
    LPVOID parent = nullptr;
    LPVOID child = nullptr;
    LPVOID grandchild = nullptr;
    ASSERT_EQ(MAPIAllocateBuffer(8, &parent), S_OK);
    ASSERT_EQ(MAPIAllocateMore(8, parent, &child), S_OK);
    ASSERT_EQ(MAPIAllocateMore(8, child, &grandchild), S_OK);
    std::memcpy(grandchild, "abcdefg", 8);
    EXPECT_STREQ(static_cast<char*>(grandchild), "abcdefg");
    MAPIFreeBuffer(parent);  // under a leak checker: frees all three
}

TEST(MapiAllocation, FreeingALinkedBufferLeavesItToItsParent) {
    LPVOID parent = nullptr;
    LPVOID child = nullptr;
    ASSERT_EQ(MAPIAllocateBuffer(8, &parent), S_OK);
    ASSERT_EQ(MAPIAllocateMore(6, parent, &child), S_OK);
    std::memcpy(child, "alive", 6);
    EXPECT_EQ(MAPIFreeBuffer(child), static_cast<ULONG>(S_OK));
    EXPECT_STREQ(static_cast<char*>(child), "alive");
    MAPIFreeBuffer(parent);
}

TEST(MapiAllocation, ZeroBytesIsAValidBuffer) {
    LPVOID parent = nullptr;
    LPVOID more = nullptr;
    ASSERT_EQ(MAPIAllocateBuffer(0, &parent), S_OK);
    EXPECT_NE(parent, nullptr);
    ASSERT_EQ(MAPIAllocateMore(0, parent, &more), S_OK);
    EXPECT_NE(more, nullptr);
    EXPECT_NE(more, parent);
    MAPIFreeBuffer(parent);
}

TEST(MapiAllocation, NullArgumentsAreRefusedAndNullIsFreedAsNothing) {
    LPVOID parent = nullptr;
    ASSERT_EQ(MAPIAllocateBuffer(4, &parent), S_OK);

    EXPECT_EQ(MAPIAllocateBuffer(4, nullptr), static_cast<SCODE>(0x80070057));
    EXPECT_EQ(MAPIAllocateMore(4, parent, nullptr), static_cast<SCODE>(0x80070057));
    LPVOID orphan = reinterpret_cast<LPVOID>(0x1);
    EXPECT_EQ(MAPIAllocateMore(4, nullptr, &orphan), static_cast<SCODE>(0x80070057));
    EXPECT_EQ(orphan, nullptr);
    EXPECT_EQ(MAPIFreeBuffer(nullptr), static_cast<ULONG>(S_OK));

    MAPIFreeBuffer(parent);
}

TEST(MapiAllocation, ThreadsMayLinkToOneParentAtOnce) {
    LPVOID parent = nullptr;
    ASSERT_EQ(MAPIAllocateBuffer(8, &parent), S_OK);
    constexpr int kThreads = 4;
    constexpr int kPerThread = 500;
    std::vector<std::vector<int*>> made(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < kPerThread; ++i) {
                LPVOID more = nullptr;
                if (MAPIAllocateMore(sizeof(int), parent, &more) != S_OK) return;
                *static_cast<int*>(more) = t * kPerThread + i;
                made[t].push_back(static_cast<int*>(more));
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (int t = 0; t < kThreads; ++t) {
        ASSERT_EQ(made[t].size(), static_cast<size_t>(kPerThread));
        for (int i = 0; i < kPerThread; ++i) EXPECT_EQ(*made[t][i], t * kPerThread + i);
    }
    MAPIFreeBuffer(parent);
}

}  // namespace
