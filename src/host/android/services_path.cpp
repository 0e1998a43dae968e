#include "host/services_path.h"

const char* KelpServicesPath() { return "/etc/services"; }
