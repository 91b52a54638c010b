/// Runs the tool in the test's process, on documents in a folder of its own.
#pragma once

#include "support/temporary_folder.h"

#include <arborctl/tool.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace test {

struct Outcome {
    int exitCode;
    std::string output;
    std::string error;
};

/// Runs the tool in this process, with `given` as its standard input.
inline Outcome RunTool(const std::vector<std::string>& arguments, const std::string& given = "") {
    std::istringstream input(given);
    std::ostringstream output;
    std::ostringstream error;
    std::streambuf* const realInput = std::cin.rdbuf(input.rdbuf());
    std::streambuf* const realOutput = std::cout.rdbuf(output.rdbuf());
    std::streambuf* const realError = std::cerr.rdbuf(error.rdbuf());
    const int exitCode = arborctl::RunTool(arguments);
    std::cin.rdbuf(realInput);
    std::cout.rdbuf(realOutput);
    std::cerr.rdbuf(realError);
    return {exitCode, output.str(), error.str()};
}

inline std::string FileText(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline constexpr const char* kDocument =
    "<arbor>\r\n"
    "    <key name=\"Network\">\r\n"
    "        <key name=\"Proxy\">\r\n"
    "            <tBOOL name=\"Enabled\">1</tBOOL>\r\n"
    "            <tDWORD name=\"Port\">8080</tDWORD>\r\n"
    "        </key>\r\n"
    "        <tSTRING name=\"Comment\">a &amp; b&#x9;&lt;c&gt;</tSTRING>\r\n"
    "    </key>\r\n"
    "    <tBINARY name=\"Blob\">0A0BFF</tBINARY>\r\n"
    "    <tWSTRING name=\"Wide\">41004200</tWSTRING>\r\n"
    "</arbor>\r\n";

class ToolTest : public testing::Test {
protected:
    ToolTest() { Write("d.xml", kDocument); }

    void Write(const std::filesystem::path& name, const std::string& content) const {
        std::ofstream(folder / name, std::ios::binary) << content;
    }

    [[nodiscard]] std::string Path(const char* name) const { return (folder / name).string(); }

    /// Runs the tool with `options`, the document and `command`.
    Outcome RunOn(const char* document, std::vector<std::string> command, std::vector<std::string> options = {},
                  const std::string& given = "") {
        options.push_back(Path(document));
        options.insert(options.end(), command.begin(), command.end());
        return RunTool(options, given);
    }

    [[nodiscard]] std::vector<std::string> Files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }

    const testing_support::TemporaryFolder owned;
    const std::filesystem::path& folder = owned.Folder();
};

}   // namespace test
