// Mutexes within one process: re-entrancy, ownership, abandonment, time-outs, names and handles.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "mutex_test_util.h"
#include "temp_home.h"
#include "winbase.h"

using orvella::testing::Holder;
using orvella::testing::OnOtherThread;
using orvella::testing::TempHome;
using orvella::testing::WaitFromOtherThread;

namespace {

// A mutex handle closed at the end of the scope.
class ScopedHandle {
public:
    explicit ScopedHandle(HANDLE handle) : handle_(handle) {}
    ~ScopedHandle() {
        if (handle_) CloseHandle(handle_);
    }
    ScopedHandle(const ScopedHandle&) = delete;
    ScopedHandle& operator=(const ScopedHandle&) = delete;
    HANDLE get() const { return handle_; }

private:
    HANDLE handle_;
};

// Named and unnamed mutexes behave alike towards the threads of one process.
class MutexBehaviour : public ::testing::TestWithParam<const char*> {
protected:
    HANDLE Create(BOOL initialOwner = FALSE) {
        return CreateMutexA(nullptr, initialOwner, GetParam());
    }
    TempHome home_;
};

INSTANTIATE_TEST_SUITE_P(NamedAndUnnamed, MutexBehaviour,
                         ::testing::Values("VintorMsgProcessorMutex", nullptr),
                         [](const auto& info) { return info.param ? "Named" : "Unnamed"; });

TEST_P(MutexBehaviour, OwnerMayAcquireAgainAndOthersGetItOnlyAfterTheLastRelease) {
    ScopedHandle mutex(Create());
    ASSERT_NE(mutex.get(), nullptr);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(WaitForSingleObject(mutex.get(), INFINITE), WAIT_OBJECT_0);

    EXPECT_TRUE(ReleaseMutex(mutex.get()));
    EXPECT_EQ(WaitFromOtherThread(mutex.get(), 0), WAIT_TIMEOUT);
    EXPECT_TRUE(ReleaseMutex(mutex.get()));
    EXPECT_EQ(WaitFromOtherThread(mutex.get(), 0), WAIT_TIMEOUT);
    EXPECT_TRUE(ReleaseMutex(mutex.get()));
    EXPECT_EQ(WaitFromOtherThread(mutex.get(), 0), WAIT_OBJECT_0);

    SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(ReleaseMutex(mutex.get()));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_OWNER));
}

TEST_P(MutexBehaviour, ReleaseByAThreadThatDoesNotOwnItFailsWithNotOwner) {
    ScopedHandle mutex(Create());
    ASSERT_EQ(WaitForSingleObject(mutex.get(), 0), WAIT_OBJECT_0);

    const auto [released, error] = OnOtherThread([&] {
        SetLastError(ERROR_SUCCESS);
        const BOOL result = ReleaseMutex(mutex.get());
        return std::pair(result, GetLastError());
    });

    EXPECT_FALSE(released);
    EXPECT_EQ(error, static_cast<DWORD>(ERROR_NOT_OWNER));
    EXPECT_EQ(WaitFromOtherThread(mutex.get(), 0), WAIT_TIMEOUT);  // still ours
    EXPECT_TRUE(ReleaseMutex(mutex.get()));
}

TEST_P(MutexBehaviour, ThreadThatEndsHoldingItHandsItOnAsAbandoned) {
    ScopedHandle mutex(Create());
    std::thread([&] { WaitForSingleObject(mutex.get(), INFINITE); }).join();

    EXPECT_EQ(WaitForSingleObject(mutex.get(), INFINITE), WAIT_ABANDONED);
    EXPECT_EQ(WaitFromOtherThread(mutex.get(), 0), WAIT_TIMEOUT);  // the waiter owns it now
    EXPECT_TRUE(ReleaseMutex(mutex.get()));
    EXPECT_EQ(WaitFromOtherThread(mutex.get(), 0), WAIT_OBJECT_0);  // abandoned only once
}

TEST_P(MutexBehaviour, WaitsTimeOutWhileAnotherThreadHoldsIt) {
    ScopedHandle mutex(Create());
    Holder holder(mutex.get());
    ASSERT_EQ(holder.Acquired(), WAIT_OBJECT_0);

    EXPECT_EQ(WaitForSingleObject(mutex.get(), 0), WAIT_TIMEOUT);
    EXPECT_EQ(WaitForSingleObject(mutex.get(), 20), WAIT_TIMEOUT);

    holder.LetGo();
    EXPECT_EQ(WaitForSingleObject(mutex.get(), 0), WAIT_OBJECT_0);
    EXPECT_TRUE(ReleaseMutex(mutex.get()));
}

TEST_P(MutexBehaviour, InitialOwnerOwnsTheNewMutex) {
    ScopedHandle mutex(Create(TRUE));
    ASSERT_NE(mutex.get(), nullptr);
    EXPECT_EQ(WaitFromOtherThread(mutex.get(), 0), WAIT_TIMEOUT);
    EXPECT_TRUE(ReleaseMutex(mutex.get()));
    EXPECT_EQ(WaitFromOtherThread(mutex.get(), 0), WAIT_OBJECT_0);
}

TEST_P(MutexBehaviour, WaitingThreadGetsItWhenTheOwnerReleases) {
    ScopedHandle mutex(Create(TRUE));
    Holder waiter(mutex.get());  // blocks until the release below, however long that takes
    EXPECT_TRUE(ReleaseMutex(mutex.get()));
    EXPECT_EQ(waiter.Acquired(), WAIT_OBJECT_0);
}

class Mutex : public ::testing::Test {
protected:
    TempHome home_;
};

TEST_F(Mutex, SameNameInOneHomeIsOneMutexAndReportsThatItExists) {
    SetLastError(ERROR_INVALID_DATA);
    ScopedHandle first(CreateMutexA(nullptr, FALSE, "Shared"));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
    ScopedHandle second(CreateMutexA(nullptr, FALSE, "Shared"));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
    ASSERT_NE(second.get(), nullptr);
    EXPECT_NE(first.get(), second.get());

    Holder holder(first.get());
    ASSERT_EQ(holder.Acquired(), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(second.get(), 0), WAIT_TIMEOUT);
}

TEST_F(Mutex, InitialOwnershipIsIgnoredWhenTheMutexExists) {
    ScopedHandle first(CreateMutexA(nullptr, FALSE, "Existing"));
    const auto [handle, error] = OnOtherThread([] {
        HANDLE opened = CreateMutexA(nullptr, TRUE, "Existing");
        return std::pair(opened, GetLastError());
    });
    ScopedHandle second(handle);
    EXPECT_EQ(error, static_cast<DWORD>(ERROR_ALREADY_EXISTS));
    // Had the other thread been made owner, its end would have abandoned the mutex.
    EXPECT_EQ(WaitForSingleObject(first.get(), 0), WAIT_OBJECT_0);
    EXPECT_TRUE(ReleaseMutex(first.get()));
}

TEST_F(Mutex, OpenFindsAMutexOnlyWhileAHandleToItIsOpen) {
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(OpenMutexA(MUTEX_ALL_ACCESS, FALSE, "Transient"), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));

    HANDLE created = CreateMutexA(nullptr, TRUE, "Transient");
    HANDLE opened = OpenMutexA(MUTEX_ALL_ACCESS, FALSE, "Transient");
    ASSERT_NE(opened, nullptr);
    EXPECT_TRUE(ReleaseMutex(opened));  // the same mutex, owned since its creation
    EXPECT_TRUE(CloseHandle(created));
    EXPECT_TRUE(CloseHandle(opened));

    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(OpenMutexA(MUTEX_ALL_ACCESS, FALSE, "Transient"), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    ScopedHandle again(CreateMutexA(nullptr, FALSE, "Transient"));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
}

TEST_F(Mutex, ClosingAHandleKeepsTheOwnerTheOwner) {
    HANDLE first = CreateMutexA(nullptr, FALSE, "KeptAcrossClose");
    ASSERT_EQ(WaitForSingleObject(first, 0), WAIT_OBJECT_0);
    ASSERT_TRUE(CloseHandle(first));

    ScopedHandle second(CreateMutexA(nullptr, FALSE, "KeptAcrossClose"));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
    EXPECT_EQ(WaitFromOtherThread(second.get(), 0), WAIT_TIMEOUT);
    EXPECT_TRUE(ReleaseMutex(second.get()));
    EXPECT_EQ(WaitFromOtherThread(second.get(), 0), WAIT_OBJECT_0);
}

TEST_F(Mutex, EveryDistinctNameIsADistinctMutexInsideTheHome) {
    const std::vector<std::string> names = {"VintorMsgProcessorMutex",
                                            "vintormsgprocessormutex",
                                            "a/b",
                                            "a%2Fb",
                                            "../escape",
                                            ".hidden",
                                            "with space",
                                            "Local\\x",
                                            "Global\\x",
                                            "caf\xC3\xA9",
                                            std::string(300, 'n'),
                                            std::string(300, 'n') + "2",
                                            "~"};
    std::vector<HANDLE> handles;
    for (const std::string& name : names) {
        handles.push_back(CreateMutexA(nullptr, FALSE, name.c_str()));
        EXPECT_NE(handles.back(), nullptr) << name;
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS)) << name;
    }
    for (const std::string& name : names) {
        HANDLE again = CreateMutexA(nullptr, FALSE, name.c_str());
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ALREADY_EXISTS)) << name;
        CloseHandle(again);
    }
    size_t files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(home_.path())) {
        if (!entry.is_regular_file()) continue;
        ++files;
        EXPECT_EQ(entry.path().parent_path(), home_.path() / "mutex");
    }
    EXPECT_EQ(files, names.size());
    for (HANDLE handle : handles) CloseHandle(handle);
}

TEST_F(Mutex, AccessWithoutSynchronizeCannotWait) {
    ScopedHandle created(CreateMutexA(nullptr, FALSE, "Rights"));
    ScopedHandle modifyOnly(OpenMutexA(MUTEX_MODIFY_STATE, FALSE, "Rights"));
    ScopedHandle synchronize(OpenMutexA(SYNCHRONIZE, FALSE, "Rights"));

    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(WaitForSingleObject(modifyOnly.get(), 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(WaitForSingleObject(synchronize.get(), 0), WAIT_OBJECT_0);
    EXPECT_TRUE(ReleaseMutex(synchronize.get()));
}

TEST_F(Mutex, UnnamedMutexesAreDistinct) {
    ScopedHandle first(CreateMutexA(nullptr, FALSE, nullptr));
    ScopedHandle second(CreateMutexA(nullptr, FALSE, ""));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
    Holder holder(first.get());
    ASSERT_EQ(holder.Acquired(), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(second.get(), 0), WAIT_OBJECT_0);
    EXPECT_TRUE(ReleaseMutex(second.get()));
}

TEST_F(Mutex, SecurityAttributesAreAccepted) {
    SECURITY_ATTRIBUTES attributes{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    ScopedHandle mutex(CreateMutexA(&attributes, FALSE, "WithAttributes"));
    ASSERT_NE(mutex.get(), nullptr);
    EXPECT_EQ(WaitForSingleObject(mutex.get(), 0), WAIT_OBJECT_0);
    EXPECT_TRUE(ReleaseMutex(mutex.get()));
}

TEST_F(Mutex, OpenWithoutANameIsAnInvalidParameter) {
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(OpenMutexA(MUTEX_ALL_ACCESS, FALSE, nullptr), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST(MutexHandles, HandlesThatAreNotOpenFailAsInvalid) {
    TempHome home;
    HANDLE closed = CreateMutexA(nullptr, FALSE, nullptr);
    ASSERT_TRUE(CloseHandle(closed));
    struct Case {
        const char* what;
        HANDLE handle;
    };
    for (const Case& c : {Case{"null", nullptr}, Case{"invalid value", INVALID_HANDLE_VALUE},
                          Case{"closed", closed}}) {
        SetLastError(ERROR_SUCCESS);
        EXPECT_EQ(WaitForSingleObject(c.handle, 0), WAIT_FAILED) << c.what;
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE)) << c.what;
        SetLastError(ERROR_SUCCESS);
        EXPECT_FALSE(ReleaseMutex(c.handle)) << c.what;
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE)) << c.what;
        SetLastError(ERROR_SUCCESS);
        EXPECT_FALSE(CloseHandle(c.handle)) << c.what;
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE)) << c.what;
    }
}

}  // namespace
