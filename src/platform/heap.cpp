#include "platform/heap.h"

#include <malloc.h>

namespace larkspool {

void keepLargeMemoryApart()
{
    // Setting the threshold also keeps the allocator from raising it by what it sees freed.
    constexpr int largePiece = 256 * 1024;
    mallopt(M_MMAP_THRESHOLD, largePiece);
}

} // namespace larkspool
