/// Shared by the benchmarks of single components: names such as documents have, and the program's host.
#pragma once

#include <host/kernel.h>

#include <random>
#include <string>
#include <vector>

namespace bench {

/// `count` names of 4 to 12 letters and a number, the same on each run.
inline std::vector<std::string> MakeNames(std::size_t count) {
    std::mt19937 random(1);   // NOLINT(cert-msc51-cpp): the same names on each run
    std::vector<std::string> names;
    for (std::size_t i = 0; i < count; ++i) {
        std::string name(1, static_cast<char>('A' + random() % 26));
        for (std::size_t length = 3 + random() % 9; length > 0; --length) {
            name += static_cast<char>('a' + random() % 26);
        }
        names.push_back(name + std::to_string(i % 1000));
    }
    return names;
}

/// The only host of the program, from which all benchmarks allocate.
inline host::Kernel& SharedHost() {
    static host::Kernel kernel;
    return kernel;
}

}   // namespace bench
