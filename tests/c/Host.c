/* A host in C: `c-host TASK PORT...` ends with 1 when something is not as it should be. */
#define _POSIX_C_SOURCE 200809L
#include "Host.h"

#include <pthread.h>
#include <stddef.h>
#include <string.h>
#include <time.h>

#include "bx/bx_score.h"

_Static_assert(sizeof(bx_record) == 104 && offsetof(bx_record, result_x) == 16 && offsetof(bx_record, distance) == 32 &&
                   offsetof(bx_record, kind) == 48 && offsetof(bx_record, shot_number) == 64 &&
                   offsetof(bx_record, rotation_degrees) == 76 && offsetof(bx_record, fsi) == 88 &&
                   offsetof(bx_record, flags) == 92 && offsetof(bx_record, json_length) == 100,
               "hosts in other languages lay it out by hand");
_Static_assert(sizeof(bx_state) == 72 && offsetof(bx_state, records_dropped) == 48 && offsetof(bx_state, flags) == 56 &&
                   offsetof(bx_state, pages_total) == 68,
               "the same");

static bx_manager* m;

double secondsNow(void) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return (double)now.tv_sec + (double)now.tv_nsec / 1e9;
}

void letPass(int milliseconds) { nanosleep(&(struct timespec){0, milliseconds * 1000000L}, NULL); }

bx_manager* newManager(void) {
  bx_manager* created;
  WORKS(bx_create(BX_C_VERSION, &created));
  return created;
}

static void compare(const bx_record* r, const char* line) {
  const char* keys =
      "PositionX PositionY ResultX ResultY Distance aimingTime RingTargetNumber SilhouetteTargetNumber FunctionMode "
      "ShotNumber Tilt Rotation RotationInDegrees TiltInDegrees Time FSI LowSignal HighSignal MeasureError AngleError "
      "FSIError";
  const double values[] = {r->position_x,    r->position_y,  r->result_x,          r->result_y,       r->distance,
                           r->aiming_time,   r->ring_target, r->silhouette_target, r->function_mode,  r->shot_number,
                           r->tilt,          r->rotation,    r->rotation_degrees,  r->tilt_degrees,   r->time,
                           r->fsi,           r->flags & 1,   r->flags >> 1 & 1,    r->flags >> 4 & 1, r->flags >> 5 & 1,
                           r->flags >> 6 & 1};
  for (size_t i = 0; i < sizeof values / sizeof *values; ++i) {
    char key[32];
    const int length = (int)strcspn(keys, " ");
    snprintf(key, sizeof key, "\"%.*s\":", length, keys);
    keys += length + 1;
    const char* const found = strstr(line, key);
    CHECK(values[i] == (found ? strtod(found + strlen(key), NULL) : 0));
  }
  CHECK(!(r->flags & BX_HAS_AIMING_TIME) == !strstr(line, "aimingTime"));
  CHECK(r->kind == (strstr(line, "ShotNumber") ? BX_SHOT : strstr(line, "Tilt") ? BX_MEASUREMENT : BX_OTHER));
}

/* Takes the records that wait, two at a time; how many they were. */
static size_t takeAll(const char* port) {
  bx_record records[2];
  size_t count, all = 0;
  char* json;
  do {
    WORKS(bx_take_records(m, port, records, 2, &count, &json));
    for (size_t i = 0; i < count; ++i) {
      char* const line = json + records[i].json_offset;
      CHECK(line[records[i].json_length] == '\n');
      line[records[i].json_length] = '\0';
      compare(&records[i], line);
    }
    bx_free(json);
    all += count;
  } while (count > 0);
  return all;
}

static void* addLane(void* port) {
  WORKS(bx_add(m, port));
  return NULL;
}

/* All ports at once, each operation in one call. */
static void connectAll(char** ports, int count) {
  pthread_t threads[32];
  char* settings;
  for (int i = 0; i < count; ++i) CHECK(pthread_create(&threads[i], NULL, addLane, ports[i]) == 0);
  for (int i = 0; i < count; ++i) pthread_join(threads[i], NULL);
  double begin = secondsNow();
  WORKS(bx_connect(m, NULL, 0, NULL, &settings));
  printf("%d lanes connected in %.2f s\n", count, secondsNow() - begin);
  for (int i = 0; i < count; ++i) CHECK(strstr(settings, ports[i]));
  bx_free(settings);
  for (int i = 0; i < count; ++i) WORKS(bx_start_training(m, ports[i], NULL));
  for (int i = 0; i < count; ++i) {
    while (takeAll(ports[i]) == 0) letPass(10);
  }
  begin = secondsNow();
  WORKS(bx_destroy(m));
  printf("and destroyed, as they stream, in %.3f s\n", secondsNow() - begin);
}

static char* contentOf(const char* path) {
  static char content[4096];
  FILE* const file = fopen(path, "r");
  CHECK(file);
  content[fread(content, 1, sizeof content - 1, file)] = '\0';
  fclose(file);
  return content;
}

/* Trains until so many records have come. */
static void train(const char* port, size_t wanted) {
  bx_state state;
  WORKS(bx_start_training(m, port, NULL));
  WORKS(bx_get_state(m, port, &state));
  CHECK(state.flags == (BX_CONNECTED | BX_STREAMING));
  size_t count = 0;
  while (count < wanted) count += takeAll(port);
  WORKS(bx_stop_training(m, port, NULL));
  count += takeAll(port);
  WORKS(bx_get_state(m, port, &state));
  CHECK(state.flags == BX_CONNECTED && state.records == count && state.records_waiting == 0);
  CHECK(state.frames_sent > 0 && state.frames_received >= count);
}

static void storeTargets(const char* port) {
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

static void travel(const char* port) {
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
  storeTargets(port);
  WORKS(bx_set_mode(m, port, 4, NULL));
  train(port, 500);
  WORKS(bx_download_session(m, port, NULL));
  CHECK(takeAll(port) > 0);
  WORKS(bx_clear_session(m, port, NULL));
  WORKS(bx_download_session(m, port, NULL));
  CHECK(takeAll(port) == 0);
  WORKS(bx_disconnect(m, NULL));
  CHECK(bx_disconnect(m, port) == BX_E_NO_DEVICE);
}

/* Trains until the line is lost. */
static void lose(const char* port) {
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
  CHECK(state.flags == 0); /* not connected: the name of a port that is gone may be another test's by now */
}

static void* signalSoon(void* cancel) {
  letPass(50);
  WORKS(bx_cancel_signal(cancel));
  return NULL;
}

static void* getSettings(void* port) {
  char* json;
  WORKS(bx_get_settings(m, port, NULL, &json));
  bx_free(json);
  return NULL;
}

/* Cancels what talks to the device, or waits for its turn with it: neither harms what comes after or beside it. */
static void cancel(char* port) {
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

static void expectNoCancel(bx_cancel* c) {
  if (c) expectOfAll(BX_E_HANDLE, m, "port", c);
  CHECK(bx_cancel_signal(c) == BX_E_HANDLE && bx_cancel_destroy(c) == BX_E_HANDLE);
}

void misuse(void) {
  bx_manager* const other = newManager();
  bx_cancel *c, *ended;
  char* json;
  int foreign = 0;
  WORKS(bx_cancel_create(&c));
  WORKS(bx_cancel_create(&ended));
  WORKS(bx_cancel_destroy(ended));
  WORKS(bx_destroy(other));
  bx_manager* const noManagers[] = {NULL, (bx_manager*)&foreign, (bx_manager*)c, other};
  bx_cancel* const noCancels[] = {NULL, (bx_cancel*)&foreign, (bx_cancel*)m, ended};
  for (int i = 0; i < 4; ++i) expectNoManager(noManagers[i]), expectNoCancel(noCancels[i]);

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

  const char* const ring = "{\"TargetType\":\"RING\",\"HighestRing\":10,\"DiameterHighestRing\":1,\"Caliber\":0.2}";
  bx_value value;
  CHECK(bx_score(ring, 0, -15.24, BX_SCORE_EDGE, &value) == BX_OK && value.scored && value.tenths == 100);
  CHECK(bx_score(ring, 0, -12.7, BX_SCORE_CENTRE, &value) == BX_OK && value.ring == 10 && !value.inner);
  CHECK(bx_score(ring, 0, -12.71, BX_SCORE_CENTRE, &value) == BX_OK && value.scored && value.ring == 0);
  CHECK(bx_score("{}", 0, 0, BX_SCORE_EDGE, &value) == BX_OK && !value.scored);
  CHECK(bx_score("[]", 0, 0, BX_SCORE_EDGE, &value) == BX_E_JSON && bx_score(ring, 0, 0, 2, &value) == BX_E_ARGUMENT);
  CHECK(bx_score(ring, 0, 1e9, 0, &value) == BX_E_ARGUMENT && bx_score(ring, 0, 0, 0, NULL) == BX_E_ARGUMENT);

  CHECK(bx_create(BX_C_VERSION + 100, &m) == BX_E_VERSION && bx_create(BX_C_VERSION + 10000, &m) == BX_E_VERSION);
  CHECK(bx_create(BX_C_VERSION, NULL) == BX_E_ARGUMENT && bx_cancel_create(NULL) == BX_E_ARGUMENT);
  WORKS(bx_create(0, &m));
  WORKS(bx_shutdown());
  expectNoManager(m);
  expectNoCancel(c);
}

int main(int count, char** words) {
  CHECK(count > 1);
  const char* const task = words[1];
  char* const port = words[count - 1];
  m = newManager();
  if (getenv("TRACE")) { /* which ends with the shutdown */
    WORKS(bx_set_trace_file(getenv("TRACE")));
    WORKS(bx_shutdown());
    m = newManager();
  }
  if (strcmp(task, "version") == 0) printf("%u %u\n", bx_version(), BX_C_VERSION);
  if (strcmp(task, "misuse") == 0) misuse();
  if (strcmp(task, "lanes") == 0) connectAll(words + 2, count - 2);
  if (strcmp(task, "end") == 0) endAtAnyMoment(words + 2, count - 2);
  if (count != 3) return 0;
  addLane(port);
  if (strcmp(task, "travel") == 0) return travel(port), 0;
  WORKS(bx_connect(m, port, 1, NULL, NULL));
  if (strcmp(task, "train") == 0) train(port, 1000);
  if (strcmp(task, "cancel") == 0) cancel(port);
  if (strcmp(task, "lose") == 0) lose(port);
  WORKS(bx_shutdown());
  return 0;
}
