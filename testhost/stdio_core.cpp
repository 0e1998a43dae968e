// Test host: the adaptor's stdio core, built into the stand-in too. On Android bionic's stdio
// drives the streams the adaptor builds; here the stand-in's stdio (stdio.cpp) drives them, and
// this core does bionic's part.
#include "../src/provided/stdio_core.cpp"
