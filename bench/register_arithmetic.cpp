#include "bench/register_arithmetic.h"

#include <benchmark/benchmark.h>

namespace bench {

namespace {
using Lanes = float __attribute__((vector_size(64)));
constexpr int rounds = 10000;

void step(Lanes& lanes) {
    lanes = lanes * 0.5F + 1.0F;
}
} // namespace

void registerArithmetic() {
    // Independent chains, enough to keep every unit busy, in variables of their own: an array goes to memory.
    // Equal ones would be made one.
    Lanes a{};
    Lanes b = a + 1.0F;
    Lanes c = a + 2.0F;
    Lanes d = a + 3.0F;
    Lanes e = a + 4.0F;
    Lanes f = a + 5.0F;
    Lanes g = a + 6.0F;
    Lanes h = a + 7.0F;
    for (int i = 0; i < rounds; ++i) {
        step(a);
        step(b);
        step(c);
        step(d);
        step(e);
        step(f);
        step(g);
        step(h);
    }
    Lanes sum = a + b + c + d + e + f + g + h;
    benchmark::DoNotOptimize(sum);
}

} // namespace bench
