#pragma once

// Hands memory the allocator keeps after a burst of start-up work back to the system. The C
// library of Linux keeps freed blocks for reuse, so a picture decoded once and dropped would
// otherwise stay resident for the life of the process; elsewhere the allocator returns it itself
// and this does nothing.
namespace FreedMemory {

void returnToSystem();

} // namespace FreedMemory
