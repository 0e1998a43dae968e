// Calls a musl function that bionic's app interface (API 31) lacks and the adaptor does not
// provide: POSIX asynchronous I/O.
#include <aio.h>

int main(void) { return aio_error(0); }
