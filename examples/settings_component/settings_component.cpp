// A component that keeps its settings in a structure: it loads them from the store that its host gives it, changes
// them, and stores all of them or none.
#include <component/client/client.h>
#include <host/object.h>
#include <host/result_text.h>

#include <chrono>
#include <exception>
#include <iostream>
#include <optional>
#include <string>

namespace {

enum class Mode : std::uint8_t {
    Direct,
    Manual
};

/// A member without a value in the store keeps the default that it has here.
struct ProxySettings {
    Mode mode = Mode::Direct;
    std::string host = "localhost";
    std::uint16_t port = 8080;
    std::chrono::seconds timeout{30};
    std::optional<std::string> user{};   // no value in the store while it is empty
};

/// The names in the store, for reading and for writing.
template <class Visitor>
void VisitMembers(Visitor& visit, ProxySettings& settings) {
    visit("Mode", settings.mode);
    visit("Host", settings.host);
    visit("Port", settings.port);
    visit("TimeoutSeconds", settings.timeout);
    visit("User", settings.user);
}

class ProxyComponent {
public:
    explicit ProxyComponent(kernel::HostObject* object) : store(object) {}

    /// Without stored settings the defaults stay. Fails if a value isn't one of its member, for example a text as port.
    arbor::Status Load() {
        const auto loaded = store[kPath].Get<ProxySettings>();
        if (loaded) settings = *loaded;
        return arbor::Status(loaded.Code() == kernel::kNoSuchEntry ? kernel::kDone : loaded.Code());
    }

    /// Stores the settings with a new port. If a value is refused, the store and this object keep the old ones.
    arbor::Status UsePort(std::uint16_t port) {
        ProxySettings changed = settings;
        changed.mode = Mode::Manual;
        changed.port = port;
        const arbor::Status applied = arbor::Batch(store).Set(kPath, changed).Apply();
        if (applied) settings = changed;
        return applied ? store.Save() : applied;
    }

    [[nodiscard]] const ProxySettings& Settings() const { return settings; }

private:
    static constexpr const char* kPath = "Network/Proxy";

    arbor::Store store;
    ProxySettings settings{};
};

int Run(const char* document) {
    host::Kernel kernel;
    kernel.LoadModule(ARBOR_MODULE);
    host::Object object(kernel);
    object.SetDocument(document);
    object.SetNumber(kernel::PropertyOpenFlags, kernel::kOpenFlagCreate);
    ProxyComponent component(object.Get());
    arbor::Status status(object.Ready());
    if (status) status = component.Load();
    std::cout << "port " << component.Settings().port << '\n';
    if (status) status = component.UsePort(static_cast<std::uint16_t>(component.Settings().port + 1));
    if (!status) std::cerr << document << ": " << host::Describe(status.Code()) << '\n';
    return status ? 0 : 1;
}

}   // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: settings_component DOCUMENT\n";
        return 2;
    }
    try {
        return Run(argv[1]);
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
