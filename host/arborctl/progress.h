/// What the tool is doing, for whoever waits at a terminal for a large document.
#pragma once

#include <filesystem>
#include <ostream>
#include <string>
#include <string_view>

namespace arborctl {

class Progress {
public:
    /// A line about one piece of work; the destructor wipes it.
    class Stage {
    public:
        Stage() = default;
        Stage(std::ostream& terminal, std::string line);
        ~Stage();
        Stage(Stage&& other) noexcept : out(other.out), text(std::move(other.text)) { other.out = nullptr; }
        Stage& operator=(Stage&&) = delete;

        /// Counts one key that was dealt with.
        void Step();

    private:
        std::ostream* out = nullptr;
        std::string text{};
        std::size_t count = 0;
        std::size_t shown = 0;   // characters
    };

    /// Without a terminal every stage is silent.
    explicit Progress(std::ostream* terminal) : out(terminal) {}

    /// Silent for a document of less than ten megabytes.
    [[nodiscard]] Stage Begin(std::string_view work, const std::filesystem::path& document) const;

private:
    std::ostream* out;
};

}   // namespace arborctl
