// Where the platform's log daemon receives datagrams: "/dev/socket/logdw" on Android. Called
// from signal handlers: the answer comes from static storage.
#pragma once

extern "C" const char* KelpLogSocketPath();
