/* reload LIBRARY PORT: what an editor does to a plug-in, 20 times: load it, stream, shut down in the midst, free it. */
#include <stdio.h>
#include <windows.h>

#include "bx/bx_c.h"

#define CALL(name) ((__typeof__(&name))(void (*)(void))GetProcAddress(library, #name))

static int reload(const char* path, const char* port) {
  bx_manager* m;
  bx_record record;
  size_t taken = 0;
  int status;
  HMODULE const library = LoadLibraryA(path);
  if (!library) return fprintf(stderr, "%s: not loaded: %lu\n", path, GetLastError());
  status = CALL(bx_create)(BX_C_VERSION, &m) || CALL(bx_add)(m, port) || CALL(bx_connect)(m, port, 1, NULL, NULL) ||
           CALL(bx_start_training)(m, port, NULL);
  while (status == BX_OK && taken == 0) status = CALL(bx_take_records)(m, port, &record, 1, &taken, NULL);
  if (status != BX_OK) return fprintf(stderr, "%s\n", CALL(bx_last_error)());
  CALL(bx_shutdown)();
  FreeLibrary(library);
  return GetModuleHandleA("BX_DEVICE.dll") ? fprintf(stderr, "%s: still there\n", path) : 0;
}

int main(int count, char** words) {
  for (int i = 0; i < 20; ++i) {
    if (count != 3 || reload(words[1], words[2]) != 0) return 1;
  }
  return 0;
}
