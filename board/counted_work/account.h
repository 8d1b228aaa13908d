#pragma once

namespace zarn::board {

// From now on an interrupt does not end the program; says so by the line "begun".
void Begin();

// Whether an interrupt has come since then.
bool IsInterrupted();

// The processor's time that this thread has had, ms.
double ThreadMs();

// Prints a line on standard output, without memory of the heap, which is measured.
[[gnu::format(printf, 1, 2)]] void Tell(const char* format, ...);

}  // namespace zarn::board
