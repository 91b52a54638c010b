#include "input.h"

#include "document.h"

#include <iostream>
#include <iterator>

namespace arborctl {

std::string Input::Name() const { return IsFile() ? PathText(file) : "standard input"; }

Input ReadInput(const std::filesystem::path& argument, std::chrono::seconds wait) {
    if (argument == "-") return {{}, {std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>()}};
    if (!std::filesystem::exists(argument)) throw LoadError(kernel::kNoDocument, PathText(argument));
    return {argument, ReadFile(argument, wait)};
}

}   // namespace arborctl
