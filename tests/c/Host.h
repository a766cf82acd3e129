/* What the parts of the test program share. */
#ifndef HOST_H
#define HOST_H

#include <stdio.h>
#include <stdlib.h>

#include "bx/bx_c.h"

/* Ends the program when it does not hold. */
#define CHECK(condition)                                                                    \
  do {                                                                                      \
    if (!(condition)) {                                                                     \
      fprintf(stderr, "%s:%d: %s (%s)\n", __FILE__, __LINE__, #condition, bx_last_error()); \
      exit(1);                                                                              \
    }                                                                                       \
  } while (0)
#define WORKS(call) CHECK((call) == BX_OK)

double secondsNow(void);
void letPass(int milliseconds); /* less than a second */
bx_manager* newManager(void);
void endAtAnyMoment(char** ports, int count);

#endif
