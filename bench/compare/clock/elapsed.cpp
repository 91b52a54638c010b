// Elapsed time, for Windows programs: Wine counts processor time in steps of 10 ms only.

#include "clock.h"

#include <chrono>

namespace bench {

double SecondsNow() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}   // namespace bench
