// The last error is kept per thread.
#include <gtest/gtest.h>

#include <thread>

#include "winbase.h"

TEST(LastError, IsKeptPerThread) {
    SetLastError(ERROR_ACCESS_DENIED);
    DWORD seenByOtherThread = 1;
    std::thread([&] { seenByOtherThread = GetLastError(); }).join();
    EXPECT_EQ(seenByOtherThread, static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
}
