// A small host: loads the module and a document, counts its own starts in the document, prints the keys and values at
// the top of it, and saves it.
#include <component/client/client.h>
#include <host/object.h>
#include <host/result_text.h>

#include <exception>
#include <iostream>

namespace {

int Run(const char* module, const char* document) {
    host::Kernel kernel;           // provides memory, traces and texts; at most one in a process
    kernel.LoadModule(module);     // registers the interface
    host::Object object(kernel);   // constructed; its properties can be set now
    object.SetDocument(document);
    object.SetNumber(kernel::PropertyOpenFlags, kernel::kOpenFlagCreate);
    object.SetNumber(kernel::PropertyBackupMode, 1);
    if (const kernel::ResultCode code = object.Ready(); kernel::IsFailure(code)) {   // loads the document
        std::cerr << document << ": " << host::Describe(code) << '\n';
        return 1;
    }
    const arbor::Store store(object.Get());   // the typed client, as a component uses it
    const auto starts = store["Host"].Get<std::uint32_t>("Starts").value_or(0);
    if (const arbor::Status set = store["Host"].Set("Starts", starts + 1); !set) std::cerr << set.Text() << '\n';
    for (const arbor::Key& key : store.Keys()) {
        std::cout << *key.Name() << '\n';
        for (const arbor::Value& value : key.Values()) {
            std::cout << "    " << value.Name() << " = " << value.GetLenient<std::string>().value_or("?") << '\n';
        }
    }
    if (const arbor::Status saved = store.Save(); !saved) {   // closing can save too, but reports no failure
        std::cerr << document << ": not saved: " << host::Describe(saved.Code()) << '\n';
        return 1;
    }
    return 0;   // the destructors close and destroy the object, then unload the module
}

}   // namespace

int main(int argc, char** argv) {
    if (argc != 2 && argc != 3) {
        std::cerr << "usage: small_host DOCUMENT [MODULE]\n";
        return 2;
    }
    try {
        return Run(argc == 3 ? argv[2] : ARBOR_MODULE, argv[1]);
    } catch (const std::exception& error) {   // the module's file is missing, or the module doesn't start
        std::cerr << error.what() << '\n';
        return 1;
    }
}
