#pragma once

#include <cstddef>
#include <string>

namespace zarn {

// Lets the process keep up to 16 MiB of freed memory at the top of each heap instead of giving it
// back to the system at once. A document that is built, written and freed would otherwise have its
// pages mapped and cleared anew every time, which costs as much as the building. Called once, at
// the head of `main`.
void KeepFreedMemory();

// Gives a text that grows by pieces room for `more` bytes. A long one grows fourfold: that copies
// little, and memory that is never reached costs nothing. Where so much cannot be had nothing is
// done, so that the appending itself takes as much as it needs.
void MakeRoom(std::string& text, std::size_t more);

}  // namespace zarn
