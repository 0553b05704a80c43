/// \file
/// Work that needs nothing but execution units: no thread can hold up another one by memory, caches or locks.
#pragma once

namespace bench {

/// Multiplies and adds registers of the widest kind that the machine has, for some microseconds.
void registerArithmetic();

} // namespace bench
