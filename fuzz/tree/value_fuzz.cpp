// Compares a value of any type with the model: setting and getting its bytes, and converting it from and to text. No
// read may write past the buffer, and the text of a value, set again, must give the same text. The input is a type, a
// length, that many bytes, and texts with a 0 byte between them.
#include "fuzz.h"
#include "model/value.h"
#include "tree/value/value_holder.h"

#include <host/kernel.h>

#include <utility>

namespace {

using kernel::ResultCode;
using Read = ResultCode (arbor::module::Value::*)(void*, std::uint32_t, std::uint32_t*) const;
using ModelRead = model::ReadResult (*)(const model::Value&, model::Buffer);

constexpr char kUntouched = '\xA5';

/// A value of the module and the model's value. Each call makes the same change to both and compares them.
class ValuePair {
public:
    ValuePair(const kernel::HostObject* owner, kernel::TypeCode type)
        : host(owner), value(arbor::module::CreateValue(owner, type)), modelValue(model::NewValue(type)) {
        FUZZ_CHECK(value != nullptr && value->GetType() == type);
    }
    ValuePair(const ValuePair&) = delete;
    ValuePair& operator=(const ValuePair&) = delete;
    ~ValuePair() { arbor::module::ReleaseValue(host, value); }

    void Set(std::string_view bytes) {
        const auto block = fuzz::CopyToBlock(bytes);
        const auto size = static_cast<std::uint32_t>(bytes.size());
        const bool fresh = std::exchange(isFresh, false);
        const ResultCode expected = model::Set(modelValue, block.get(), size);
        const ResultCode code = value->Set(block.get(), size);
        // The module's first write of an empty text counts as a change, although the new text was empty.
        FUZZ_CHECK(code == expected || (fresh && code == kernel::kDone && expected == model::kUnchanged));
        CheckReads();
    }

    void SetNothing() {
        for (const std::uint32_t size : {8U, 0U}) {
            FUZZ_CHECK(value->Set(nullptr, size) == model::Set(modelValue, nullptr, size));
            CheckReads();
        }
    }

    ResultCode FromText(const std::string& text) {
        const bool fresh = std::exchange(isFresh, false);
        const ResultCode expected = model::FromText(modelValue, text);
        const ResultCode code = value->FromText(text.c_str());
        FUZZ_CHECK(code == expected || (fresh && code == kernel::kDone && expected == model::kUnchanged));
        CheckReads();
        return code;
    }

    void FromUtf8(const std::string& text) {
        model::SetFromUtf8(modelValue, text);
        const auto block = fuzz::CopyToBlock(std::string_view(text.c_str(), text.size() + 1));
        FUZZ_CHECK(static_cast<arbor::module::WideStringHolder*>(value)->SetFromUtf8(block.get()) == kernel::kDone);
        CheckReads();
    }

    [[nodiscard]] const model::Value& Model() const { return modelValue; }

private:
    void CheckReads() const {
        for (const auto& [read, modelRead] :
             {std::pair<Read, ModelRead>{&arbor::module::Value::Get, &model::Get},
              std::pair<Read, ModelRead>{&arbor::module::Value::ToText, &model::ToText}}) {
            const std::uint32_t needed = modelRead(modelValue, {false, 0}).count.value_or(0);
            for (const std::uint32_t size : {0U, needed - std::min(needed, 1U), needed, needed + 3}) {
                CheckRead(read, modelRead, {true, size});
                CheckRead(read, modelRead, {false, size});
            }
        }
    }

    void CheckRead(Read read, ModelRead modelRead, model::Buffer buffer) const {
        const model::ReadResult expected = modelRead(modelValue, buffer);
        std::string after(buffer.size, kUntouched);
        const auto block = fuzz::CopyToBlock(std::string_view(after));
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
    model::Value modelValue;
    bool isFresh = true;
};

/// The text of a value, set in a new value of its type, must give the same text.
void CheckTextIsStable(const kernel::HostObject* owner, const model::Value& modelValue) {
    std::string text;
    if (kernel::IsFailure(model::TextOf(modelValue, text))) return;
    ValuePair again(owner, modelValue.type);
    if (modelValue.type == kernel::tWSTRING) {
        again.FromUtf8(text);
    } else {
        FUZZ_CHECK(kernel::IsSuccess(again.FromText(text)));
    }
    std::string second;
    FUZZ_CHECK(model::TextOf(again.Model(), second) == kernel::kDone && second == text);
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
        ValuePair value(kernel.Root(), type);
        value.Set(bytes);
        value.Set(bytes);
        value.Set(rest);
        CheckTextIsStable(kernel.Root(), value.Model());
        for (std::size_t start = 0; start <= rest.size();) {
            const std::string text = rest.c_str() + start;
            start += text.size() + 1;
            value.FromText(text);
            CheckTextIsStable(kernel.Root(), value.Model());
            if (type == kernel::tWSTRING) value.FromUtf8(text);
            CheckTextIsStable(kernel.Root(), value.Model());
        }
        value.SetNothing();
        value.Set(bytes);
    }
    FUZZ_CHECK(kernel.LiveBlocks() == 0);
    return 0;
}
