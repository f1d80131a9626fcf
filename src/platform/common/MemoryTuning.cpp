#include "MemoryTuning.h"

#if defined(__GLIBC__)
#include <malloc.h>
#endif

void TuneAllocator() {
#if defined(__GLIBC__)
    // Large buffers (the lists of a big project) come from the heap and are reused there, instead of
    // each growth mapping fresh pages that fault in one by one; the heap keeps what it was given
    // between refreshes instead of handing it back and faulting it in again. About a tenth of a
    // refresh's time at a hundred thousand objects.
    mallopt(M_MMAP_THRESHOLD, 32 * 1024 * 1024); // the most it takes
    mallopt(M_TRIM_THRESHOLD, 128 * 1024 * 1024);
    mallopt(M_TOP_PAD, 16 * 1024 * 1024);
#endif
}
