#include "host/log_socket.h"

const char* KelpLogSocketPath() { return "/dev/socket/logdw"; }
