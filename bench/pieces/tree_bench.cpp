// Hashing of names, lookups, and creation and access of keys and values.

#include "pieces.h"

#include "tree/key.h"
#include "tree/key_tree.h"

#include <benchmark/benchmark.h>

namespace {

using bench::MakeNames;
using bench::SharedHost;

std::string TextOfLength(std::size_t length) { return MakeNames(1).front().append(length, 'x').substr(0, length); }

void BM_NameHash(benchmark::State& state) {
    const std::string name = TextOfLength(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(arbor::module::NameHash(name));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_NameHash)->RangeMultiplier(4)->Range(4, 256);

class TreeBench : public benchmark::Fixture {
public:
    void SetUp(const benchmark::State& state) override {
        names = MakeNames(static_cast<std::size_t>(state.range(0)));
        tree = std::make_unique<arbor::module::KeyTree>();
        if (kernel::IsFailure(tree->Start(SharedHost().Root()))) std::abort();
    }
    void TearDown(const benchmark::State&) override { tree.reset(); }

protected:
    void Fill() {
        const std::uint32_t number = 1;
        for (const std::string& name : names) {
            tree->top->OpenPath(name, nullptr);
            if (kernel::IsFailure(tree->top->AddValue(name.c_str(), kernel::tDWORD, &number, sizeof number))) {
                std::abort();
            }
        }
    }
    const std::string& NextName() { return names[at++ % names.size()]; }

    std::vector<std::string> names;
    std::unique_ptr<arbor::module::KeyTree> tree;
    std::size_t at = 0;
};

// A lookup by hash: the time must not grow with the count.
BENCHMARK_DEFINE_F(TreeBench, FindKey)(benchmark::State& state) {
    Fill();
    for (auto _ : state) benchmark::DoNotOptimize(tree->top->FindPath(NextName(), nullptr));
}
BENCHMARK_REGISTER_F(TreeBench, FindKey)->RangeMultiplier(8)->Range(8, 32768);

BENCHMARK_DEFINE_F(TreeBench, FindValue)(benchmark::State& state) {
    Fill();
    for (auto _ : state) benchmark::DoNotOptimize(tree->top->FindValue(NextName().c_str()));
}
BENCHMARK_REGISTER_F(TreeBench, FindValue)->RangeMultiplier(8)->Range(8, 32768);

BENCHMARK_DEFINE_F(TreeBench, MakeAndClear)(benchmark::State& state) {
    for (auto _ : state) {
        Fill();
        tree->top->Clear();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0) * 2);
}
BENCHMARK_REGISTER_F(TreeBench, MakeAndClear)->RangeMultiplier(8)->Range(8, 32768);

BENCHMARK_DEFINE_F(TreeBench, ValuesByFallingIndex)(benchmark::State& state) {
    Fill();
    for (auto _ : state) {
        for (std::uint32_t i = tree->top->ValueCount(); i > 0; --i) benchmark::DoNotOptimize(tree->top->ValueAt(i - 1));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK_REGISTER_F(TreeBench, ValuesByFallingIndex)->RangeMultiplier(8)->Range(8, 32768);

struct ValueCase {
    const char* label;
    kernel::TypeCode type;
    std::string text;
};

const ValueCase kValues[] = {
    {"tDWORD", kernel::tDWORD, "3735928559"},
    {"tQWORD", kernel::tQWORD, "18446744073709551615"},
    {"tBOOL", kernel::tBOOL, "1"},
    {"tDOUBLE", kernel::tDOUBLE, "3.141593"},
    {"tSTRING", kernel::tSTRING, "a text of a typical length, with spaces"},
    {"tWSTRING", kernel::tWSTRING, "410042004300"},
    {"tBINARY", kernel::tBINARY, "00112233445566778899AABBCCDDEEFF"},
};

/// A value of each type, created from the text in its row.
class ValueBench : public benchmark::Fixture {
public:
    void SetUp(const benchmark::State& state) override {
        row = &kValues[state.range(0)];
        value = arbor::module::CreateValue(SharedHost().Root(), row->type);
        if (value == nullptr || kernel::IsFailure(value->FromText(row->text.c_str()))) std::abort();
    }
    void TearDown(const benchmark::State&) override { arbor::module::ReleaseValue(SharedHost().Root(), value); }

protected:
    const ValueCase* row = nullptr;
    arbor::module::Value* value = nullptr;
    char buffer[128] = {};
    std::uint32_t size = 0;
};

BENCHMARK_DEFINE_F(ValueBench, Create)(benchmark::State& state) {
    state.SetLabel(row->label);
    for (auto _ : state) {
        arbor::module::Value* created = arbor::module::CreateValue(SharedHost().Root(), row->type);
        benchmark::DoNotOptimize(created);
        arbor::module::ReleaseValue(SharedHost().Root(), created);
    }
}
BENCHMARK_DEFINE_F(ValueBench, Get)(benchmark::State& state) {
    state.SetLabel(row->label);
    for (auto _ : state) benchmark::DoNotOptimize(value->Get(buffer, sizeof buffer, &size));
}
BENCHMARK_DEFINE_F(ValueBench, SetOther)(benchmark::State& state) {
    state.SetLabel(row->label);
    static_cast<void>(value->Get(buffer, sizeof buffer, &size));
    for (auto _ : state) {
        buffer[0] = static_cast<char>(buffer[0] ^ 2);
        benchmark::DoNotOptimize(value->Set(buffer, size));
    }
}
BENCHMARK_DEFINE_F(ValueBench, ToText)(benchmark::State& state) {
    state.SetLabel(row->label);
    for (auto _ : state) benchmark::DoNotOptimize(value->ToText(buffer, sizeof buffer, &size));
}
BENCHMARK_DEFINE_F(ValueBench, FromText)(benchmark::State& state) {
    state.SetLabel(row->label);
    for (auto _ : state) benchmark::DoNotOptimize(value->FromText(row->text.c_str()));
}
constexpr std::int64_t kLastValue = static_cast<std::int64_t>(std::size(kValues)) - 1;
BENCHMARK_REGISTER_F(ValueBench, Create)->DenseRange(0, kLastValue);
BENCHMARK_REGISTER_F(ValueBench, Get)->DenseRange(0, kLastValue);
BENCHMARK_REGISTER_F(ValueBench, SetOther)->DenseRange(0, kLastValue);
BENCHMARK_REGISTER_F(ValueBench, ToText)->DenseRange(0, kLastValue);
BENCHMARK_REGISTER_F(ValueBench, FromText)->DenseRange(0, kLastValue);

}   // namespace
