// Named mutexes between processes: mutual exclusion, existence, abandonment by a process that
// dies, time-outs, and homes that never meet.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "helper_process.h"
#include "home.h"
#include "mutex_counter.h"
#include "temp_home.h"
#include "winbase.h"

using orvella::testing::CountUnderMutex;
using orvella::testing::HelperProcess;
using orvella::testing::TempHome;

namespace {

class MutexAcrossProcesses : public ::testing::Test {
protected:
    HelperProcess StartHelper() { return StartHelperIn(home_.path()); }
    static HelperProcess StartHelperIn(const std::filesystem::path& home) {
        return HelperProcess(ORVELLA_MUTEX_HELPER, {home.string()});
    }
    TempHome home_;
};

TEST_F(MutexAcrossProcesses, TwoProcessesAndTheirThreadsNeverLoseACount) {
    const std::filesystem::path counter = home_.path() / "counter";
    constexpr int kEach = 300;
    HelperProcess first = StartHelper();
    HelperProcess second = StartHelper();
    ASSERT_EQ(first.Ask("create Counter"), "created 0");
    ASSERT_EQ(second.Ask("create Counter"), "created 183");
    first.Send("count " + counter.string() + " 300");
    second.Send("count " + counter.string() + " 300");

    std::vector<std::thread> threads;
    std::vector<char> counted(2, false);
    for (size_t i = 0; i < counted.size(); ++i) {
        threads.emplace_back([&, i] {
            HANDLE mutex = CreateMutexA(nullptr, FALSE, "Counter");
            counted[i] = CountUnderMutex(mutex, counter, kEach);
            CloseHandle(mutex);
        });
    }
    for (std::thread& thread : threads) thread.join();

    EXPECT_EQ(first.ReadLine(), "counted 1");
    EXPECT_EQ(second.ReadLine(), "counted 1");
    EXPECT_EQ(counted, std::vector<char>(2, true));
    long total = 0;
    std::ifstream(counter) >> total;
    EXPECT_EQ(total, 1200);
}

TEST_F(MutexAcrossProcesses, AMutexExistsWhileAnyProcessHasItOpen) {
    HelperProcess helper = StartHelper();
    ASSERT_EQ(helper.Ask("create Session"), "created 0");

    HANDLE opened = OpenMutexA(SYNCHRONIZE, FALSE, "Session");
    EXPECT_NE(opened, nullptr);
    HANDLE created = CreateMutexA(nullptr, FALSE, "Session");
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
    CloseHandle(opened);
    CloseHandle(created);

    EXPECT_EQ(helper.Finish(), 0);
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(OpenMutexA(SYNCHRONIZE, FALSE, "Session"), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
}

TEST_F(MutexAcrossProcesses, InitialOwnerExcludesOtherProcessesUntilItReleases) {
    HANDLE mutex = CreateMutexA(nullptr, TRUE, "Owned");
    HelperProcess helper = StartHelper();
    ASSERT_EQ(helper.Ask("create Owned"), "created 183");
    EXPECT_EQ(helper.Ask("wait 0"), "waited 258");
    EXPECT_EQ(helper.Ask("wait 20"), "waited 258");
    EXPECT_EQ(helper.Ask("release"), "released 0 288");

    ASSERT_TRUE(ReleaseMutex(mutex));
    EXPECT_EQ(helper.Ask("wait 0"), "waited 0");
    EXPECT_EQ(helper.Ask("release"), "released 1 0");
    CloseHandle(mutex);
}

TEST_F(MutexAcrossProcesses, CreatingAMutexAnotherProcessOwnsDoesNotTakeIt) {
    HelperProcess helper = StartHelper();
    ASSERT_EQ(helper.Ask("createowned Taken"), "created 0");
    HANDLE mutex = CreateMutexA(nullptr, TRUE, "Taken");
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_TIMEOUT);
    SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(ReleaseMutex(mutex));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_OWNER));
    CloseHandle(mutex);
}

// How the owning helper process ends while it holds the mutex.
enum class Ending { kKilled, kExited };

class MutexOwnerProcessEnds : public MutexAcrossProcesses,
                              public ::testing::WithParamInterface<Ending> {};

INSTANTIATE_TEST_SUITE_P(KilledOrExited, MutexOwnerProcessEnds,
                         ::testing::Values(Ending::kKilled, Ending::kExited), [](const auto& info) {
                             return info.param == Ending::kKilled ? "Killed" : "Exited";
                         });

TEST_P(MutexOwnerProcessEnds, WaiterGetsItAsAbandonedAndOwnsIt) {
    HelperProcess helper = StartHelper();
    ASSERT_EQ(helper.Ask("create Processor"), "created 0");
    ASSERT_EQ(helper.Ask("wait 4294967295"), "waited 0");
    HANDLE mutex = CreateMutexA(nullptr, FALSE, "Processor");
    ASSERT_EQ(WaitForSingleObject(mutex, 0), WAIT_TIMEOUT);

    // The waiter may block before or after the owner dies; either way it gets it abandoned.
    DWORD waited = WAIT_FAILED;
    std::thread waiter([&] {
        waited = WaitForSingleObject(mutex, INFINITE);
        if (waited == WAIT_ABANDONED) ReleaseMutex(mutex);
    });
    if (GetParam() == Ending::kKilled) {
        helper.Kill();
    } else {
        EXPECT_EQ(helper.Finish(), 0);
    }
    waiter.join();
    EXPECT_EQ(waited, WAIT_ABANDONED);

    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0);
    EXPECT_TRUE(ReleaseMutex(mutex));
    CloseHandle(mutex);
}

TEST_F(MutexAcrossProcesses, TheOwnerIsAbandonedByADeadProcessOnlyOnce) {
    HelperProcess owner = StartHelper();
    ASSERT_EQ(owner.Ask("createowned Once"), "created 0");
    HelperProcess other = StartHelper();
    ASSERT_EQ(other.Ask("open Once"), "opened");
    owner.Kill();
    EXPECT_EQ(other.Ask("wait 4294967295"), "waited 128");
    EXPECT_EQ(other.Ask("release"), "released 1 0");
    EXPECT_EQ(other.Ask("wait 0"), "waited 0");
}

TEST_F(MutexAcrossProcesses, SeparateHomesNeverContend) {
    TempHome otherHome;  // now the process's home; the mutex below goes back to home_
    orvella::platform::SetHomeDirectory(home_.path());
    HelperProcess helper = StartHelperIn(otherHome.path());
    ASSERT_EQ(helper.Ask("createowned Processor"), "created 0");

    HANDLE mutex = CreateMutexA(nullptr, FALSE, "Processor");
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0);
    EXPECT_TRUE(ReleaseMutex(mutex));
    CloseHandle(mutex);
}

}  // namespace
