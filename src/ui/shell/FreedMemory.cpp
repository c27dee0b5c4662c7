#include "ui/shell/FreedMemory.h"

#include <cstdlib> // defines __GLIBC__ where the C library is glibc

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace FreedMemory {

void returnToSystem()
{
#if defined(__GLIBC__)
    malloc_trim(0);
#endif
}

} // namespace FreedMemory
