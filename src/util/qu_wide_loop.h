// Loops over many numbers, for the widest registers of the processor at hand.
#pragma once

namespace qrd {

#ifdef __x86_64__
template <typename Loop>
[[gnu::target("avx2"), gnu::flatten]] auto qu_avx2_loop(const Loop& loop) {
  return loop();
}
#endif

// The result of `loop`, which is compiled twice: for all processors of the family, and for those with more.
// It pays where the compiler turns the loop into work on registers that hold several of its numbers.
template <typename Loop>
auto qu_wide_loop(const Loop& loop) {
#ifdef __x86_64__
  if (__builtin_cpu_supports("avx2")) return qu_avx2_loop(loop);
#endif
  return loop();
}

}  // namespace qrd
