/* Operations of some lanes, each ended at any moment: by its cancel, with its manager, or with all others. $SEED, which
 * is printed, makes the same choices again; $ENDS is how many ends there are. */
#define _POSIX_C_SOURCE 200809L
#include <pthread.h>
#include <stdatomic.h>
#include <string.h>
#include <time.h>

#include "Host.h"

typedef struct Lane {
  const char* port;
  unsigned random;
  bx_manager* _Atomic manager;
  bx_cancel* _Atomic cancel;
  _Atomic double cancelledAt; /* 0: not */
} Lane;

static atomic_bool over;
static _Atomic double slowestCancel;
static Lane lanes[16];

static int32_t operate(int which, bx_manager* m, const char* port, bx_cancel* c) {
  if (which < 3) return bx_connect(m, which == 0 ? NULL : port, which != 1, c, NULL);
  if (which == 3) return bx_get_settings(m, port, c, NULL);
  if (which == 4) return bx_set_settings(m, port, "{}", c);
  if (which == 5) return bx_start_training(m, port, c);
  if (which == 6) return bx_stop_training(m, port, c);
  if (which == 7) return bx_upload_target(m, port, "SILHOUETTE", "{\"SilhouetteTargetNumber\":1,\"Bitmap\":[]}", c);
  if (which == 8) return bx_download_target(m, port, "SILHOUETTE", 1, c, NULL);
  if (which == 9) return bx_download_session(m, port, c);
  if (which == 10) return bx_clear_session(m, port, c);
  return which == 11 ? bx_set_mode(m, port, 2, c) : bx_disconnect(m, NULL);
}

static void keepSlowest(_Atomic double* slowest, double since) {
  const double took = secondsNow() - since;
  if (took > *slowest) *slowest = took;
}

/* One operation after the other, whatever becomes of it. */
static void* run(void* own) {
  Lane* const lane = own;
  int32_t status;
  while (!over) {
    if (!lane->cancel || lane->cancelledAt != 0) {
      bx_cancel* c;
      if (lane->cancel) bx_cancel_destroy(lane->cancel);
      WORKS(bx_cancel_create(&c));
      lane->cancel = c;
      lane->cancelledAt = 0;
    }
    status = operate(rand_r(&lane->random) % 13, lane->manager, lane->port, lane->cancel);
    if (status == BX_E_CANCELLED && lane->cancelledAt != 0) keepSlowest(&slowestCancel, lane->cancelledAt);
    CHECK(status != BX_E_INTERNAL && status != BX_E_MEMORY && status != BX_E_ARGUMENT && status != BX_E_OPEN);
    if (status == BX_E_HANDLE) {
      lane->manager = newManager();
      lane->cancel = NULL;
    }
    if (status == BX_E_HANDLE || status == BX_E_NO_DEVICE) bx_add(lane->manager, lane->port);
  }
  return NULL;
}

void endAtAnyMoment(char** ports, int count) {
  const char *givenSeed = getenv("SEED"), *givenEnds = getenv("ENDS");
  const unsigned seed = (unsigned)(givenSeed ? atoll(givenSeed) : time(NULL));
  const int ends = givenEnds ? atoi(givenEnds) : 60;
  unsigned random = seed;
  _Atomic double slowest = 0;
  pthread_t threads[16];
  for (int i = 0; i < count; ++i) {
    lanes[i].port = ports[i];
    lanes[i].random = seed + (unsigned)i + 1;
    CHECK(pthread_create(&threads[i], NULL, run, &lanes[i]) == 0);
  }
  fprintf(stderr, "seed %u\n", seed);
  for (int moment = 0; moment < ends; ++moment) {
    letPass(rand_r(&random) % 200);
    Lane* const lane = &lanes[rand_r(&random) % count];
    const double now = secondsNow();
    if (moment % 20 == 19) {
      WORKS(bx_shutdown());
    } else if (moment % 3 == 0) {
      bx_destroy(lane->manager);
    } else if (lane->cancelledAt == 0) {
      lane->cancelledAt = now;
      bx_cancel_signal(lane->cancel);
      continue;
    }
    keepSlowest(&slowest, now);
  }
  over = 1;
  WORKS(bx_shutdown());
  for (int i = 0; i < count; ++i) pthread_join(threads[i], NULL);
  WORKS(bx_shutdown());
  bx_manager* const m = newManager();
  for (int i = 0; i < count; ++i) WORKS(bx_add(m, ports[i]));
  WORKS(bx_connect(m, NULL, 1, NULL, NULL));
  WORKS(bx_shutdown());
  printf("the slowest end took %.0f ms, the slowest cancel %.0f ms\n", slowest * 1e3, slowestCancel * 1e3);
  CHECK(slowest < 5 && slowestCancel < 5);
}
