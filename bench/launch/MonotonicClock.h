#pragma once

#include <ctime>

// The clock the driver and both launched programs read, so that a child's moments compare
// with the driver's start time.
inline long long monotonicNs()
{
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return (long long)t.tv_sec * 1000000000LL + t.tv_nsec;
}
