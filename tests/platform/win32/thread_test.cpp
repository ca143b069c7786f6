// Worker threads begun with _beginthread.
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <thread>

#include "process.h"

namespace {

struct Job {
    int input = 0;
    int output = 0;
    std::thread::id ranOn;
    // Set last: the thread touches the job no more once it is set.
    std::atomic<bool> done{false};
};

void RunJob(void* argument) {
    auto* job = static_cast<Job*>(argument);
    job->output = job->input * 2;
    job->ranOn = std::this_thread::get_id();
    job->done.store(true, std::memory_order_release);
}

TEST(BeginThread, RunsTheFunctionWithItsArgumentOnAThreadOfItsOwn) {
    for (const unsigned stackSize : {0u, 1u, 65'536u, 1'048'576u}) {
        Job job;
        job.input = 21;
        ASSERT_NE(_beginthread(RunJob, stackSize, &job), static_cast<uintptr_t>(-1)) << stackSize;
        while (!job.done.load(std::memory_order_acquire)) std::this_thread::yield();
        EXPECT_EQ(job.output, 42) << stackSize;
        EXPECT_NE(job.ranOn, std::this_thread::get_id()) << stackSize;
    }
}

TEST(BeginThread, WithoutAFunctionFailsWithEinval) {
    errno = 0;
    EXPECT_EQ(_beginthread(nullptr, 0, nullptr), static_cast<uintptr_t>(-1));
    EXPECT_EQ(errno, EINVAL);
}

}  // namespace
