// A value of every type against the model: bytes in and out, text in and out. No read goes past a buffer of just the
// size that was asked for, and a text that a value gives is one that it takes and gives again. The input is a type, a
// length, that many bytes, and texts with a 0 byte between them.
#include "fuzz.h"
#include "model/value.h"
#include "tree/value/value_holder.h"

#include <host/kernel.h>

#include <utility>

namespace {

using kernel::ResultCode;
using Read = ResultCode (arbor::module::Value::*)(void*, std::uint32_t, std::uint32_t*) const;
using ModelRead = model::Answer (*)(const model::Value&, model::Buffer);

constexpr char kUntouched = '\xA5';

/// A value of the module and its model, which do the same or end the process.
class Pair {
public:
    Pair(const kernel::HostObject* owner, kernel::TypeCode type)
        : host(owner), value(arbor::module::CreateValue(owner, type)), plain(model::NewValue(type)) {
        FUZZ_CHECK(value != nullptr && value->GetType() == type);
    }
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;
    ~Pair() { arbor::module::ReleaseValue(host, value); }

    void Set(std::string_view bytes) {
        const auto block = fuzz::Exactly(bytes);
        const auto size = static_cast<std::uint32_t>(bytes.size());
        const bool fresh = std::exchange(isFresh, false);
        const ResultCode expected = model::Set(plain, block.get(), size);
        const ResultCode code = value->Set(block.get(), size);
        // An empty text that was never set is set by the first empty one.
        FUZZ_CHECK(code == expected || (fresh && code == kernel::kDone && expected == model::kUnchanged));
        CheckReads();
    }

    void SetNothing() {
        for (const std::uint32_t size : {8U, 0U}) {
            FUZZ_CHECK(value->Set(nullptr, size) == model::Set(plain, nullptr, size));
            CheckReads();
        }
    }

    ResultCode FromText(const std::string& text) {
        const bool fresh = std::exchange(isFresh, false);
        const ResultCode expected = model::FromText(plain, text);
        const ResultCode code = value->FromText(text.c_str());
        FUZZ_CHECK(code == expected || (fresh && code == kernel::kDone && expected == model::kUnchanged));
        CheckReads();
        return code;
    }

    void FromUtf8(const std::string& text) {
        model::SetFromUtf8(plain, text);
        const auto block = fuzz::Exactly(std::string_view(text.c_str(), text.size() + 1));
        FUZZ_CHECK(static_cast<arbor::module::WideStringHolder*>(value)->SetFromUtf8(block.get()) == kernel::kDone);
        CheckReads();
    }

    [[nodiscard]] const model::Value& Plain() const { return plain; }

private:
    void CheckReads() const {
        for (const auto& [read, modelRead] :
             {std::pair<Read, ModelRead>{&arbor::module::Value::Get, &model::Get},
              std::pair<Read, ModelRead>{&arbor::module::Value::ToText, &model::ToText}}) {
            const std::uint32_t needed = modelRead(plain, {false, 0}).count.value_or(0);
            for (const std::uint32_t size : {0U, needed - std::min(needed, 1U), needed, needed + 3}) {
                CheckRead(read, modelRead, {true, size});
                CheckRead(read, modelRead, {false, size});
            }
        }
    }

    void CheckRead(Read read, ModelRead modelRead, model::Buffer buffer) const {
        const model::Answer expected = modelRead(plain, buffer);
        std::string after(buffer.size, kUntouched);
        const auto block = fuzz::Exactly(std::string_view(after));
        std::uint32_t count = 0xDEADBEEF;
        FUZZ_CHECK((value->*read)(buffer.given ? block.get() : nullptr, buffer.size, &count) == expected.code);
        FUZZ_CHECK(count == expected.count.value_or(0xDEADBEEF));
        FUZZ_CHECK((value->*read)(buffer.given ? block.get() : nullptr, buffer.size, nullptr) == expected.code);
        if (!buffer.given) return;
        after.replace(0, expected.bytes.size(), expected.bytes);
        FUZZ_CHECK(std::string_view(block.get(), buffer.size) == after);
    }

    const kernel::HostObject* host;
    arbor::module::Value* value;
    model::Value plain;
    bool isFresh = true;
};

/// The text that a value gives is one that a value of its type takes and gives again.
void CheckTextIsStable(const kernel::HostObject* owner, const model::Value& plain) {
    std::string text;
    if (kernel::IsFailure(model::TextOf(plain, text))) return;
    Pair again(owner, plain.type);
    if (plain.type == kernel::tWSTRING) {
        again.FromUtf8(text);
    } else {
        FUZZ_CHECK(kernel::IsSuccess(again.FromText(text)));
    }
    std::string second;
    FUZZ_CHECK(model::TextOf(again.Plain(), second) == kernel::kDone && second == text);
}

}   // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static host::Kernel kernel;
    fuzz::Input input(data, size);
    const kernel::TypeCode type = input.Byte() % 64;
    const std::string bytes = input.Text(64);
    const std::string rest = input.Rest();
    if (!model::IsStored(type)) {
        FUZZ_CHECK(arbor::module::CreateValue(kernel.Root(), type) == nullptr);
        return 0;
    }
    {
        Pair value(kernel.Root(), type);
        value.Set(bytes);
        value.Set(bytes);
        value.Set(rest);
        CheckTextIsStable(kernel.Root(), value.Plain());
        for (std::size_t start = 0; start <= rest.size();) {
            const std::string text = rest.c_str() + start;
            start += text.size() + 1;
            value.FromText(text);
            CheckTextIsStable(kernel.Root(), value.Plain());
            if (type == kernel::tWSTRING) value.FromUtf8(text);
            CheckTextIsStable(kernel.Root(), value.Plain());
        }
        value.SetNothing();
        value.Set(bytes);
    }
    FUZZ_CHECK(kernel.LiveBlocks() == 0);
    return 0;
}
