// Distributions over the raw engine output, written out so that no library's own distribution
// code (which the standard leaves free) changes a generated mailbox.
#include "random_stream.h"

namespace orvella::host::generator {

std::uint32_t Random::Below(std::uint32_t n) {
    // Rejection keeps every value equally likely: drop draws from the incomplete last block.
    const std::uint32_t limit = static_cast<std::uint32_t>(0x1'0000'0000ULL % n);
    std::uint32_t draw = Next();
    while (draw < limit) draw = Next();
    return draw % n;
}

std::uint32_t Random::Skewed(std::uint32_t n) {
    // The cube of a uniform fraction: about half the draws fall in the first tenth.
    const std::uint64_t u = Next() >> 16;
    const std::uint64_t cube = (u * u * u) >> 16;  // 32 bits
    return static_cast<std::uint32_t>((cube * n) >> 32);
}

std::size_t Random::Weighted(std::span<const std::uint32_t> weights) {
    std::uint32_t total = 0;
    for (std::uint32_t weight : weights) total += weight;
    std::uint32_t draw = Below(total);
    for (std::size_t i = 0; i < weights.size(); ++i) {
        if (draw < weights[i]) return i;
        draw -= weights[i];
    }
    return weights.size() - 1;
}

std::uint32_t DeriveSeed(std::uint32_t parent, std::uint32_t a, std::uint32_t b) {
    // SplitMix64's finaliser: neighbouring inputs give unrelated seeds.
    std::uint64_t x =
        (std::uint64_t{parent} << 32 | a) ^ (std::uint64_t{b} * 0x9E3779B97F4A7C15ULL);
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ULL;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBULL;
    x ^= x >> 31;
    return static_cast<std::uint32_t>(x ^ (x >> 32));
}

}  // namespace orvella::host::generator
