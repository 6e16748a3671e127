// How the allocator treats large blocks.
#pragma once

// Lets the allocator keep up to 256 MiB of freed memory for the next picture. By default each large
// block comes from the system anew and costs a page fault every 4 KiB when it is first written,
// many times the copy itself. A threshold set in the environment (MALLOC_TRIM_THRESHOLD_) stays.
void KeepFreedBlocks();
