/// Reports on a terminal what the tool is doing with a large document.
#pragma once

#include <filesystem>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

namespace arborctl {

class Progress {
public:
    /// A status line for one stage of work; the destructor erases it.
    class Stage {
    public:
        Stage() = default;
        Stage(const Progress& progress, std::string line);
        ~Stage() { Erase(); }
        Stage(Stage&& other) noexcept
            : out(std::exchange(other.out, nullptr)),
              sharesTerminal(other.sharesTerminal),
              text(std::move(other.text)),
              count(other.count),
              width(other.width) {}
        Stage& operator=(Stage&&) = delete;

        /// Counts one processed key and updates the line now and then.
        void CountKey();
        /// Call before standard output is written: ends a line that the output would follow on the same terminal.
        void BeginOutput() {
            if (sharesTerminal) Erase();
        }

    private:
        void Erase();

        std::ostream* out = nullptr;
        bool sharesTerminal = false;   // with standard output
        std::string text{};
        std::size_t count = 0;
        std::size_t width = 0;   // of the line on the terminal, in bytes
    };

    /// A null `terminal` makes every stage silent. `isOfOutput`: standard output is a terminal too.
    explicit Progress(std::ostream* terminal, bool isOfOutput = false) : out(terminal), sharesTerminal(isOfOutput) {}

    /// Returns a silent stage for a document below 10 MB.
    [[nodiscard]] Stage Begin(std::string_view work, const std::filesystem::path& document) const;

private:
    std::ostream* out;
    bool sharesTerminal;
};

}   // namespace arborctl
