/// Reads the whole of a file or of standard input.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>

namespace arborctl {

struct Input {
    std::filesystem::path file{};   // empty for standard input
    std::string content{};

    [[nodiscard]] bool IsFile() const { return !file.empty(); }
    /// The input's name, for messages.
    [[nodiscard]] std::string Name() const;

    /// Frees the content. An assignment of an empty string would keep the memory.
    void Free() { std::string().swap(content); }
};

/// Reads a file, or standard input for "-". Retries for `wait` if the file can't be opened. Throws a `LoadError` if it
/// doesn't exist, and `std::runtime_error` if it can't be read.
[[nodiscard]] Input ReadInput(const std::filesystem::path& argument, std::chrono::seconds wait);

}   // namespace arborctl
