// The typed client beside the bare interface calls for the same work. Both are to take the same time.

#include "object/registration.h"
#include "pieces.h"

#include <component/client/client.h>
#include <host/object.h>

#include <benchmark/benchmark.h>

#include <cstring>
#include <optional>
#include <vector>

namespace {

constexpr const char* kPath = "Network/Proxy";
constexpr const char* kText = "proxy.example.net";

struct Proxy {
    std::uint32_t port = 0;
    std::uint32_t retries = 0;
    double delay = 0;
};
template <class Visitor>
void VisitMembers(Visitor& visit, Proxy& proxy) {
    visit("Port", proxy.port);
    visit("Retries", proxy.retries);
    visit("Delay", proxy.delay);
}

/// An object of the module, which is linked into this program, with a few values in one key.
class Fixture {
public:
    Fixture() {
        if (bench::SharedHost().LastRegistration() == nullptr) bench::SharedHost().Start(&ModuleEntry);
        owner.emplace(bench::SharedHost());
        ready = kernel::IsSuccess(owner->Ready());
        object = owner->Get();
        store.emplace(object);
        ready = ready && (*store)[kPath].Set("Port", 8080u) && (*store)[kPath].Set("Host", kText) &&
                (*store)[kPath].Set("Retries", 3u) && (*store)[kPath].Set("Delay", 0.5);
        key = *store->Open(kPath);
        handle = key.Handle();
    }

    [[nodiscard]] kernel::Registry Methods() const { return kernel::Registry(object); }

    std::optional<host::Object> owner{};
    kernel::HostObject* object = nullptr;
    std::optional<arbor::Store> store{};
    arbor::Key key{};
    kernel::KeyHandle handle = 0;
    std::string names = "Port Host Retries";   // without terminators between the names
    bool ready = false;
};

template <class T>
T ReadNumber(const Fixture& fixture, kernel::KeyHandle key, const char* name, kernel::TypeCode type) {
    T number{};
    const kernel::ResultCode code =
        fixture.Methods().GetValue(fixture.object, nullptr, key, name, &type, &number, sizeof number);
    return kernel::IsSuccess(code) ? number : T{};
}

kernel::KeyHandle OpenPath(const Fixture& fixture, kernel::KeyHandle parent, const char* path) {
    kernel::KeyHandle key = kernel::kNoKey;
    return kernel::IsSuccess(fixture.Methods().OpenKey(fixture.object, &key, parent, path, 0)) ? key : kernel::kNoKey;
}

std::uint32_t NumberByCalls(const Fixture& fixture) {
    return ReadNumber<std::uint32_t>(fixture, fixture.handle, "Port", kernel::tDWORD);
}
std::uint32_t NumberByClient(const Fixture& fixture) { return *fixture.key.Get<std::uint32_t>("Port"); }
std::uint32_t LenientNumberByClient(const Fixture& fixture) { return *fixture.key.GetLenient<std::uint32_t>("Port"); }

std::uint32_t ViewByCalls(const Fixture& fixture) {
    const std::string_view name = std::string_view(fixture.names).substr(0, 4);
    if (name.find('\0') != name.npos) return 0;
    char copy[256];
    copy[name.copy(copy, sizeof copy - 1)] = '\0';
    return ReadNumber<std::uint32_t>(fixture, fixture.handle, copy, kernel::tDWORD);
}
std::uint32_t ViewByClient(const Fixture& fixture) {
    return *fixture.key.Get<std::uint32_t>(std::string_view(fixture.names).substr(0, 4));
}

std::uint32_t IndexByCalls(const Fixture& fixture) {
    std::uint32_t number = 0;
    kernel::TypeCode type = kernel::tDWORD;
    static_cast<void>(
        fixture.Methods().GetValueByIndex(fixture.object, nullptr, fixture.handle, 0, &type, &number, sizeof number));
    return number;
}
std::uint32_t IndexByClient(const Fixture& fixture) { return *fixture.key.GetAt<std::uint32_t>(0); }

std::uint32_t PathByCalls(const Fixture& fixture) {
    return ReadNumber<std::uint32_t>(fixture, OpenPath(fixture, 0, kPath), "Port", kernel::tDWORD);
}
std::uint32_t PathByClient(const Fixture& fixture) { return *(*fixture.store)[kPath].Get<std::uint32_t>("Port"); }

std::uint32_t ChainByCalls(const Fixture& fixture) {
    const kernel::KeyHandle network = OpenPath(fixture, 0, "Network");
    return ReadNumber<std::uint32_t>(fixture, OpenPath(fixture, network, "Proxy"), "Port", kernel::tDWORD);
}
std::uint32_t ChainByClient(const Fixture& fixture) {
    return *(*fixture.store)["Network"]["Proxy"].Get<std::uint32_t>("Port");
}

/// As a caller without the client does it: queries the size, then reads.
std::uint32_t TextByCalls(const Fixture& fixture) {
    std::uint32_t size = 0;
    kernel::TypeCode type = kernel::tSTRING;
    const kernel::Registry methods = fixture.Methods();
    static_cast<void>(methods.GetValue(fixture.object, &size, fixture.handle, "Host", &type, nullptr, 0));
    std::string text(size, '\0');
    static_cast<void>(methods.GetValue(fixture.object, &size, fixture.handle, "Host", &type, text.data(), size));
    return static_cast<std::uint32_t>(std::strlen(text.c_str()));
}
std::uint32_t TextByClient(const Fixture& fixture) {
    return static_cast<std::uint32_t>(fixture.key.Get<std::string>("Host")->size());
}

kernel::TypeCode TypeByCalls(const Fixture& fixture) {
    kernel::TypeCode type = 0;
    static_cast<void>(fixture.Methods().GetValue(fixture.object, nullptr, fixture.handle, "Port", &type, nullptr, 0));
    return type;
}
kernel::TypeCode TypeByClient(const Fixture& fixture) { return *fixture.key.Type("Port"); }

std::uint32_t WriteNumber(const Fixture& fixture, std::uint32_t number) {
    const kernel::ResultCode code =
        fixture.Methods().SetValue(fixture.object, fixture.handle, "Port", kernel::tDWORD, &number, sizeof number, 1);
    return kernel::IsSuccess(code) ? number : 0;
}
std::uint32_t LenientSetByCalls(const Fixture& fixture) { return WriteNumber(fixture, 8080); }
std::uint32_t LenientSetByClient(const Fixture& fixture) { return fixture.key.SetLenient("Port", 8080u) ? 8080 : 0; }

/// As a caller without the client writes exactly: only to a value of the same type.
std::uint32_t SetByCalls(const Fixture& fixture) {
    return TypeByCalls(fixture) == kernel::tDWORD ? WriteNumber(fixture, 8080) : 0;
}
std::uint32_t SetByClient(const Fixture& fixture) { return fixture.key.Set("Port", 8080u) ? 8080 : 0; }

std::uint32_t StructureByCalls(const Fixture& fixture) {
    Proxy proxy;
    proxy.port = ReadNumber<std::uint32_t>(fixture, fixture.handle, "Port", kernel::tDWORD);
    proxy.retries = ReadNumber<std::uint32_t>(fixture, fixture.handle, "Retries", kernel::tDWORD);
    proxy.delay = ReadNumber<double>(fixture, fixture.handle, "Delay", kernel::tDOUBLE);
    return proxy.delay == 0.5 ? proxy.port + proxy.retries : 0;
}
std::uint32_t StructureByClient(const Fixture& fixture) {
    const Proxy proxy = *fixture.key.Get<Proxy>();
    return proxy.delay == 0.5 ? proxy.port + proxy.retries : 0;
}

/// The sum of the lengths of the values' names.
std::uint32_t ValuesByCalls(const Fixture& fixture) {
    std::uint32_t sum = 0;
    std::string name;
    for (std::uint32_t index = 0;; ++index) {
        char buffer[256];
        std::uint32_t count = 0;
        static_cast<void>(fixture.Methods().GetValueNameByIndex(fixture.object, &count, fixture.handle, index, buffer,
                                                                sizeof buffer));
        if (count == 0) return sum;
        name.assign(buffer, count - 1);
        sum += static_cast<std::uint32_t>(name.size());
    }
}
std::uint32_t ValuesByClient(const Fixture& fixture) {
    std::uint32_t sum = 0;
    for (const arbor::Value& value : fixture.key.Values()) sum += static_cast<std::uint32_t>(value.Name().size());
    return sum;
}

/// The sum of the depths of all keys, by a walk with a stack of its own.
std::uint32_t WalkByCalls(const Fixture& fixture) {
    std::uint32_t sum = 0;
    std::vector<std::pair<kernel::KeyHandle, std::uint32_t>> levels{{0, 0}};
    while (!levels.empty()) {
        kernel::KeyHandle child = kernel::kNoKey;
        const auto [parent, index] = levels.back();
        ++levels.back().second;
        if (kernel::IsSuccess(fixture.Methods().OpenKeyByIndex(fixture.object, &child, parent, index))) {
            sum += static_cast<std::uint32_t>(levels.size());
            levels.emplace_back(child, 0);
        } else {
            levels.pop_back();
        }
    }
    return sum;
}
std::uint32_t WalkByClient(const Fixture& fixture) {
    std::uint32_t sum = 0;
    for (const arbor::WalkStep& step : fixture.store->Walk()) sum += static_cast<std::uint32_t>(step.depth);
    return sum;
}

using Work = std::uint32_t (*)(const Fixture&);

/// One kind of call: by bare calls, by the client, and the result of both.
struct Row {
    const char* name;
    Work calls;
    Work client;
    std::uint32_t expected;
};
constexpr Row kRows[] = {
    {"number", NumberByCalls, NumberByClient, 8080},
    {"number_lenient", NumberByCalls, LenientNumberByClient, 8080},
    {"name_as_view", ViewByCalls, ViewByClient, 8080},
    {"by_index", IndexByCalls, IndexByClient, 8080},
    {"path", PathByCalls, PathByClient, 8080},
    {"chain", ChainByCalls, ChainByClient, 8080},
    {"text", TextByCalls, TextByClient, 17},
    {"type", TypeByCalls, TypeByClient, kernel::tDWORD},
    {"set", SetByCalls, SetByClient, 8080},
    {"set_lenient", LenientSetByCalls, LenientSetByClient, 8080},
    {"structure", StructureByCalls, StructureByClient, 8083},
    {"values", ValuesByCalls, ValuesByClient, 20},
    {"walk", WalkByCalls, WalkByClient, 3},
};

void BM_Client(benchmark::State& state, Work work, std::uint32_t expected) {
    const Fixture fixture;
    if (!fixture.ready) state.SkipWithError("the store isn't ready");
    std::uint32_t result = expected;
    for (auto _ : state) benchmark::DoNotOptimize(result = work(fixture));
    if (result != expected) state.SkipWithError("the value read isn't the one that was set");
}

const bool kRegistered = [] {
    for (const Row& row : kRows) {
        const std::string name = std::string("BM_Client/") + row.name;
        benchmark::RegisterBenchmark((name + "_by_calls").c_str(), BM_Client, row.calls, row.expected);
        benchmark::RegisterBenchmark((name + "_by_client").c_str(), BM_Client, row.client, row.expected);
    }
    return true;
}();

}   // namespace
