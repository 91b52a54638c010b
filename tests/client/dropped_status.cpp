// Must not compile with -Werror: the code of the save is dropped.

#include <component/client/client.h>

void SaveAndForget(const arbor::Store& store) { store.Save(); }
