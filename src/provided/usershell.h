// The login shell list behind getusershell, with the file's path as a parameter for tests.
#pragma once

namespace kelp_usershell {

// The next shell of the list read from `path` (which is opened on the first call after a
// rewind), or null at its end. The string lives until the next call.
const char* Next(const char* path);
// Closes the list; the next call of Next starts again from the top.
void Rewind();

}  // namespace kelp_usershell
