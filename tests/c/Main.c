/* A host in C: `c-host TASK PORT...` ends with 1 when something is not as it should be. */
#define _POSIX_C_SOURCE 200809L
#include <pthread.h>
#include <stddef.h>
#include <string.h>
#include <time.h>

#include "Host.h"

_Static_assert(sizeof(bx_record) == 104 && offsetof(bx_record, result_x) == 16 && offsetof(bx_record, distance) == 32 &&
                   offsetof(bx_record, kind) == 48 && offsetof(bx_record, shot_number) == 64 &&
                   offsetof(bx_record, rotation_degrees) == 76 && offsetof(bx_record, fsi) == 88 &&
                   offsetof(bx_record, flags) == 92 && offsetof(bx_record, json_length) == 100,
               "hosts in other languages lay it out by hand");
_Static_assert(sizeof(bx_state) == 72 && offsetof(bx_state, records_dropped) == 48 && offsetof(bx_state, flags) == 56 &&
                   offsetof(bx_state, pages_total) == 68,
               "the same");

double secondsNow(void) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return (double)now.tv_sec + (double)now.tv_nsec / 1e9;
}

void letPass(double seconds) {
  const struct timespec time = {(time_t)seconds, (long)((seconds - (double)(time_t)seconds) * 1e9)};
  nanosleep(&time, NULL);
}

bx_manager* newManager(void) {
  bx_manager* m;
  WORKS(bx_create(BX_C_VERSION, &m));
  return m;
}

static void checkMember(const char* line, const char* key, double value) {
  const char* const found = strstr(line, key);
  CHECK(found ? strtod(found + strlen(key), NULL) == value : value == 0);
}

static void compare(const bx_record* r, const char* line) {
  const struct {
    const char* key;
    double value;
  } members[] = {
      {"\"PositionX\":", r->position_x},
      {"\"PositionY\":", r->position_y},
      {"\"ResultX\":", r->result_x},
      {"\"ResultY\":", r->result_y},
      {"\"Distance\":", r->distance},
      {"\"aimingTime\":", r->aiming_time},
      {"\"RingTargetNumber\":", r->ring_target},
      {"\"SilhouetteTargetNumber\":", r->silhouette_target},
      {"\"FunctionMode\":", r->function_mode},
      {"\"ShotNumber\":", r->shot_number},
      {"\"Tilt\":", r->tilt},
      {"\"Rotation\":", r->rotation},
      {"\"RotationInDegrees\":", r->rotation_degrees},
      {"\"TiltInDegrees\":", r->tilt_degrees},
      {"\"Time\":", r->time},
      {"\"FSI\":", r->fsi},
      {"\"LowSignal\":", !!(r->flags & BX_LOW_SIGNAL)},
      {"\"HighSignal\":", !!(r->flags & BX_HIGH_SIGNAL)},
      {"\"MeasureError\":", !!(r->flags & BX_MEASURE_ERROR)},
      {"\"AngleError\":", !!(r->flags & BX_ANGLE_ERROR)},
      {"\"FSIError\":", !!(r->flags & BX_FSI_ERROR)},
  };
  for (size_t i = 0; i < sizeof members / sizeof *members; ++i) checkMember(line, members[i].key, members[i].value);
  CHECK(!(r->flags & BX_HAS_AIMING_TIME) == !strstr(line, "aimingTime"));
  CHECK(r->kind == (strstr(line, "ShotNumber") ? BX_SHOT : strstr(line, "Tilt") ? BX_MEASUREMENT : BX_OTHER));
}

size_t takeAll(bx_manager* m, const char* port) {
  bx_record records[2];
  size_t count, all = 0;
  char* json;
  do {
    WORKS(bx_take_records(m, port, records, 2, &count, &json));
    for (size_t i = 0; i < count; ++i) {
      char* const end = json + records[i].json_offset + records[i].json_length;
      CHECK(*end == '\n');
      *end = '\0';
      compare(&records[i], json + records[i].json_offset);
    }
    bx_free(json);
    all += count;
  } while (count > 0);
  return all;
}

static bx_manager* shared;

static void* addLane(void* port) {
  WORKS(bx_add(shared, port));
  return NULL;
}

/* All ports at once, each operation in one call. */
static void connectAll(char** ports, int count) {
  pthread_t threads[64];
  shared = newManager();
  for (int i = 0; i < count; ++i) CHECK(pthread_create(&threads[i], NULL, addLane, ports[i]) == 0);
  for (int i = 0; i < count; ++i) pthread_join(threads[i], NULL);
  char* settings;
  const double begin = secondsNow();
  WORKS(bx_connect(shared, NULL, 0, NULL, &settings));
  printf("%d lanes connected in %.2f s\n", count, secondsNow() - begin);
  for (int i = 0; i < count; ++i) CHECK(strstr(settings, ports[i]));
  bx_free(settings);
  for (int i = 0; i < count; ++i) WORKS(bx_start_training(shared, ports[i], NULL));
  for (int i = 0; i < count; ++i) {
    while (takeAll(shared, ports[i]) == 0) letPass(0.01);
  }
  const double end = secondsNow();
  WORKS(bx_destroy(shared));
  printf("and destroyed, as they stream, in %.3f s\n", secondsNow() - end);
}

int main(int count, char** words) {
  CHECK(count > 1);
  const char* const task = words[1];
  char* const port = words[count - 1];
  if (strcmp(task, "version") == 0) printf("%u %u\n", bx_version(), BX_C_VERSION);
  if (strcmp(task, "misuse") == 0) misuse();
  if (strcmp(task, "lanes") == 0) connectAll(words + 2, count - 2);
  if (strcmp(task, "end") == 0) endAtAnyMoment(words + 2, count - 2);
  if (count > 3 || port == task) return 0;
  shared = newManager();
  addLane(port);
  if (strcmp(task, "travel") == 0) travel(shared, port);
  if (strcmp(task, "travel") == 0) return 0;
  WORKS(bx_connect(shared, port, 1, NULL, NULL));
  if (strcmp(task, "train") == 0) train(shared, port, 1000);
  if (strcmp(task, "cancel") == 0) cancel(shared, port);
  if (strcmp(task, "lose") == 0) lose(shared, port);
  return 0;
}
