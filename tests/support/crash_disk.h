/// A record of what a program does to a disk, which tells everything that may be found there after the power went.
/// Bytes last once their file is flushed: before that all of them may be there, a part or none. Names change in order,
/// at any time up to the next sync of the names.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

namespace testing_support {

class CrashDisk {
public:
    using Name = std::string;
    using State = std::map<Name, std::string>;

    /// What is there from the start.
    void Put(const Name& name, const std::string& bytes) {
        files.push_back({bytes, bytes});
        names.back()[name] = files.size() - 1;
    }
    /// The file of that name, a new one where there is none, for the calls below.
    std::size_t Make(const Name& name) {
        if (const auto found = names.back().find(name); found != names.back().end()) return found->second;
        files.emplace_back();
        Change()[name] = files.size() - 1;
        return files.size() - 1;
    }
    void Empty(std::size_t file) { files[file].bytes.clear(); }
    void Write(std::size_t file, std::string_view bytes) { files[file].bytes += bytes; }
    void Flush(std::size_t file) { files[file].flushed = files[file].bytes; }
    void Rename(const Name& from, const Name& to) {
        Names& changed = Change();
        changed[to] = changed.at(from);
        changed.erase(from);
    }
    void Remove(const Name& name) { Change().erase(name); }
    void SyncNames() { names.erase(names.begin(), names.end() - 1); }
    [[nodiscard]] const std::string& Bytes(const Name& name) const { return files[names.back().at(name)].bytes; }

    void AddStates(std::set<State>& states) const {
        for (const Names& found : names) {
            for (const Survival survival : {Survival::None, Survival::Half, Survival::All}) {
                State state;
                for (const auto& [name, file] : found) state[name] = files[file].After(survival);
                states.insert(state);
            }
        }
    }

private:
    enum class Survival {   // of bytes that weren't flushed
        None,
        Half,
        All
    };
    struct File {
        std::string bytes, flushed;

        [[nodiscard]] std::string After(Survival survival) const {
            if (bytes == flushed || survival == Survival::None) return flushed;
            return survival == Survival::All ? bytes : bytes.substr(0, bytes.size() / 2);
        }
    };
    using Names = std::map<Name, std::size_t>;

    Names& Change() {
        names.push_back(names.back());
        return names.back();
    }

    std::vector<File> files;
    std::vector<Names> names{{}};   // the first is safe, each other one a change behind the one before
};

}   // namespace testing_support
