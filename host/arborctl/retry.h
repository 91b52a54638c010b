/// Retries operations that fail while another process uses a file.
#pragma once

#include <chrono>
#include <thread>

namespace arborctl {

/// Calls `attempt()` every 10 ms until it returns true or `wait` is over, at least once.
template <class Attempt>
void RetryFor(std::chrono::milliseconds wait, Attempt attempt) {
    constexpr std::chrono::milliseconds kInterval{10};
    const auto deadline = std::chrono::steady_clock::now() + wait;
    while (!attempt() && std::chrono::steady_clock::now() < deadline) std::this_thread::sleep_for(kInterval);
}

}   // namespace arborctl
