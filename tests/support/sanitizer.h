// Test support: whether the tests run under AddressSanitizer, and the sizes of the long
// randomized tests there, a third of the release build's: the release run keeps the full
// coverage, the sanitized one looks for memory faults on the same kinds of input.
#pragma once

#include <cstdint>

namespace nurex::test {

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool underSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr bool underSanitizer = true;
#else
inline constexpr bool underSanitizer = false;
#endif
#else
inline constexpr bool underSanitizer = false;
#endif

// A count of seeds (or a threshold over them) for the build under test.
constexpr uint64_t sizedForBuild(uint64_t releaseCount) { return underSanitizer ? releaseCount / 3 : releaseCount; }

}  // namespace nurex::test
