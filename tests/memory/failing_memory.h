#pragma once
// Memory that runs out on demand: the global operator new of this test program.

#include <cstddef>

namespace orbmath_test {

/// Whether only one allocation fails, or that one and all behind it.
enum class Shortage { Once, FromThereOn };

/// From now on the `n`-th allocation of the program, counted from 1 over all threads, fails; 0: none.
void FailAllocation(std::size_t n, Shortage shortage);

/// Ends the shortage. \return whether an allocation failed.
bool EndShortage();

/// Blocks that operator new gave and operator delete has not got back.
std::ptrdiff_t LiveBlocks();

}  // namespace orbmath_test
