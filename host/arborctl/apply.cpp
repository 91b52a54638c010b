// Applies one line at a time; its first word selects the function. A run of lines with the same key, as `tree --flat`
// prints them, looks the key up once.

#include "apply.h"

#include "addressing.h"
#include "change.h"
#include "document_scan.h"
#include "exact_text.h"
#include "flat_text.h"
#include "input.h"
#include "moving.h"
#include "type_texts.h"
#include "value_text.h"

#include <algorithm>
#include <iterator>

namespace arborctl {
namespace {

using Words = std::vector<std::string>;

/// Whether `path` is that of `top`, or below it. Names are compared without regard to the case of ASCII letters.
bool IsWithin(const Path& path, const Path& top) {
    const auto isSame = [](const PathName& left, const PathName& right) {
        return ToLower(left.name) == ToLower(right.name);
    };
    return path.Names().size() >= top.Names().size() &&
           std::equal(top.Names().begin(), top.Names().end(), path.Names().begin(), isSame);
}

class Changes {
public:
    Changes(host::Kernel& owner, arbor::Key top, const ApplyOptions& given)
        : kernel(owner), root(top), options(given) {}

    void Apply(std::string_view line);

private:
    struct Form {
        std::string_view word;
        std::size_t minOperands;
        std::size_t maxOperands;
        void (Changes::*apply)(const Words& operands);
        const char* usage;
    };
    static const Form kForms[4];

    void ApplyFlat(const Words& words);
    void Set(const Words& operands);
    void Remove(const Words& operands);
    void Move(const Words& operands) { Transfer(operands, true); }
    void Copy(const Words& operands) { Transfer(operands, false); }

    void SetValue(const arbor::Key& key, const PathName& name, kernel::TypeCode type, const std::string& text,
                  const std::string& where);
    void Transfer(Words operands, bool isMove);
    [[nodiscard]] arbor::Key KeyAt(const std::string& path);

    host::Kernel& kernel;
    arbor::Key root;
    const ApplyOptions& options;
    std::optional<std::pair<std::string, arbor::Key>> last{};   // the key that `KeyAt` found last, by its path
};

const Changes::Form Changes::kForms[4] = {
    {"set", 2, 4, &Changes::Set, "set PATH [VALUE] TYPE TEXT"},
    {"rm", 1, 2, &Changes::Remove, "rm PATH [VALUE]"},
    {"mv", 2, 3, &Changes::Move, "mv PATH TARGET [--force]"},
    {"cp", 2, 3, &Changes::Copy, "cp PATH TARGET [--force]"},
};
static_assert(std::size(kChangeWords) == 4);

void Changes::Apply(std::string_view line) {
    const Words words = SplitWords(line);
    if (words.empty()) return;
    const auto* const form = std::ranges::find(kForms, words[0], &Form::word);
    if (form == std::end(kForms)) return ApplyFlat(words);
    if (options.forms == LineForms::Flat)
        throw std::invalid_argument(words[0] + " isn't flat text; \"apply\" makes such changes");
    const std::size_t operands = words.size() - 1;
    if (operands < form->minOperands || operands > form->maxOperands)
        throw std::invalid_argument(std::string("the form is: ") + form->usage);
    (this->*form->apply)({words.begin() + 1, words.end()});
}

void Changes::ApplyFlat(const Words& words) {
    if (words.size() == 1 && Path(words[0]).IsOfKey())
        static_cast<void>(KeyAt(words[0]));
    else if (words.size() == 4)
        Set(words);
    else
        throw std::invalid_argument(
            "a line is PATH VALUE TYPE TEXT, or PATH/ for a key, or begins with set, rm, mv or cp");
}

void Changes::Set(const Words& operands) {
    if (operands.size() == 4) {
        return SetValue(KeyAt(operands[0]), ParseName(operands[1]), ParseType(operands[2]), operands[3],
                        JoinPath(operands[0], operands[1]));
    }
    const ValuePath path = ToValuePath(Path(operands[0]));
    const arbor::Key key = MakeKey(root, path.key);
    const kernel::TypeCode own = ValueSlot(key, path.value).Type();
    const kernel::TypeCode type = operands.size() == 3 ? ParseType(operands[1]) : own != 0 ? own : kernel::tSTRING;
    SetValue(key, path.value, type, operands.back(), operands[0]);
}

void Changes::SetValue(const arbor::Key& key, const PathName& name, kernel::TypeCode type, const std::string& text,
                       const std::string& where) {
    if (options.values != nullptr) return SetExactly(key, name, options.values->Parse(type, text, where));
    const std::optional<arbor::Datum> datum = FromExactText(type, text);
    if (!datum) {
        throw std::invalid_argument(Quote(text) + " isn't a " + TypeName(type) + " (" +
                                    std::string(TextsOf(type).text) + ")");
    }
    SetExactly(key, name, *datum);
}

void Changes::Remove(const Words& operands) {
    last.reset();
    if (operands.size() == 1) return RemoveEntry(root, Path(operands[0]));
    const ValueSlot value(OpenKey(root, Path(operands[0])), ParseName(operands[1]));
    ThrowIfFailed(value.Remove(), value.PrintedName());
}

void Changes::Transfer(Words operands, bool isMove) {
    last.reset();
    const bool replaces = std::erase(operands, "--force") != 0;
    if (operands.size() != 2) throw std::invalid_argument("the form is: mv or cp PATH TARGET [--force]");
    CopyOrMove(
        kernel, root, root,
        {.source = Path(operands[0]), .target = Path(operands[1]), .isMove = isMove, .replacesTarget = replaces});
}

arbor::Key Changes::KeyAt(const std::string& path) {
    if (last && last->first == path) return last->second;
    const Path parsed(path);
    if (!IsWithin(parsed, options.within)) throw std::invalid_argument("the key isn't in " + options.within.Text());
    return last.emplace(path, MakeKey(root, parsed)).second;
}

}   // namespace

LineError::LineError(const std::string& source, std::size_t lineNumber, const std::string& lineReason)
    : std::runtime_error(source + ':' + std::to_string(lineNumber) + ": " + lineReason + "; nothing is saved"),
      line(lineNumber),
      reason(lineReason) {}

void ApplyText(host::Kernel& kernel, const arbor::Key& root, std::string_view text, const std::string& source,
               const ApplyOptions& options) {
    Changes changes(kernel, root, options);
    std::string_view rest = WithoutByteOrderMark(text);
    for (std::size_t number = 1; !rest.empty(); ++number) {
        std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        if (line.ends_with('\r')) line.remove_suffix(1);
        try {
            changes.Apply(line);
        } catch (const std::invalid_argument& error) {
            throw LineError(source, number, error.what());
        } catch (const StoreError& error) {
            throw LineError(source, number, error.what());
        }
    }
}

int Apply(const Session& session, const std::filesystem::path& file, Exactness exactness) {
    const Input input = ReadInput(file, session.settings.wait);
    const ValueText valueText(session.kernel);
    const ExactConverter values(valueText, exactness);
    return ChangeDocument(session, [&](const arbor::Key& root) {
        ApplyText(session.kernel, root, input.content, input.Name(), {.values = &values});
    });
}

}   // namespace arborctl
