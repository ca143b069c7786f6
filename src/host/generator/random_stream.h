// Seeded choices drawn from the raw output of std::mt19937, whose sequence the C++ standard fixes:
// the same seed makes the same mailbox with every standard library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <utility>
#include <vector>

namespace orvella::host::generator {

class Random {
public:
    explicit Random(std::uint32_t seed) : engine_(seed) {}

    std::uint32_t Next() { return static_cast<std::uint32_t>(engine_()); }
    // Uniform in [0, n); n must be positive.
    std::uint32_t Below(std::uint32_t n);
    // Uniform in [low, high].
    std::uint32_t Between(std::uint32_t low, std::uint32_t high) {
        return low + Below(high - low + 1);
    }
    // True `per_mille` times in a thousand.
    bool Chance(std::uint32_t per_mille) { return Below(1000) < per_mille; }
    // In [0, n), small values far more likely: ranks of popularity, lengths of pauses.
    std::uint32_t Skewed(std::uint32_t n);
    // An index drawn in proportion to `weights` (not all zero).
    std::size_t Weighted(std::span<const std::uint32_t> weights);

    template <class T>
    const T& Pick(std::span<const T> items) {
        return items[Below(static_cast<std::uint32_t>(items.size()))];
    }
    template <class T, std::size_t N>
    const T& Pick(const T (&items)[N]) {
        return Pick(std::span<const T>(items, N));
    }
    template <class T>
    void Shuffle(std::vector<T>& items) {
        for (std::size_t i = items.size(); i > 1; --i) {
            std::swap(items[i - 1], items[Below(static_cast<std::uint32_t>(i))]);
        }
    }

private:
    std::mt19937 engine_;
};

// A seed for an independent stream, from a parent seed and the numbers naming the stream: the
// text of message 7 of thread 12 is drawn from Random(DeriveSeed(thread_seed, 7, kBody)) and can
// be made again, alone, when a later reply quotes it.
std::uint32_t DeriveSeed(std::uint32_t parent, std::uint32_t a, std::uint32_t b = 0);

}  // namespace orvella::host::generator
