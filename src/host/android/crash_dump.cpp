#include "host/crash_dump.h"

const char* KelpProcessDumpPath() { return "/system/bin/processdump"; }
