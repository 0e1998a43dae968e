// Calls whose 32-bit ARM bionic signature has narrower types than musl's: sendfile (a 32-bit
// off_t*) goes to sendfile64; mknodat (a 32-bit dev_t, which bionic reads from the register
// where the guest's 64-bit one does not start) narrows the device number, keeping the low word
// as the guest's own call does when it hands it to the kernel.
#include <stdint.h>
#include <sys/types.h>

#include "core/export.h"
#include "host/bionic_file_args.h"

KELP_EXPORT ssize_t kelp_adaptor_sendfile(int out_fd, int in_fd, int64_t* offset, size_t count) {
  return BionicSendfile64(out_fd, in_fd, offset, count);
}

KELP_EXPORT int kelp_adaptor_mknodat(int dir_fd, const char* path, uint32_t mode, uint64_t dev) {
  return BionicMknodat(dir_fd, path, static_cast<uint16_t>(mode), static_cast<uint32_t>(dev));
}
