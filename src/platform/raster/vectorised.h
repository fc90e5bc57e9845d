#pragma once

/// Marks a function of plain loops over pixels, which is compiled once for every processor and once for those with wider
/// vectors. Both give the same results: its arithmetic is of integers, or of floats in an order that the source fixes.
///
/// The choice is made while the program is loaded, before a sanitizer has its footing, so that there is one version under those.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__) &&                         \
    !defined(__SANITIZE_THREAD__)
#define LARKSPOOL_VECTORISED __attribute__((target_clones("avx2", "default")))
#else
#define LARKSPOOL_VECTORISED
#endif
