/// Reports on a terminal what the tool is doing with a large document.
#pragma once

#include <filesystem>
#include <ostream>
#include <string>
#include <string_view>

namespace arborctl {

class Progress {
public:
    /// A status line for one stage of work; the destructor erases it.
    class Stage {
    public:
        Stage() = default;
        Stage(std::ostream& terminal, std::string line);
        ~Stage();
        Stage(Stage&& other) noexcept : out(other.out), text(std::move(other.text)) { other.out = nullptr; }
        Stage& operator=(Stage&&) = delete;

        /// Counts one processed key and updates the line now and then.
        void CountKey();

    private:
        std::ostream* out = nullptr;
        std::string text{};
        std::size_t count = 0;
        std::size_t width = 0;   // of the line on the terminal, in bytes
    };

    /// A null `terminal` makes every stage silent.
    explicit Progress(std::ostream* terminal) : out(terminal) {}

    /// Returns a silent stage for a document below 10 MB.
    [[nodiscard]] Stage Begin(std::string_view work, const std::filesystem::path& document) const;

private:
    std::ostream* out;
};

}   // namespace arborctl
