#include "commands.h"

#include <component/kernel/type_names.h>
#include "value_text.h"

#include <cstdio>
#include <iostream>
#include <set>
#include <vector>

namespace arborctl {
namespace {

/// A key on the way through a tree, and how far its children are done. Depth costs no stack.
struct Step {
    kernel::KeyHandle key;
    std::uint32_t nextChild;
};

/// Calls `enter(key, depth)` for `top` and all keys below it, each before its children.
template <class Enter>
void Walk(Store& store, kernel::KeyHandle top, Enter enter) {
    std::vector<Step> way{{top, 0}};
    enter(top, 0);
    while (!way.empty()) {
        Step& step = way.back();
        if (step.nextChild == store.KeyCount(step.key)) {
            way.pop_back();
            continue;
        }
        const kernel::KeyHandle child = store.KeyAt(step.key, step.nextChild++);
        enter(child, way.size());
        way.push_back({child, 0});
    }
}

/// `text` in quotes, with what would break the line escaped.
std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        if (letter == '"' || letter == '\\') {
            quoted.append({'\\', letter});
        } else if (byte < 0x20 || byte == 0x7F) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02X", byte);
            quoted += escape;
        } else {
            quoted += letter;
        }
    }
    return quoted + '"';
}

/// What stands behind a value's type in a line; nothing for a type without a text.
std::string Shown(kernel::TypeCode type, const std::string& text) {
    if (type == kernel::tSTRING || type == kernel::tWSTRING || type == kernel::tCHAR) return ' ' + Quoted(text);
    return text.empty() ? "" : ' ' + text;
}

void PrintValues(Store& store, ValueText& valueText, kernel::KeyHandle key, std::size_t depth) {
    const std::uint32_t count = store.ValueCount(key);
    for (std::uint32_t i = 0; i < count; ++i) {
        const Datum datum = store.ReadAt(key, i);
        std::cout << std::string(4 * depth, ' ') << store.ValueName(key, i) << ": "
                  << kernel::FindType(datum.type)->name << Shown(datum.type, valueText.Show(datum)) << '\n';
    }
}

void CopyValues(Store& from, kernel::KeyHandle key, Store& to, kernel::KeyHandle target) {
    const std::uint32_t count = from.ValueCount(key);
    for (std::uint32_t i = 0; i < count; ++i) to.Write(target, from.ValueName(key, i), from.ReadAt(key, i));
}

/// A key that is being copied, and the names that its children took, in small letters.
struct CopyStep {
    kernel::KeyHandle target;
    std::set<std::string> taken;

    std::string FreshName(const std::string& name) {
        for (std::uint32_t number = 1;; ++number) {
            std::string candidate = number == 1 ? name : name + '#' + std::to_string(number);
            if (taken.insert(Lower(candidate)).second) return candidate;
        }
    }

    static std::string Lower(std::string name) {
        for (char& letter : name) {
            if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
        }
        return name;
    }
};

/// Copies a whole tree by index, since a name would find the first of several elements only.
void CopyApart(Store& from, Store& to) {
    std::vector<CopyStep> way;
    Walk(from, from.Open(""), [&](kernel::KeyHandle key, std::size_t depth) {
        way.resize(depth);
        const kernel::KeyHandle target =
            depth == 0 ? to.Open("") : to.MakeChild(way.back().target, way.back().FreshName(from.KeyName(key)));
        CopyValues(from, key, to, target);
        way.push_back({target, {}});
    });
}

}   // namespace

void Tree(const Session& session, const std::string& path) {
    Store store(session.kernel, session.settings);
    ValueText valueText(session.kernel);
    Walk(store, store.Open(path), [&](kernel::KeyHandle key, std::size_t depth) {
        if (depth > 0) std::cout << std::string(4 * (depth - 1), ' ') << store.KeyName(key) << "/\n";
        PrintValues(store, valueText, key, depth);
    });
}

void Get(const Session& session, const std::string& path, const std::string& name, kernel::TypeCode type) {
    Store store(session.kernel, session.settings);
    const Datum datum = store.Read(store.Open(path), name, type);
    std::cout << ValueText(session.kernel).Show(datum) << '\n';
}

void Set(const Session& session, const std::string& path, const std::string& name, kernel::TypeCode type,
         const std::string& text) {
    Store store(session.kernel, session.settings);
    const kernel::KeyHandle key = store.Make(path);
    const bool wide = store.TypeOf(key, name) == kernel::tWSTRING;   // it takes any type's bytes as its own
    store.Write(key, name, ValueText(session.kernel).Parse(wide ? kernel::tWSTRING : type, text));
    store.Save();
}

void RemoveKey(const Session& session, const std::string& path) {
    Store store(session.kernel, session.settings);
    store.RemoveKey(path);
    store.Save();
}

void RemoveValue(const Session& session, const std::string& path, const std::string& name) {
    Store store(session.kernel, session.settings);
    store.RemoveValue(store.Open(path), name);
    store.Save();
}

void Copy(const Session& session, const std::string& path, const std::filesystem::path& target) {
    Store source(session.kernel, session.settings);
    const kernel::KeyHandle key = source.Open(path);   // before the target comes into being
    Store destination(session.kernel, {.document = target, .create = true, .backupMode = session.settings.backupMode});
    source.Copy(key, destination, destination.Make(path));
    destination.Save();
}

void Import(const Session& session, const std::filesystem::path& foreign) {
    Store source(session.kernel, {.document = foreign});
    Store destination(session.kernel, session.settings);
    CopyApart(source, destination);
    destination.Save();
}

void Check(const Session& session) {
    Store store(session.kernel, session.settings);
    std::size_t keys = 0;
    std::size_t values = 0;
    Walk(store, store.Open(""), [&](kernel::KeyHandle key, std::size_t depth) {
        keys += depth > 0 ? 1 : 0;
        values += store.ValueCount(key);
    });
    std::cout << "loads without a fault: " << keys << " keys, " << values << " values\n";
}

}   // namespace arborctl
