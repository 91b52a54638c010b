// `ModuleFile` and the functions of `system.h` on Windows.

#include <host/module_file.h>
#include <host/system.h>
#include <host/text.h>

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstring>

/// The C runtime's parser of the command line, in UTF-16. The headers of MinGW don't declare it.
extern "C" int __cdecl __wgetmainargs(int* count, wchar_t*** values, wchar_t*** environment, int expandWildcards,
                                      int* newMode);

namespace host {
namespace {

using EntryCall = BOOL(__stdcall*)(void* first, DWORD reason, void* third);

/// The entry point in the PE header of a loaded module, or null.
EntryCall FindEntry(void* image) {
    auto* base = static_cast<unsigned char*>(image);
    const auto* dosHeader = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* header = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dosHeader->e_lfanew);
    const DWORD entry = header->OptionalHeader.AddressOfEntryPoint;
    return entry == 0 ? nullptr : reinterpret_cast<EntryCall>(base + entry);
}

std::u16string_view Units(const wchar_t* text) { return reinterpret_cast<const char16_t*>(text); }

HANDLE HandleOf(Stream stream) { return GetStdHandle(stream == Stream::Output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE); }

/// Starts a program in this console and returns its process, or null.
HANDLE Start(std::wstring commandLine) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process) ==
        0)
        return nullptr;
    CloseHandle(process.hThread);
    return process.hProcess;
}

}   // namespace

ModuleFile::ModuleFile(const std::filesystem::path& path) {
    const std::filesystem::path file = std::filesystem::absolute(path);
    handle = LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (handle == nullptr) {
        const DWORD error = GetLastError();
        throw ModuleError("can't load the module: " + ToUtf8(file.u16string()) + ": system error " +
                          std::to_string(error));
    }
    const EntryCall call = FindEntry(handle);
    if (call == nullptr) {
        FreeLibrary(static_cast<HMODULE>(handle));
        throw ModuleError("can't start the module: " + ToUtf8(file.u16string()) + ": its header has no entry point");
    }
    entry = call;
}

ModuleFile::~ModuleFile() { FreeLibrary(static_cast<HMODULE>(handle)); }

std::string_view PathFault(std::string_view) { return {}; }

std::filesystem::path RealPath(const std::filesystem::path& path) {
    return std::filesystem::absolute(path).lexically_normal().make_preferred();
}

std::u16string DocumentName(const std::filesystem::path& path) { return RealPath(path).u16string(); }

std::filesystem::path ProgramDirectory() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) return std::filesystem::path(path.substr(0, length)).parent_path();
        path.resize(path.size() * 2);
    }
}

const char* ModuleExtension() { return ".dll"; }

/// Reads the command line again: the arguments of `main` have lost every character outside the system's code page.
std::vector<std::string> ProgramArguments(int, const char* const*) {
    int count = 0;
    int newMode = 0;
    wchar_t** values = nullptr;
    wchar_t** environment = nullptr;
    __wgetmainargs(&count, &values, &environment, 0, &newMode);
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i) arguments.push_back(ToUtf8(Units(values[i])));
    return arguments;
}

std::string EnvironmentVariable(const char* name) {
    const wchar_t* const value = _wgetenv(std::wstring(name, name + std::strlen(name)).c_str());
    return value != nullptr ? ToUtf8(Units(value)) : "";
}

bool IsTerminal(Stream stream) {
    const HANDLE console = HandleOf(stream);
    DWORD mode = 0;
    return GetConsoleMode(console, &mode) != 0 &&
           SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

void PrepareStandardStreams() {
    SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
}

bool IsPipeClosed(Stream stream) { return GetFileType(HandleOf(stream)) == FILE_TYPE_PIPE; }

/// ERROR_ACCESS_DENIED counts too: Windows returns it for a move over an open file.
bool IsSharingViolation(const std::error_code& error) {
    return error.category() == std::system_category() &&
           (error.value() == ERROR_SHARING_VIOLATION || error.value() == ERROR_ACCESS_DENIED);
}

bool RemoveIfUnused(const std::filesystem::path& path) {
    if (DeleteFileW(path.c_str()) != 0) return true;
    const std::error_code error(static_cast<int>(GetLastError()), std::system_category());
    if (error.value() != ERROR_SHARING_VIOLATION) throw std::filesystem::filesystem_error("can't remove", path, error);
    return false;
}

/// A program that needs the shell, such as a batch file without its extension, isn't found without it.
int RunWithFile(const std::string& commandLine, const std::filesystem::path& file) {
    const std::u16string command = ToUtf16(commandLine);
    const std::wstring line = std::wstring(command.begin(), command.end()) + L" \"" + file.wstring() + L"\"";
    HANDLE process = Start(line);
    if (process == nullptr && GetLastError() == ERROR_FILE_NOT_FOUND)
        process = Start(L"cmd.exe /s /c \"" + line + L"\"");   // with /s the shell removes only the outer quotes
    if (process == nullptr)
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), "can't start " + commandLine);
    WaitForSingleObject(process, INFINITE);
    DWORD exitCode = 0;
    GetExitCodeProcess(process, &exitCode);
    CloseHandle(process);
    return static_cast<int>(exitCode);
}

int CommandNotFoundCode() { return 9009; }

const char* DefaultEditor() { return "notepad"; }

/// Does nothing for a directory: Windows has no flush of a directory's entries.
void FlushToDisk(const std::filesystem::path& path) {
    if (std::filesystem::is_directory(path)) return;
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    const bool flushed = file != INVALID_HANDLE_VALUE && FlushFileBuffers(file) != 0;
    const std::error_code error(static_cast<int>(GetLastError()), std::system_category());
    if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
    if (!flushed) throw std::filesystem::filesystem_error("can't flush", path, error);
}

}   // namespace host
