// Preloaded into a process: lets its Nth system call from now on fail, of those below.
//
// The calls are declared here alone, as far as they matter on the stack of this platform: headers would tell more of
// them, and <atomic> brings such headers.
#include <dlfcn.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace {

long countdown = 0;  // the call that fails; not above 0: none
unsigned chosen = 0;
bool isEvent[1024];  // descriptors that only wake a thread up

// What drivers and filters of system calls make of any call, beside its own four errors.
constexpr int anyCall[] = {EBADF, EFAULT, ENOSYS, ENODEV, ETIMEDOUT, EPROTO};

template <typename Function>
Function* real(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

using Write = long(int, const void*, std::size_t);

// Whether this call fails; errno is set then, and the call named on standard output.
bool fails(const char* name, int descriptor, const int (&errors)[4]) {
  if (__atomic_load_n(&countdown, __ATOMIC_SEQ_CST) <= 0) return false;
  if (__atomic_sub_fetch(&countdown, 1, __ATOMIC_SEQ_CST) != 0) return false;
  const bool wakes = descriptor >= 0 && descriptor < 1024 && isEvent[descriptor];
  const int error = chosen < 4 ? errors[chosen] : anyCall[chosen - 4];
  char text[100];
  const int size = std::snprintf(text, sizeof text, "call %s%s %d\n", name, wakes ? "(eventfd)" : "", error);
  real<Write>("write")(1, text, static_cast<std::size_t>(size));
  errno = error;
  return true;
}

int forget(int descriptor) {
  if (descriptor >= 0 && descriptor < 1024) isEvent[descriptor] = false;
  return descriptor;
}

}  // namespace

// Zero: none fails. What was still to be counted before.
extern "C" long bxFailCall(long number, unsigned error) {
  chosen = error;
  return __atomic_exchange_n(&countdown, number, __ATOMIC_SEQ_CST);
}

#define CALL(result, name, parameters, arguments, descriptor, failure, ...)    \
  extern "C" result name parameters {                                          \
    static const auto next = real<result parameters>(#name);                   \
    return fails(#name, descriptor, {__VA_ARGS__}) ? failure : next arguments; \
  }
using Size = std::size_t;
#define IN_TRANSFER EINTR, EAGAIN, EIO, ENXIO
#define OF_TERMINAL EINTR, EIO, ENOTTY, EINVAL
#define WITHOUT_MEANS EINVAL, EMFILE, ENFILE, ENOMEM
CALL(int, open, (const char* path, int flags, int mode), (path, flags, mode), -1, -1, EINTR, EMFILE, ENOENT, EACCES)
CALL(long, read, (int fd, void* to, Size size), (fd, to, size), fd, -1, IN_TRANSFER)
CALL(long, readv, (int fd, const void* to, int count), (fd, to, count), fd, -1, IN_TRANSFER)
CALL(long, write, (int fd, const void* from, Size size), (fd, from, size), fd, -1, IN_TRANSFER)
CALL(long, writev, (int fd, const void* from, int count), (fd, from, count), fd, -1, IN_TRANSFER)
CALL(int, poll, (void* set, unsigned long size, int limit), (set, size, limit), -1, -1, IN_TRANSFER)
CALL(int, epoll_wait, (int set, void* to, int size, int limit), (set, to, size, limit), -1, -1, IN_TRANSFER)
CALL(int, ioctl, (int fd, unsigned long what, void* with), (fd, what, with), fd, -1, OF_TERMINAL)
CALL(int, isatty, (int fd), (fd), fd, 0, OF_TERMINAL)
CALL(int, tcgetattr, (int fd, void* to), (fd, to), fd, -1, OF_TERMINAL)
CALL(int, tcsetattr, (int fd, int when, const void* to), (fd, when, to), fd, -1, OF_TERMINAL)
CALL(int, tcflush, (int fd, int what), (fd, what), fd, -1, OF_TERMINAL)
CALL(int, tcflow, (int fd, int what), (fd, what), fd, -1, OF_TERMINAL)
CALL(int, fcntl, (int fd, int what, void* with), (fd, what, with), fd, -1, EINTR, EINVAL, EACCES, ENOLCK)
CALL(int, flock, (int fd, int what), (fd, what), fd, -1, EINTR, EAGAIN, ENOLCK, EINVAL)
CALL(int, close, (int fd), (forget(fd)), fd, (next(fd), -1), EINTR, EIO, ENOSPC, EDQUOT)
CALL(int, epoll_create, (int size), (size), -1, -1, WITHOUT_MEANS)
CALL(int, epoll_create1, (int flags), (flags), -1, -1, WITHOUT_MEANS)
CALL(int, epoll_ctl, (int set, int what, int fd, void* how), (set, what, fd, how), fd, -1, EINTR, ENOMEM, ENOSPC, EPERM)
CALL(int, timerfd_create, (int clock, int flags), (clock, flags), -1, -1, WITHOUT_MEANS)
CALL(int, timerfd_settime, (int fd, int how, void* to, void* from), (fd, how, to, from), fd, -1, WITHOUT_MEANS)
CALL(int, pipe, (int* ends), (ends), -1, -1, WITHOUT_MEANS)
CALL(int, pthread_create, (void* id, void* how, void* run, void* with), (id, how, run, with), -1, errno, WITHOUT_MEANS)

extern "C" int eventfd(unsigned value, int flags) {
  static const auto next = real<int(unsigned, int)>("eventfd");
  if (fails("eventfd", -1, {WITHOUT_MEANS})) return -1;
  const int descriptor = next(value, flags);
  if (descriptor >= 0 && descriptor < 1024) isEvent[descriptor] = true;
  return descriptor;
}
