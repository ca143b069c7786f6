// Latency of the named mutex (the message processor's lock taken and released around every
// message) and of the time calls the store layer makes per message.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "home.h"
#include "winbase.h"

namespace {

constexpr const char* kName = "VintorMsgProcessorMutex";

void WaitAndReleaseRepeatedly(benchmark::State& state, BOOL initialOwner) {
    HANDLE mutex = CreateMutexA(nullptr, initialOwner, kName);
    for (auto _ : state) {
        benchmark::DoNotOptimize(WaitForSingleObject(mutex, INFINITE));
        benchmark::DoNotOptimize(ReleaseMutex(mutex));
    }
    if (initialOwner) ReleaseMutex(mutex);
    CloseHandle(mutex);
}

void UncontendedWaitAndRelease(benchmark::State& state) {
    WaitAndReleaseRepeatedly(state, FALSE);
}
BENCHMARK(UncontendedWaitAndRelease);

// The owner taking it again, as a nested ProcessMsg does.
void ReentrantWaitAndRelease(benchmark::State& state) {
    WaitAndReleaseRepeatedly(state, TRUE);
}
BENCHMARK(ReentrantWaitAndRelease);

// Opening a further handle to a mutex the process has open already, and closing it.
void OpenAndCloseHandle(benchmark::State& state) {
    HANDLE kept = CreateMutexA(nullptr, FALSE, kName);
    for (auto _ : state) CloseHandle(CreateMutexA(nullptr, FALSE, kName));
    CloseHandle(kept);
}
BENCHMARK(OpenAndCloseHandle);

void SystemTimeAsFileTime(benchmark::State& state) {
    FILETIME now{};
    for (auto _ : state) {
        GetSystemTimeAsFileTime(&now);
        benchmark::DoNotOptimize(now);
    }
}
BENCHMARK(SystemTimeAsFileTime);

void FileTimeToLocalCalendarTime(benchmark::State& state) {
    FILETIME utc{};
    GetSystemTimeAsFileTime(&utc);
    for (auto _ : state) {
        FILETIME local{};
        SYSTEMTIME calendar{};
        FileTimeToLocalFileTime(&utc, &local);
        FileTimeToSystemTime(&local, &calendar);
        benchmark::DoNotOptimize(calendar);
    }
}
BENCHMARK(FileTimeToLocalCalendarTime);

// The daylight state now, asked once per received message.
void TimeZoneInformation(benchmark::State& state) {
    TIME_ZONE_INFORMATION info{};
    for (auto _ : state) benchmark::DoNotOptimize(GetTimeZoneInformation(&info));
}
BENCHMARK(TimeZoneInformation);

}  // namespace

// Every benchmark shares one temporary home, made before they run and removed after.
int main(int argc, char** argv) {
    std::string home = (std::filesystem::temp_directory_path() / "orvella-sync-XXXXXX").string();
    if (!mkdtemp(home.data())) return 1;
    orvella::platform::SetHomeDirectory(home);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    std::error_code ignored;
    std::filesystem::remove_all(home, ignored);
    return 0;
}
