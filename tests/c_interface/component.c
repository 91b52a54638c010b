/* A component in C11: c_interface_test MODULE DOCUMENT. Prints the line that failed, and exits with 1. */
#include <arbor.h>
#include <host/c_host.h>

#include <stdio.h>
#include <string.h>

#define EXPECT(condition) \
    if (!(condition)) return printf("%s:%d: %s\n", __FILE__, __LINE__, #condition), 1

static int run(const char* module, const char* document) {
    const ArborMethods* methods;
    ArborObject* object = NULL;
    ArborObject* second = NULL;
    ArborKey key = ARBOR_NO_KEY;
    ArborType type = 0;
    uint32_t port = 8080, count = 0;
    char text[8] = "";

    EXPECT(ArborOpen("missing", document, 0, &object) == (ArborResult)0x8000004C && object == NULL);
    EXPECT(ArborOpen(module, document, 0, &object) == ARBOR_NO_DOCUMENT && object == NULL);
    EXPECT(ArborOpen(module, NULL, 0, &object) == ARBOR_INVALID_ARGUMENT);
    EXPECT(ArborOpen(module, document, ARBOR_OPEN_CREATE, &object) == ARBOR_DONE);
    methods = object->methods;
    EXPECT(methods->OpenKey(object, &key, 0, "Network/Proxy", 1) == ARBOR_KEY_CREATED);
    EXPECT(methods->SetValue(object, key, "Port", ARBOR_DWORD, &port, sizeof port, 1) == ARBOR_DONE);
    EXPECT(methods->Save(object, 0) == ARBOR_DONE);

    EXPECT(ArborOpen(module, document, 0, &second) == ARBOR_DONE && second != object);
    ArborClose(object);
    EXPECT(second->methods->OpenKey(second, &key, 0, "network\\proxy", 0) == ARBOR_DONE);
    EXPECT(second->methods->GetValue(second, &count, key, "port", &type, &port, sizeof port) == ARBOR_DONE);
    EXPECT(type == ARBOR_DWORD && count == 4 && port == 8080);
    type = ARBOR_STRING;
    EXPECT(second->methods->GetValue(second, &count, key, "port", &type, text, sizeof text) == ARBOR_DONE);
    EXPECT(count == 5 && strcmp(text, "8080") == 0);
    EXPECT(ARBOR_FAILED(second->methods->DeleteKey(second, 0, "none")));
    ArborClose(second);
    ArborClose(NULL);
    return 0;
}

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    remove(argv[2]);
    return run(argv[1], argv[2]);
}
