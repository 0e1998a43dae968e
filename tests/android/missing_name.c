// Calls a musl function that bionic's app interface (API 31) lacks and the adaptor does not
// provide: the 32-bit-time wait3, which <sys/wait.h> never names (it binds wait3 to
// __wait3_time64), declared here by hand.
struct rusage;
int wait3(int* status, int options, struct rusage* usage);

int main(void) { return wait3(0, 0, 0); }
