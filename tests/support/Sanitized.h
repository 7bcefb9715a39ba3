// What tests do otherwise under the sanitizers, where everything takes several times as long and more memory.
#pragma once

namespace qlxtest {

#ifdef QLX_SANITIZED
inline constexpr bool kIsSanitized = true;
#else
inline constexpr bool kIsSanitized = false;
#endif

/// How often a test repeats what it does, or at what steps it walks: `full` as a rule, and another number, with which
/// each kind of case still occurs, where a sanitizer looks at every step.
template <class Count>
[[nodiscard]] constexpr Count countFor(Count full, Count underSanitizers) {
    return kIsSanitized ? underSanitizers : full;
}

}  // namespace qlxtest
