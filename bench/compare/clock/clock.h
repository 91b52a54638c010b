/// The clock of the measurements.
#pragma once

namespace bench {

/// Processor time of this process, so that other processes on the machine aren't counted; on Windows elapsed time.
[[nodiscard]] double SecondsNow();

}   // namespace bench
