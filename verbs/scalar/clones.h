// Loops over arrays are compiled for several instruction sets, and the one that the processor has is bound when the
// program is loaded. All give the same bits: contraction of products and sums is off. Sanitizers and
// compilers that cannot clone a template get the plain loop.
#pragma once

#if defined(__x86_64__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define VECTOR_CLONES __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
#else
#define VECTOR_CLONES
#endif
