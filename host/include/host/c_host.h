/* The stand-in host as a shared library, `arbor-c`, for C and for the foreign-function interfaces of other languages.
 * It loads the module and makes objects whose methods <arbor.h> declares. Every object has the property `Synchronised`
 * set. A process uses either this library or `host::Kernel`, not both. Any thread may call the functions.
 */
#pragma once

#include <arbor.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Bit of `openFlags`: creates a missing document, empty. */
#define ARBOR_OPEN_CREATE 2u

/* Loads the document into a new object, which `ArborClose` destroys. The first object loads the module's file too, and
 * the last one that is closed unloads it. Paths are UTF-8 text, relative to the working directory or absolute.
 * On failure `*object` is null. Returns the code of the load; 0x8000004C if the module can't be loaded,
 * ARBOR_INVALID_ARGUMENT if a document can't have such a path, ARBOR_OUT_OF_MEMORY. */
ArborResult ARBOR_CALL ArborOpen(const char* module, const char* document, uint32_t openFlags, ArborObject** object);

/* Destroys an object without saving it. Null is allowed. No call of its methods may be running. */
void ARBOR_CALL ArborClose(ArborObject* object);

#ifdef __cplusplus
}
#endif
