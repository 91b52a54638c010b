// A small host: loads the module and a document, counts its own starts there, saves, and shows what the document holds.
#include <component/client/client.h>
#include <host/object.h>
#include <host/result_text.h>

#include <exception>
#include <iostream>

namespace {

int Run(const char* module, const char* document) {
    host::Kernel kernel;           // memory, traces, texts; one in a process
    kernel.LoadModule(module);     // registers the interface
    host::Object object(kernel);   // built: its properties can be set
    object.SetDocument(document);
    object.SetNumber(kernel::PropertyOpenFlags, kernel::kOpenFlagCreate);
    object.SetNumber(kernel::PropertyBackupMode, 1);
    if (const kernel::ResultCode code = object.Ready(); kernel::IsFailure(code)) {   // loads the document
        std::cerr << document << ": " << host::Describe(code) << '\n';
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
    if (const arbor::Status saved = store.Save(); !saved) {   // closing could save too, but reports no failure
        std::cerr << document << ": not saved: " << host::Describe(saved.Code()) << '\n';
        return 1;
    }
    return 0;   // the object closes and is destroyed; then the module is unloaded
}

}   // namespace

int main(int argc, char** argv) {
    if (argc != 2 && argc != 3) {
        std::cerr << "usage: small_host DOCUMENT [MODULE]\n";
        return 2;
    }
    try {
        return Run(argc == 3 ? argv[2] : ARBOR_MODULE, argv[1]);
    } catch (const std::exception& error) {   // the module's file is missing, or it doesn't start
        std::cerr << error.what() << '\n';
        return 1;
    }
}
