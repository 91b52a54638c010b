// A small host: loads the module and a document, counts its own starts there, and shows what the document holds.
#include <component/client/client.h>
#include <host/object.h>
#include <host/result_text.h>

#include <iostream>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: small_host DOCUMENT\n";
        return 2;
    }
    host::Kernel kernel;               // memory, traces, texts; one in a process
    kernel.LoadModule(ARBOR_MODULE);   // registers the interface
    host::Object object(kernel);       // built: its properties can be set
    object.SetDocument(argv[1]);
    object.SetNumber(kernel::PropertyOpenFlags, kernel::kOpenFlagCreate);
    object.SetNumber(kernel::PropertySaveOnClose, 1);
    object.SetNumber(kernel::PropertyBackupMode, 1);
    if (const kernel::ResultCode code = object.Ready(); kernel::IsFailure(code)) {   // loads the document
        std::cerr << argv[1] << ": " << host::Describe(code) << '\n';
        return 1;
    }
    const arbor::Store store(object.Get());   // what components see of the object
    const auto starts = store["Host"].Get<std::uint32_t>("Starts").ValueOr(0);
    if (const arbor::Status set = store["Host"].Set("Starts", starts + 1); !set) std::cerr << set.Text() << '\n';
    for (const arbor::Key& key : store.Keys()) {
        std::cout << *key.Name() << '\n';
        for (const arbor::Value& value : key.Values()) {
            std::cout << "    " << value.Name() << " = " << value.Get<std::string>().ValueOr("?") << '\n';
        }
    }
    return 0;   // the object closes, which saves, and is destroyed; then the module is unloaded
}
