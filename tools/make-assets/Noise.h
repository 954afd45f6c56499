// Deterministic noise and random numbers for ostquote-make-assets: the same seeds give the
// same pictures on every run.
#pragma once

#include <cmath>
#include <cstdint>

namespace assets {

inline std::uint32_t hash32(std::uint32_t x)
{
    x ^= x >> 16;
    x *= 0x7feb352dU;
    x ^= x >> 15;
    x *= 0x846ca68bU;
    x ^= x >> 16;
    return x;
}

inline double hashUnit(std::int64_t i, std::uint32_t seed)
{
    const auto lo = static_cast<std::uint32_t>(i);
    const auto hi = static_cast<std::uint32_t>(static_cast<std::uint64_t>(i) >> 32);
    return hash32(lo * 0x9E3779B1U ^ hash32(hi + seed * 0x85EBCA6BU)) / 4294967296.0;
}

inline double valueNoise(double x, std::uint32_t seed)
{
    const double fl = std::floor(x);
    const double f = x - fl;
    const double u = f * f * f * (f * (f * 6 - 15) + 10);
    const auto i = static_cast<std::int64_t>(fl);
    const double a = hashUnit(i, seed);
    const double b = hashUnit(i + 1, seed);
    return a + (b - a) * u;
}

// Fractal noise in [0, 1].
inline double fbm(double x, std::uint32_t seed, int octaves, double gain = 0.5)
{
    double sum = 0, amp = 1, norm = 0, freq = 1;
    for (int o = 0; o < octaves; ++o) {
        sum += amp * valueNoise(x * freq, seed + 977U * o);
        norm += amp;
        amp *= gain;
        freq *= 2.07;
    }
    return sum / norm;
}

// Ridged fractal noise in [0, 1]: sharp crests, like mountain ridges.
inline double ridged(double x, std::uint32_t seed, int octaves)
{
    double sum = 0, amp = 1, norm = 0, freq = 1;
    for (int o = 0; o < octaves; ++o) {
        const double n = 1.0 - std::abs(2.0 * valueNoise(x * freq, seed + 613U * o) - 1.0);
        sum += amp * n * n;
        norm += amp;
        amp *= 0.48;
        freq *= 2.11;
    }
    return sum / norm;
}

// splitmix64 with a fixed seed: for placing trees, clouds, stars.
class Rng
{
public:
    explicit Rng(std::uint64_t seed) : m_state(seed) {}
    std::uint64_t next()
    {
        std::uint64_t z = (m_state += 0x9E3779B97F4A7C15ULL);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
        return z ^ (z >> 31);
    }
    double unit() { return (next() >> 11) * (1.0 / 9007199254740992.0); }
    double range(double lo, double hi) { return lo + (hi - lo) * unit(); }

private:
    std::uint64_t m_state;
};

} // namespace assets
