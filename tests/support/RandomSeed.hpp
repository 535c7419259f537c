#pragma once
// The seed of a randomised test: the one that an environment variable names,
// which replays a failure, else one drawn at random.
#include <cstdint>
#include <cstdlib>
#include <random>

namespace tfsp::test {

inline std::uint64_t SeedFromEnvironment(const char* variable) {
    if (const char* text = std::getenv(variable)) return std::strtoull(text, nullptr, 10);
    return std::random_device{}();
}

}  // namespace tfsp::test
