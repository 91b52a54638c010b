#include "clock.h"

#include <ctime>

namespace bench {

double SecondsNow() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

}   // namespace bench
