// Marks loops that are compiled a second time for processors with wider vectors.
#pragma once

// A function so marked is compiled twice, and the loader chooses once which copy runs. Without the
// compiler's help (and under sanitizers, which do not survive code in the loader) there is one.
#if defined(__x86_64__) && defined(__ELF__) && defined(__GNUC__) && !defined(__clang__) &&         \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define TARNTEST_VECTOR_CLONES __attribute__((target_clones("avx2", "default")))
// A function that such copies share takes part only where it is inlined.
#define TARNTEST_IN_CLONES __attribute__((always_inline)) inline
#else
#define TARNTEST_VECTOR_CLONES
#define TARNTEST_IN_CLONES inline
#endif
