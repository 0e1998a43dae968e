// Where the services database lives: "/etc/services" on Android.
#pragma once

extern "C" const char* KelpServicesPath();
