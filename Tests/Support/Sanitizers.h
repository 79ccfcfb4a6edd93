// Whether a test was built with the address or the thread sanitizer. These take all memory from a heap of their own,
// keep it after it was given back, open files, and make long computations up to forty times slower.
#pragma once

namespace pellora::support {

#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool kUnderSanitizers = true;
#else
inline constexpr bool kUnderSanitizers = false;
#endif

}  // namespace pellora::support
