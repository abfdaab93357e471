// Loops over many numbers, for the widest registers of the processor at hand.
#pragma once

// What the loader has found out of the processor is asked for where it tells: to ask anew takes every session
// 40 us if the machine is a virtual one.
#if defined(__x86_64__) && !defined(__clang__) && __has_include(<sys/platform/x86.h>)
#include <sys/platform/x86.h>
#define QRD_HAS_AVX2() CPU_FEATURE_ACTIVE(AVX2)
#elif defined(__x86_64__)
#define QRD_HAS_AVX2() __builtin_cpu_supports("avx2")
#endif

namespace qrd {

#ifdef QRD_HAS_AVX2
template <typename Loop>
[[gnu::target("avx2"), gnu::flatten]] auto qu_avx2_loop(const Loop& loop) {
  return loop();
}
#endif

// The result of `loop`, which is compiled twice: for all processors of the family, and for those with more.
// It pays where the compiler turns the loop into work on registers that hold several of its numbers.
template <typename Loop>
auto qu_wide_loop(const Loop& loop) {
#ifdef QRD_HAS_AVX2
  if (QRD_HAS_AVX2()) return qu_avx2_loop(loop);
#endif
  return loop();
}

#undef QRD_HAS_AVX2

}  // namespace qrd
