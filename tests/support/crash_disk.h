/// A model of a disk that loses power. It records what a program writes and gives every state that the disk can have
/// after a power cut: bytes that weren't flushed are there in full, in part or not at all; the changes of the directory
/// since its last sync have happened up to any one of them, in their order.
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

    /// Adds a file that is safe on the disk from the start.
    void Put(const Name& name, const std::string& bytes) {
        files.push_back({bytes, bytes});
        directories.back()[name] = files.size() - 1;
    }
    /// The number of the file with that name, for the calls below. Creates the file if it is missing.
    std::size_t FileNumber(const Name& name) {
        if (const auto found = directories.back().find(name); found != directories.back().end()) return found->second;
        files.emplace_back();
        ChangedDirectory()[name] = files.size() - 1;
        return files.size() - 1;
    }
    void Empty(std::size_t file) { files[file].bytes.clear(); }
    void Write(std::size_t file, std::string_view bytes) { files[file].bytes += bytes; }
    void Flush(std::size_t file) { files[file].flushed = files[file].bytes; }
    void Rename(const Name& from, const Name& to) {
        Directory& changed = ChangedDirectory();
        changed[to] = changed.at(from);
        changed.erase(from);
    }
    void Remove(const Name& name) { ChangedDirectory().erase(name); }
    void SyncDirectory() { directories.erase(directories.begin(), directories.end() - 1); }
    [[nodiscard]] const std::string& Bytes(const Name& name) const { return files[directories.back().at(name)].bytes; }

    /// Adds every state that a power cut now can leave.
    void AddStates(std::set<State>& states) const {
        for (const Directory& found : directories) {
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
    using Directory = std::map<Name, std::size_t>;

    Directory& ChangedDirectory() {
        directories.push_back(directories.back());
        return directories.back();
    }

    std::vector<File> files;
    std::vector<Directory> directories{{}};   // the synced one, and one after each change since
};

}   // namespace testing_support
