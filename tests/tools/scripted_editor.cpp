// An editor for tests, which needs no terminal: replaces a text in a file. Its command line is
// scripted_editor --wait BEFORE AFTER FILE.

#include <fstream>
#include <iterator>
#include <string>

int main(int count, char** arguments) {
    if (count != 5 || std::string(arguments[1]) != "--wait") return 2;
    std::ifstream input(arguments[4], std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>()};
    input.close();
    const std::string before = arguments[2];
    const std::size_t at = text.find(before);
    if (at == std::string::npos) return 1;
    std::ofstream(arguments[4], std::ios::binary) << text.replace(at, before.size(), arguments[3]);
    return 0;
}
