// The typed client beside the bare interface calls for the same work. Both are to take the same time.

#include "object/registration.h"
#include "pieces.h"

#include <component/client/client.h>
#include <host/object.h>

#include <benchmark/benchmark.h>

#include <cstring>
#include <optional>

namespace {

constexpr const char* kPath = "Network/Proxy";
constexpr const char* kText = "proxy.example.net";

/// An object of the module, which is linked into this program, with a number and a text in one key.
class Fixture {
public:
    Fixture() {
        if (bench::SharedHost().LastRegistration() == nullptr) bench::SharedHost().Start(&ModuleEntry);
        object.emplace(bench::SharedHost());
        store.emplace(object->Get());
        ready = kernel::IsSuccess(object->Ready()) && (*store)[kPath].Set("Port", 8080u) &&
                (*store)[kPath].Set("Host", kText);
        key = *store->Open(kPath);
    }

    std::optional<host::Object> object{};
    std::optional<arbor::Store> store{};
    arbor::Key key{};
    bool ready = false;
};

std::uint32_t NumberByCalls(const Fixture& fixture) {
    std::uint32_t number = 0;
    kernel::TypeCode type = kernel::tDWORD;
    const kernel::Registry methods(fixture.object->Get());
    static_cast<void>(
        methods.GetValue(fixture.object->Get(), nullptr, fixture.key.Handle(), "Port", &type, &number, sizeof number));
    return number;
}

std::uint32_t NumberByClient(const Fixture& fixture) { return *fixture.key.Get<std::uint32_t>("Port"); }

std::uint32_t PathByCalls(const Fixture& fixture) {
    std::uint32_t number = 0;
    kernel::TypeCode type = kernel::tDWORD;
    kernel::KeyHandle key = kernel::kNoKey;
    const kernel::Registry methods(fixture.object->Get());
    if (kernel::IsFailure(methods.OpenKey(fixture.object->Get(), &key, 0, kPath, 0))) return 0;
    static_cast<void>(methods.GetValue(fixture.object->Get(), nullptr, key, "Port", &type, &number, sizeof number));
    return number;
}

std::uint32_t PathByClient(const Fixture& fixture) { return *(*fixture.store)[kPath].Get<std::uint32_t>("Port"); }

/// As a caller without the client does it: queries the size, then reads.
std::uint32_t TextByCalls(const Fixture& fixture) {
    std::uint32_t size = 0;
    kernel::TypeCode type = kernel::tSTRING;
    const kernel::Registry methods(fixture.object->Get());
    const kernel::KeyHandle key = fixture.key.Handle();
    static_cast<void>(methods.GetValue(fixture.object->Get(), &size, key, "Host", &type, nullptr, 0));
    std::string text(size, '\0');
    static_cast<void>(methods.GetValue(fixture.object->Get(), &size, key, "Host", &type, text.data(), size));
    return static_cast<std::uint32_t>(std::strlen(text.c_str()));
}

std::uint32_t TextByClient(const Fixture& fixture) {
    return static_cast<std::uint32_t>(fixture.key.Get<std::string>("Host")->size());
}

std::uint32_t SetByCalls(const Fixture& fixture) {
    const std::uint32_t number = 8080;
    const kernel::Registry methods(fixture.object->Get());
    const kernel::KeyHandle key = fixture.key.Handle();
    const bool set = kernel::IsSuccess(
        methods.SetValue(fixture.object->Get(), key, "Port", kernel::tDWORD, &number, sizeof number, 1));
    return set ? number : 0;
}

std::uint32_t SetByClient(const Fixture& fixture) { return fixture.key.Set("Port", 8080u) ? 8080 : 0; }

using Work = std::uint32_t (*)(const Fixture&);

void BM_Client(benchmark::State& state, Work work, std::uint32_t expected) {
    const Fixture fixture;
    if (!fixture.ready) state.SkipWithError("the store isn't ready");
    std::uint32_t result = expected;
    for (auto _ : state) benchmark::DoNotOptimize(result = work(fixture));
    if (result != expected) state.SkipWithError("the value read isn't the one that was set");
}
BENCHMARK_CAPTURE(BM_Client, number_by_calls, NumberByCalls, 8080);
BENCHMARK_CAPTURE(BM_Client, number_by_client, NumberByClient, 8080);
BENCHMARK_CAPTURE(BM_Client, path_by_calls, PathByCalls, 8080);
BENCHMARK_CAPTURE(BM_Client, path_by_client, PathByClient, 8080);
BENCHMARK_CAPTURE(BM_Client, text_by_calls, TextByCalls, std::strlen(kText));
BENCHMARK_CAPTURE(BM_Client, text_by_client, TextByClient, std::strlen(kText));
BENCHMARK_CAPTURE(BM_Client, set_by_calls, SetByCalls, 8080);
BENCHMARK_CAPTURE(BM_Client, set_by_client, SetByClient, 8080);

}   // namespace
