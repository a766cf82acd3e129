/* The C interface to the target devices: everything that a host does with them, for programs in C and in languages that
 * can call C. C11; it can be included in C++, too. Link BX_DEVICE_C, which needs none of the C++ libraries.
 *
 * Results. Every function that gives an int32_t gives BX_OK or, below zero, a failure; bx_last_error() then says more.
 * What a function gives through a pointer is 0 or NULL when it fails, unless it is told otherwise. Where a pointer is
 * said to be optional, NULL means that the host does not want it.
 *
 * Texts are UTF-8 and end with a zero byte. Ports are named as the system names them (/dev/ttyUSB0), or tcp://HOST:PORT
 * for a line behind a server in the network (docs/link.md), and compared byte by byte; a port name is not empty.
 * Documents are JSON texts; docs/ tables their keys, types and units. A document that is passed in is an object. Every
 * text that is given is the host's, who frees it with bx_free.
 *
 * Managers and cancels are keys, not addresses: one that was destroyed, or never was any, is told as BX_E_HANDLE by
 * every function, and no key is given twice.
 *
 * Blocking. A function blocks as long as its exchanges with the device take: 1.3 s each when nothing acknowledges, and
 * else 2 s after the device's last sign. "N exchanges" means N times that at worst; the first failure mostly ends it.
 * Opening a port over TCP is tried three times and takes 3 s each at worst.
 * bx_cancel_signal ends a call that was given the cancel within 250 ms; bx_destroy and bx_shutdown end all calls.
 *
 * Threads. Everything may be called from any thread at any time. Operations on one port take turns; on different ports
 * they run at the same time. bx_take_records and bx_get_state wait for none of them. Nothing calls back.
 *
 * Shots are written to standard output as they are decoded. A program that ends need not destroy anything. */
#ifndef BX_C_H
#define BX_C_H

/* NOLINTBEGIN(modernize-deprecated-headers,modernize-use-using): C. */
#include <stddef.h>
#include <stdint.h>

#include "bx/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Of this header: major * 10000 + minor * 100 + patch. */
#define BX_C_VERSION 100u

typedef struct bx_manager bx_manager; /* some devices, one for each port */
typedef struct bx_cancel bx_cancel;   /* ends the calls that it was given to */

enum {
  BX_OK = 0,
  BX_E_ARGUMENT = -1,  /* NULL, no UTF-8, or no value of those that are told */
  BX_E_HANDLE = -2,    /* no manager or cancel */
  BX_E_VERSION = -3,   /* the host wants a library that is newer, or of another major version */
  BX_E_NO_DEVICE = -4, /* none is registered under this port; bx_add registers one */
  BX_E_OPEN = -5,      /* the port, or a file, cannot be opened */
  BX_E_LINK = -6,      /* the device does not answer, answers what it should not, or is gone; or the port is closed */
  BX_E_REFUSED = -7,   /* by the device */
  BX_E_CANCELLED = -8, /* by bx_cancel_signal, bx_destroy or bx_shutdown */
  BX_E_JSON = -9,      /* the text is no JSON object */
  BX_E_MEMORY = -10,
  BX_E_INTERNAL = -11 /* a fault of the library */
};

enum { BX_OTHER = 0, BX_SHOT = 1, BX_MEASUREMENT = 2 }; /* bx_record.kind */
enum {                                                  /* bx_record.flags */
       BX_LOW_SIGNAL = 1,
       BX_HIGH_SIGNAL = 2,
       BX_MEASURE_ERROR = 16,
       BX_ANGLE_ERROR = 32,
       BX_FSI_ERROR = 64,
       BX_HAS_AIMING_TIME = 65536
};

/* A shot or a measurement: the members of its document (docs/documents.md), 0 where the document of its kind lacks one.
 * A payload that is neither is BX_OTHER, and all 0. Both structures are the same on every platform, and never change
 * within a major version. */
typedef struct bx_record {
  double position_x, position_y;
  double result_x, result_y;
  double distance;    /* m; whole in a measurement */
  double aiming_time; /* s; with BX_HAS_AIMING_TIME */
  int32_t kind;
  int32_t ring_target, silhouette_target; /* 255: none */
  int32_t function_mode;
  int32_t shot_number;
  int32_t tilt, rotation;                 /* sine times 1000 */
  int32_t rotation_degrees, tilt_degrees; /* whole degrees */
  int32_t time;
  int32_t fsi;
  uint32_t flags;
  uint32_t json_offset, json_length; /* of its line, without the line feed, in the text of bx_take_records */
} bx_record;

enum { BX_CONNECTED = 1, BX_STREAMING = 2, BX_DOWNLOADING = 4, BX_ERROR = 8, BX_LOST = 16 }; /* bx_state.flags */

/* What is counted, is counted since the port was last opened. BX_ERROR: the stream, or anything since it
 * was started, or since the device was added, has failed. BX_LOST: the port was hung up during a stream; the device is
 * registered no longer, and its records wait. */
typedef struct bx_state {
  uint64_t frames_sent, frames_resent, frames_received;
  uint64_t frames_damaged;  /* received so, and dropped */
  uint64_t answers_late;    /* came after their request was given up, and were dropped */
  uint64_t records;         /* that have come */
  uint64_t records_dropped; /* payloads that came while nobody listened, or beyond what may wait */
  uint32_t flags;
  uint32_t records_waiting;         /* for bx_take_records */
  uint32_t pages_done, pages_total; /* of the download that runs, or of the last one */
} bx_state;

/* ---- Library */

/* Of the library, as BX_C_VERSION. */
BX_C_API uint32_t bx_version(void);
/* What the last call of this thread that failed has failed of, as one line of 511 bytes at most, with the port
 * ("/dev/ttyUSB0: no answer within 2.0 s"); empty when none has. Valid until the next failure of this thread. */
BX_C_API const char* bx_last_error(void);
/* Frees a text that the library has given; NULL is allowed. */
BX_C_API void bx_free(void* given);

/* A manager without devices. `version` is BX_C_VERSION; a library takes that of every host that was built with its own
 * minor version, or an older one of the same major version. */
BX_C_API int32_t bx_create(uint32_t version, bx_manager** m);
/* Cancels the manager's calls, waits until they have returned, and closes all ports, in less than 100 ms; nothing is
 * sent. Streams are not stopped: a device goes on until its host was silent for a minute. */
BX_C_API int32_t bx_destroy(bx_manager* m);
/* The same for all managers; cancels and the trace file end as well. Returns once no thread is inside the library, nor
 * one of its own runs: it may be unloaded then. (One that still looks up the name of a host keeps it in memory.) All
 * can be created again. */
BX_C_API int32_t bx_shutdown(void);

/* A cancel may be given to many calls, at once and one after the other. Signalled, it ends them all with
 * BX_E_CANCELLED, for good: those to come as well. Their devices stay connected and usable; one that was being
 * connected is removed. Destroyed, it lets the calls that have it go on. */
BX_C_API int32_t bx_cancel_create(bx_cancel** c);
BX_C_API int32_t bx_cancel_signal(bx_cancel* c);
BX_C_API int32_t bx_cancel_destroy(bx_cancel* c);

/* Bits a second (115200 unless told otherwise) on the ports that are opened from now on, in the whole process. */
BX_C_API int32_t bx_set_baud(uint32_t baud);
/* Writes every frame of the ports that are opened from now on to a file, which is replaced; NULL ends that.
 * docs/link.md tells its lines. */
BX_C_API int32_t bx_set_trace_file(const char* path);
/* The serial ports of this machine: an array of objects with "port" and, as far as they are known, "stableName" (the
 * same after it was unplugged), "manufacturer", "product" and "serialNumber". Opens none. */
BX_C_API int32_t bx_list_ports(char** json);

/* ---- Devices. `c` is optional. Where it says all, `port` may be NULL: the operation then runs for all registered
 * ports at once, each on a thread of its own, and its status is that of the first port by name that has failed. */

/* Registers a device that is not connected; 0.5 s, or a second when the port's last device was removed by a failure.
 * BX_E_ARGUMENT when the port is registered already. */
BX_C_API int32_t bx_add(bx_manager* m, const char* port);
/* All. Opens the port and connects the device: 2.5 s, or 0.5 s with `skip_startup` not 0, and up to 21 exchanges. What
 * fails, or is cancelled when it has begun, is removed and must be added again. `settings` (optional): an object with
 * a member for each port that is connected, its device settings; with `port` NULL it is given also when some have
 * failed. Nothing is sent to a device that is connected already. */
BX_C_API int32_t bx_connect(bx_manager* m, const char* port, uint32_t skip_startup, bx_cancel* c, char** settings);
/* All. Closes the port, which ends what runs on it, and removes the device; nothing is sent. 0.5 s. */
BX_C_API int32_t bx_disconnect(bx_manager* m, const char* port);

/* The device settings, read from the device; 11 exchanges. */
BX_C_API int32_t bx_get_settings(bx_manager* m, const char* port, bx_cancel* c, char** json);
/* Writes device settings, and with them the session settings; 6 exchanges. */
BX_C_API int32_t bx_set_settings(bx_manager* m, const char* port, const char* json, bx_cancel* c);
/* Keeps session settings, for the next bx_set_settings and bx_start_training; sends nothing. */
BX_C_API int32_t bx_set_session(bx_manager* m, const char* port, const char* json);
/* Commands a mode, 1 to 255, that the functions below do not command by themselves; 1 exchange. */
BX_C_API int32_t bx_set_mode(bx_manager* m, const char* port, int32_t mode, bx_cancel* c);

/* Forgets the device's records and starts the stream; 1 exchange. A line that is lost as soon as it streams is told by
 * bx_take_records. */
BX_C_API int32_t bx_start_training(bx_manager* m, const char* port, bx_cancel* c);
/* All. Ends the stream, when one runs; the device's last records wait then. 1 exchange. */
BX_C_API int32_t bx_stop_training(bx_manager* m, const char* port, bx_cancel* c);

/* `type` is "RING" or "SILHOUETTE"; `n`, the device's number of a target, 0 to 254. Not while the device streams.
 * Upload: 6 exchanges, or up to 68 for a silhouette. Download: as many; `json` is the target. */
BX_C_API int32_t bx_upload_target(bx_manager* m, const char* port, const char* type, const char* json, bx_cancel* c);
BX_C_API int32_t bx_download_target(bx_manager* m, const char* port, const char* type, int32_t n, bx_cancel* c,
                                    char** json);
/* The target that the device has in use, when it was not uploaded just before; 255: none. Shots are decoded with it.
 * Sends nothing. */
BX_C_API int32_t bx_use_target(bx_manager* m, const char* port, const char* type, int32_t n);
/* An array of the targets that were uploaded or downloaded. Sends nothing. */
BX_C_API int32_t bx_get_targets(bx_manager* m, const char* port, char** json);
/* Forgets these; sends nothing. */
BX_C_API int32_t bx_clear_targets(bx_manager* m, const char* port);

/* Fetches the stored session: its records, taken with bx_take_records, replace those that wait; and the targets of its
 * shots. An exchange for each page, and more; bx_get_state tells how far it is. Not while the device streams. */
BX_C_API int32_t bx_download_session(bx_manager* m, const char* port, bx_cancel* c);
/* Clears the stored session on the device; 9 exchanges. */
BX_C_API int32_t bx_clear_session(bx_manager* m, const char* port, bx_cancel* c);

/* ---- These two never block. */

/* Takes the first `capacity` records at most, in their order; the others wait on. `count` is how many. `json`
 * (optional): the same records as JSON lines; when there is no memory for it, BX_E_MEMORY, `out` and `count` hold them
 * all the same. Records outlive the end of a stream and a hang-up; after the last one, a hang-up is told once, as
 * BX_E_LINK with its reason, and then the port is BX_E_NO_DEVICE until it is added anew. */
BX_C_API int32_t bx_take_records(bx_manager* m, const char* port, bx_record* out, size_t capacity, size_t* count,
                                 char** json);
BX_C_API int32_t bx_get_state(bx_manager* m, const char* port, bx_state* out);

#ifdef __cplusplus
}
#endif

/* NOLINTEND(modernize-deprecated-headers,modernize-use-using) */

#endif
