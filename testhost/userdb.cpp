// Test host: bionic's user database on glibc. bionic's 32-bit struct passwd has no pw_gecos, so
// glibc's records are copied into bionic's shape; and the services file's path, which tests
// point at a fixture (KELP_SERVICES_PATH, or kelphost_set_services_path).
#include <pwd.h>
#include <stdlib.h>
#include <string.h>

#include "../src/host/bionic_pwd.h"
#include "kelphost.h"

extern "C" {
passwd* GlibcGetpwent();
passwd* GlibcGetpwnam(const char* name);
passwd* GlibcGetpwuid(uid_t uid);
int GlibcGetpwnamR(const char* name, passwd* pw, char* buf, size_t len, passwd** res);
int GlibcGetpwuidR(uid_t uid, passwd* pw, char* buf, size_t len, passwd** res);
}
__asm__(".symver GlibcGetpwent, getpwent@GLIBC_2.4");
__asm__(".symver GlibcGetpwnam, getpwnam@GLIBC_2.4");
__asm__(".symver GlibcGetpwuid, getpwuid@GLIBC_2.4");
__asm__(".symver GlibcGetpwnamR, getpwnam_r@GLIBC_2.4");
__asm__(".symver GlibcGetpwuidR, getpwuid_r@GLIBC_2.4");

namespace {

HostPasswd g_passwd;
char g_services_path[256];

HostPasswd* ToBionic(const passwd* from, HostPasswd* to) {
  if (from == nullptr) return nullptr;
  *to = HostPasswd{from->pw_name, from->pw_passwd, from->pw_uid,
                   from->pw_gid,  from->pw_dir,    from->pw_shell};
  return to;
}

template <typename Key>
int Reentrant(int (*glibc_fn)(Key, passwd*, char*, size_t, passwd**), Key key, HostPasswd* pw,
              char* buf, size_t len, HostPasswd** res) {
  passwd record = {};
  passwd* result = nullptr;
  int error = glibc_fn(key, &record, buf, len, &result);
  *res = result != nullptr ? ToBionic(&record, pw) : nullptr;
  return error;
}

}  // namespace

KELPHOST_EXPORT HostPasswd* KelpGetpwent() __asm__("getpwent");
HostPasswd* KelpGetpwent() { return ToBionic(GlibcGetpwent(), &g_passwd); }
KELPHOST_EXPORT HostPasswd* KelpGetpwnam(const char*) __asm__("getpwnam");
HostPasswd* KelpGetpwnam(const char* name) { return ToBionic(GlibcGetpwnam(name), &g_passwd); }
KELPHOST_EXPORT HostPasswd* KelpGetpwuid(uid_t) __asm__("getpwuid");
HostPasswd* KelpGetpwuid(uid_t uid) { return ToBionic(GlibcGetpwuid(uid), &g_passwd); }

KELPHOST_EXPORT int KelpGetpwnamR(const char*, HostPasswd*, char*, size_t, HostPasswd**)
    __asm__("getpwnam_r");
int KelpGetpwnamR(const char* name, HostPasswd* pw, char* buf, size_t len, HostPasswd** res) {
  return Reentrant(GlibcGetpwnamR, name, pw, buf, len, res);
}
KELPHOST_EXPORT int KelpGetpwuidR(uid_t, HostPasswd*, char*, size_t, HostPasswd**)
    __asm__("getpwuid_r");
int KelpGetpwuidR(uid_t uid, HostPasswd* pw, char* buf, size_t len, HostPasswd** res) {
  return Reentrant(GlibcGetpwuidR, uid, pw, buf, len, res);
}

KELPHOST_EXPORT const char* KelpServicesPath() {
  if (g_services_path[0] != '\0') return g_services_path;
  const char* path = getenv("KELP_SERVICES_PATH");
  return path != nullptr ? path : "/etc/services";
}

// Points the services lookups of this process at `path` (null: the environment's or the
// platform's path again).
KELPHOST_EXPORT void kelphost_set_services_path(const char* path) {
  strncpy(g_services_path, path != nullptr ? path : "", sizeof(g_services_path) - 1);
}
