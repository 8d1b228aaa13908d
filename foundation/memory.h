#pragma once

namespace zarn {

// Lets the process keep up to 16 MiB of freed memory at the top of each heap instead of giving it
// back to the system at once. A document that is built, written and freed would otherwise have its
// pages mapped and cleared anew every time, which costs as much as the building. Called once, at the
// head of `main`.
void KeepFreedMemory();

}  // namespace zarn
