// addmntent: one line at the end of a mount table, in the format getmntent reads. Blanks,
// newlines and backslashes inside a field are written as octal escapes, as the kernel's
// mount tables write them.
#include <stdio.h>

#include "core/export.h"

namespace {

// Guest and host records are the same six words.
struct GuestMntent {
  const char* mnt_fsname;
  const char* mnt_dir;
  const char* mnt_type;
  const char* mnt_opts;
  int mnt_freq;
  int mnt_passno;
};
static_assert(sizeof(GuestMntent) == 24);

bool PutField(FILE* stream, const char* field) {
  for (const char* p = field; *p != '\0'; ++p) {
    char c = *p;
    int result = (c == ' ' || c == '\t' || c == '\n' || c == '\\')
                     ? fprintf(stream, "\\%03o", static_cast<unsigned char>(c))
                     : fputc(c, stream);
    if (result < 0) return false;
  }
  return fputc(' ', stream) != EOF;
}

}  // namespace

// 0 on success, 1 on failure.
KELP_ENTRY(int, addmntent, (FILE * stream, const GuestMntent* entry)) {
  if (fseek(stream, 0, SEEK_END) != 0) return 1;
  const char* fields[] = {entry->mnt_fsname, entry->mnt_dir, entry->mnt_type, entry->mnt_opts};
  for (const char* field : fields) {
    if (!PutField(stream, field)) return 1;
  }
  return fprintf(stream, "%d %d\n", entry->mnt_freq, entry->mnt_passno) < 0 ? 1 : 0;
}
