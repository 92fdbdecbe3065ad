#pragma once
// Whether this build runs under a sanitizer, for tests of what one changes: memory that is kept after it was freed,
// address space, copies of the library.

namespace orbmath_test {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
constexpr bool kSanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
constexpr bool kSanitized = false;
#endif

}  // namespace orbmath_test
