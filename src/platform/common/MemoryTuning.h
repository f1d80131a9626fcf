#pragma once

// Sets the C library's allocator up for what the program does: a refresh of a large project makes
// hundreds of thousands of small objects and a few large lists, and lets them go together.
void TuneAllocator();
