// Runs a benchmark's body so that a failure (a std::exception) skips the benchmark with its
// reason instead of ending the whole run.
#pragma once

#include <benchmark/benchmark.h>

#include <exception>

namespace orvella::bench {

template <class Body>
void Guard(benchmark::State& state, Body&& body) {
    try {
        body();
    } catch (const std::exception& failure) {
        state.SkipWithError(failure.what());
    }
}

}  // namespace orvella::bench
