#pragma once

/// \file
/// Networks of comparisons, worked out by the compiler: the same exchanges whatever the samples, so that vectors of
/// windows go through together. Internal linkage, for the sources compiled for an instruction set.

#include <cstddef>
#include <cstdint>
#include <utility>

namespace velmont::kernels {

namespace {

constexpr int kMostWires = 64, kMostExchanges = 512;

/// Pairs of wires of which the first gets the lower value and the second the higher, one after the other, and the
/// wires in the order of their values at the end.
struct Network {
    int exchanges = 0;
    uint8_t lower[kMostExchanges] = {}, higher[kMostExchanges] = {};
    int wires = 0;
    uint8_t wire[kMostWires] = {};

    constexpr void exchange(uint8_t low, uint8_t high)
    {
        lower[exchanges] = low;
        higher[exchanges++] = high;
    }
};

/// A list of wires of rising values.
struct Wires {
    int count = 0;
    uint8_t of[kMostWires] = {};

    constexpr void add(uint8_t wire) { of[count++] = wire; }
    constexpr Wires everySecond(int first) const
    {
        Wires half;
        for (int i = first; i < count; i += 2)
            half.add(of[i]);
        return half;
    }
};

/// Odd-even merging: those with even places and those with odd ones by themselves, then neighbours.
constexpr Wires merge(Network &network, const Wires &a, const Wires &b)
{
    if (a.count == 0)
        return b;
    if (b.count == 0)
        return a;
    Wires merged;
    if (a.count == 1 && b.count == 1) {
        network.exchange(a.of[0], b.of[0]);
        merged.add(a.of[0]);
        merged.add(b.of[0]);
        return merged;
    }
    const Wires even = merge(network, a.everySecond(0), b.everySecond(0));
    const Wires odd = merge(network, a.everySecond(1), b.everySecond(1));
    merged.add(even.of[0]);
    for (int i = 0; i < odd.count || i + 1 < even.count; ++i) {
        if (i < odd.count && i + 1 < even.count)
            network.exchange(odd.of[i], even.of[i + 1]);
        if (i < odd.count)
            merged.add(odd.of[i]);
        if (i + 1 < even.count)
            merged.add(even.of[i + 1]);
    }
    return merged;
}

constexpr Wires range(int first, int count)
{
    Wires wires;
    for (int i = 0; i < count; ++i)
        wires.add(static_cast<uint8_t>(first + i));
    return wires;
}

constexpr Wires sort(Network &network, int first, int count)
{
    if (count == 1)
        return range(first, 1);
    const int half = count / 2;
    const Wires a = sort(network, first, half), b = sort(network, first + half, count - half);
    return merge(network, a, b);
}

constexpr Network finished(Network network, const Wires &wires)
{
    network.wires = wires.count;
    for (int i = 0; i < wires.count; ++i)
        network.wire[i] = wires.of[i];
    return network;
}

constexpr Network sortingNetwork(int count)
{
    Network network;
    const Wires wires = sort(network, 0, count);
    return finished(network, wires);
}

/// The first `a` wires and the `b` after them, both of rising values, into one list.
constexpr Network mergingNetwork(int a, int b)
{
    Network network;
    const Wires wires = merge(network, range(0, a), range(a, b));
    return finished(network, wires);
}

/// step(0), step(1) ... as constants, without a loop: what a network works on then stays in registers.
template <int count, typename Step>
[[gnu::always_inline]] inline void unrolled(Step step)
{
    [&]<int... i>(std::integer_sequence<int, i...>) __attribute__((always_inline))
    {
        (step(std::integral_constant<int, i>{}), ...);
    }
    (std::make_integer_sequence<int, count>{});
}

/// Runs the network on values[0] .. values[wires - 1]; what is not looked at afterwards is not worked out.
template <const Network &network, typename Value, typename Exchange>
[[gnu::always_inline]] inline void runNetwork(Value *values, Exchange exchange)
{
    unrolled<network.exchanges>([&](auto i) __attribute__((always_inline)) {
        exchange(values[network.lower[i]], values[network.higher[i]]);
    });
}

} // namespace

} // namespace velmont::kernels
