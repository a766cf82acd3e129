/* The whole road with one device, and what is done wrong on it. */
#include <pthread.h>
#include <string.h>

#include "Host.h"

static char* contentOf(const char* path) {
  static char content[4096];
  FILE* const file = fopen(path, "r");
  CHECK(file);
  content[fread(content, 1, sizeof content - 1, file)] = '\0';
  fclose(file);
  return content;
}

/* Trains until so many records have come. */
void train(bx_manager* m, const char* port, size_t wanted) {
  bx_state state;
  WORKS(bx_start_training(m, port, NULL));
  WORKS(bx_get_state(m, port, &state));
  CHECK(state.flags == (BX_CONNECTED | BX_STREAMING));
  size_t count = 0;
  while (count < wanted) count += takeAll(m, port);
  WORKS(bx_stop_training(m, port, NULL));
  count += takeAll(m, port);
  WORKS(bx_get_state(m, port, &state));
  CHECK(state.flags == BX_CONNECTED && state.records == count && state.records_waiting == 0);
  CHECK(state.frames_sent > 0 && state.frames_received >= count);
}

static void storeTargets(bx_manager* m, const char* port) {
  char *target, *all;
  WORKS(bx_upload_target(m, port, "RING", contentOf("examples/ring-300m-rifle.json"), NULL));
  WORKS(bx_clear_targets(m, port));
  WORKS(bx_get_targets(m, port, &all));
  CHECK(strcmp(all, "[]") == 0);
  bx_free(all);
  WORKS(bx_download_target(m, port, "RING", 2, NULL, &target));
  WORKS(bx_get_targets(m, port, &all));
  CHECK(strstr(target, "\"RingTargetNumber\":2") && strstr(all, target));
  bx_free(target);
  bx_free(all);
  CHECK(bx_download_target(m, port, "SILHOUETTE", 9, NULL, &target) == BX_E_REFUSED && !target);
  WORKS(bx_use_target(m, port, "RING", 2));
}

void travel(bx_manager* m, const char* port) {
  char* json;
  CHECK(bx_start_training(m, port, NULL) == BX_E_LINK);
  WORKS(bx_connect(m, port, 1, NULL, &json));
  CHECK(strstr(json, port));
  bx_free(json);
  WORKS(bx_get_settings(m, port, NULL, &json));
  CHECK(strstr(json, "\"SerialNumber\""));
  WORKS(bx_set_session(m, port, contentOf("examples/session-settings.json")));
  WORKS(bx_set_settings(m, port, contentOf("examples/device-settings.json"), NULL));
  bx_free(json);
  storeTargets(m, port);
  WORKS(bx_set_mode(m, port, 4, NULL));
  train(m, port, 500);
  WORKS(bx_download_session(m, port, NULL));
  CHECK(takeAll(m, port) > 0);
  WORKS(bx_clear_session(m, port, NULL));
  WORKS(bx_download_session(m, port, NULL));
  CHECK(takeAll(m, port) == 0);
  WORKS(bx_disconnect(m, NULL));
  CHECK(bx_disconnect(m, port) == BX_E_NO_DEVICE);
}

/* Trains until the line is lost. */
void lose(bx_manager* m, const char* port) {
  bx_record record;
  bx_state state;
  size_t count, all = 0;
  int32_t status;
  WORKS(bx_start_training(m, port, NULL));
  while ((status = bx_take_records(m, port, &record, 1, &count, NULL)) == BX_OK) all += count;
  CHECK(status == BX_E_LINK && strstr(bx_last_error(), ": the port was hung up"));
  CHECK(bx_take_records(m, port, &record, 1, &count, NULL) == BX_E_NO_DEVICE);
  WORKS(bx_get_state(m, port, &state));
  CHECK(state.flags == (BX_LOST | BX_ERROR) && state.records == all && all > 200);
  WORKS(bx_add(m, port));
  WORKS(bx_get_state(m, port, &state));
  CHECK(state.flags == 0 && bx_connect(m, port, 1, NULL, NULL) == BX_E_OPEN);
}

static void* signalSoon(void* cancel) {
  letPass(0.05);
  WORKS(bx_cancel_signal(cancel));
  return NULL;
}

static bx_manager* slow;
static void* getSettings(void* port) {
  char* json;
  WORKS(bx_get_settings(slow, port, NULL, &json));
  bx_free(json);
  return NULL;
}

/* Cancels what talks to the device, or waits for its turn with it: neither harms what comes after or beside it. */
void cancel(bx_manager* m, char* port) {
  slow = m;
  for (int beside = 0; beside < 2; ++beside) {
    bx_cancel* c;
    pthread_t signaller, other;
    char* json;
    WORKS(bx_cancel_create(&c));
    if (beside) CHECK(pthread_create(&other, NULL, getSettings, port) == 0);
    CHECK(pthread_create(&signaller, NULL, signalSoon, c) == 0);
    CHECK(bx_get_settings(m, port, c, &json) == BX_E_CANCELLED && !json);
    pthread_join(signaller, NULL);
    if (beside) pthread_join(other, NULL);
    getSettings(port);
  }
}

/* Calls every function that takes a manager or a cancel. */
static void expectOfAll(int32_t status, bx_manager* m, const char* port, bx_cancel* c) {
  bx_record record;
  bx_state state;
  size_t count;
  char* json;
  const int32_t statuses[] = {
      bx_connect(m, port, 1, c, &json),
      bx_get_settings(m, port, c, &json),
      bx_set_settings(m, port, "{}", c),
      bx_set_mode(m, port, 4, c),
      bx_start_training(m, port, c),
      bx_stop_training(m, port, c),
      bx_upload_target(m, port, "RING", "{}", c),
      bx_download_target(m, port, "RING", 0, c, &json),
      bx_download_session(m, port, c),
      bx_clear_session(m, port, c),
      /* without a cancel */
      c ? status : bx_disconnect(m, port),
      c ? status : bx_set_session(m, port, "{}"),
      c ? status : bx_use_target(m, port, "RING", 0),
      c ? status : bx_get_targets(m, port, &json),
      c ? status : bx_clear_targets(m, port),
      c ? status : bx_take_records(m, port, &record, 1, &count, &json),
      c ? status : bx_get_state(m, port, &state),
  };
  for (size_t i = 0; i < sizeof statuses / sizeof *statuses; ++i) {
    if (statuses[i] != status) fprintf(stderr, "function %zu gives %d\n", i, statuses[i]);
    CHECK(statuses[i] == status);
  }
}

static void expectNoManager(bx_manager* m) {
  expectOfAll(BX_E_HANDLE, m, "port", NULL);
  CHECK(bx_add(m, "port") == BX_E_HANDLE && bx_destroy(m) == BX_E_HANDLE);
}

static void expectNoCancel(bx_manager* m, bx_cancel* c) {
  if (c) expectOfAll(BX_E_HANDLE, m, "port", c);
  CHECK(bx_cancel_signal(c) == BX_E_HANDLE && bx_cancel_destroy(c) == BX_E_HANDLE);
}

void misuse(void) {
  bx_manager *m = newManager(), *other = newManager();
  bx_cancel *c, *ended;
  char* json;
  int foreign = 0;
  WORKS(bx_cancel_create(&c));
  WORKS(bx_cancel_create(&ended));
  WORKS(bx_cancel_destroy(ended));
  WORKS(bx_destroy(other));
  bx_manager* const noManagers[] = {NULL, (bx_manager*)&foreign, (bx_manager*)c, other};
  bx_cancel* const noCancels[] = {NULL, (bx_cancel*)&foreign, (bx_cancel*)m, ended};
  for (int i = 0; i < 4; ++i) expectNoManager(noManagers[i]), expectNoCancel(m, noCancels[i]);

  WORKS(bx_add(m, "port"));
  CHECK(bx_add(m, "port") == BX_E_ARGUMENT);
  expectOfAll(BX_E_NO_DEVICE, m, "another", NULL);
  expectOfAll(BX_E_ARGUMENT, m, "", NULL);
  expectOfAll(BX_E_ARGUMENT, m, "\xFF", NULL);
  CHECK(bx_get_state(m, NULL, NULL) == BX_E_ARGUMENT && bx_add(m, NULL) == BX_E_ARGUMENT);
  CHECK(bx_take_records(m, "port", NULL, 1, NULL, NULL) == BX_E_ARGUMENT && bx_set_baud(0) == BX_E_ARGUMENT);
  CHECK(bx_upload_target(m, "port", "ring", "{}", NULL) == BX_E_ARGUMENT);
  CHECK(bx_download_target(m, "port", "RING", 255, NULL, NULL) == BX_E_ARGUMENT);
  CHECK(bx_set_session(m, "port", NULL) == BX_E_ARGUMENT && bx_set_session(m, "port", "[]") == BX_E_JSON);
  CHECK(bx_set_trace_file("/no/folder") == BX_E_OPEN && strncmp(bx_last_error(), "/no/folder: ", 12) == 0);
  CHECK(bx_connect(m, NULL, 1, NULL, &json) == BX_E_OPEN && strcmp(json, "{}") == 0);
  CHECK(strcmp(bx_last_error(), "port: no such port") == 0);
  bx_free(json);
  WORKS(bx_cancel_signal(c));
  WORKS(bx_add(m, "port"));
  expectOfAll(BX_E_CANCELLED, m, "port", c);
  WORKS(bx_list_ports(&json));
  bx_free(json);

  CHECK(bx_create(BX_C_VERSION + 100, &m) == BX_E_VERSION && bx_create(BX_C_VERSION + 10000, &m) == BX_E_VERSION);
  CHECK(bx_create(BX_C_VERSION, NULL) == BX_E_ARGUMENT && bx_cancel_create(NULL) == BX_E_ARGUMENT);
  WORKS(bx_create(0, &m));
  WORKS(bx_shutdown());
  expectNoManager(m);
  expectNoCancel(m, c);
}
