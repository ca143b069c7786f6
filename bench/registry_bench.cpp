// Registry latency: reading a DWORD from an open key, the add-in's open-read-close pattern, and a
// durable write of a DWORD.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "home.h"
#include "temp_home.h"
#include "winreg.h"

namespace {

using BenchmarkHome = orvella::testing::TempHome;  // a fresh home, removed afterwards

constexpr const char* kKey = "Software\\Orvella\\Vintor\\Scoring";

HKEY CreateSettingsKey() {
    HKEY key = nullptr;
    RegCreateKeyExA(HKEY_CURRENT_USER, kKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    const DWORD one = 1;
    RegSetValueExA(key, "ContactWeight", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&one),
                   sizeof one);
    return key;
}

void QueryDwordOnOpenKey(benchmark::State& state) {
    BenchmarkHome home;
    const HKEY key = CreateSettingsKey();
    for (auto _ : state) {
        DWORD value = 0, type = 0, size = sizeof value;
        if (RegQueryValueExA(key, "ContactWeight", nullptr, &type, reinterpret_cast<BYTE*>(&value),
                             &size) != ERROR_SUCCESS) {
            state.SkipWithError("RegQueryValueExA failed");
            break;
        }
        benchmark::DoNotOptimize(value);
    }
    RegCloseKey(key);
}
BENCHMARK(QueryDwordOnOpenKey);

void OpenQueryCloseDword(benchmark::State& state) {
    BenchmarkHome home;
    RegCloseKey(CreateSettingsKey());
    for (auto _ : state) {
        HKEY key = nullptr;
        DWORD value = 0, type = 0, size = sizeof value;
        if (RegOpenKeyExA(HKEY_CURRENT_USER, kKey, 0, KEY_READ, &key) != ERROR_SUCCESS ||
            RegQueryValueExA(key, "ContactWeight", nullptr, &type, reinterpret_cast<BYTE*>(&value),
                             &size) != ERROR_SUCCESS) {
            state.SkipWithError("open or query failed");
            break;
        }
        RegCloseKey(key);
        benchmark::DoNotOptimize(value);
    }
}
BENCHMARK(OpenQueryCloseDword);

void SetDword(benchmark::State& state) {
    BenchmarkHome home;
    const HKEY key = CreateSettingsKey();
    DWORD value = 0;
    for (auto _ : state) {
        ++value;
        if (RegSetValueExA(key, "ContactWeight", 0, REG_DWORD,
                           reinterpret_cast<const BYTE*>(&value), sizeof value) != ERROR_SUCCESS) {
            state.SkipWithError("RegSetValueExA failed");
            break;
        }
    }
    RegCloseKey(key);
}
BENCHMARK(SetDword);

}  // namespace

BENCHMARK_MAIN();
