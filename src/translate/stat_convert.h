// The stat rule: host bytes 0..7 and 16..103 as they are, then each timestamp again in 64 bits.
#pragma once

#include <sys/stat.h>

#include "guest/stat.h"

void StatRule(const struct stat* host, GuestStat* guest);
