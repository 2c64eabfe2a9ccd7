// Loops over arrays are compiled for several instruction sets, and the one that the processor has is bound when the
// program is loaded. All must give the same bits, so products and sums are not contracted. GCC 12 contracts all the
// same where neighbouring lanes add and subtract in turn; the hypercomplex products therefore add the product with a
// negated factor, which rounds alike, instead of subtracting (numbers/algebra.h). Sanitizers and compilers that cannot
// clone a template get the plain loop.
#pragma once

#if defined(__x86_64__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define VECTOR_CLONES __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
#else
#define VECTOR_CLONES
#endif
