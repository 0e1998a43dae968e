// The user database in the guest's struct passwd, which has a pw_gecos that bionic's 32-bit
// record lacks. The host has nothing to put there, so the guest's field is left alone.
#include <string.h>

#include "core/export.h"
#include "guest/userdb.h"
#include "host/bionic_pwd.h"

namespace {

GuestPasswd g_passwd;

void passwd_bionic2musl(const HostPasswd& host, GuestPasswd* guest) {
  guest->pw_name = host.pw_name;
  guest->pw_passwd = nullptr;
  guest->pw_uid = host.pw_uid;
  guest->pw_gid = host.pw_gid;
  guest->pw_dir = host.pw_dir;
  guest->pw_shell = host.pw_shell;
}

GuestPasswd* ToStatic(const HostPasswd* host) {
  if (host == nullptr) return nullptr;
  passwd_bionic2musl(*host, &g_passwd);
  return &g_passwd;
}

template <typename Key>
int Reentrant(int (*host_fn)(Key, HostPasswd*, char*, size_t, HostPasswd**), Key key,
              GuestPasswd* pw, char* buf, size_t len, GuestPasswd** res) {
  HostPasswd host = {};
  HostPasswd* host_res = nullptr;
  *res = nullptr;
  if (pw == nullptr) return host_fn(key, &host, buf, len, &host_res);
  host.pw_name = pw->pw_name;
  host.pw_passwd = pw->pw_passwd;
  host.pw_uid = pw->pw_uid;
  host.pw_gid = pw->pw_gid;
  host.pw_dir = pw->pw_dir;
  host.pw_shell = pw->pw_shell;
  int result = host_fn(key, &host, buf, len, &host_res);
  passwd_bionic2musl(host, pw);
  if (host_res != nullptr) {
    passwd_bionic2musl(*host_res, pw);
    *res = pw;
  }
  return result;
}

}  // namespace

KELP_EXPORT GuestPasswd* kelp_adaptor_getpwent() { return ToStatic(BionicGetpwent()); }

KELP_EXPORT GuestPasswd* kelp_adaptor_getpwnam(const char* name) {
  return ToStatic(BionicGetpwnam(name));
}

KELP_EXPORT GuestPasswd* kelp_adaptor_getpwuid(uid_t uid) { return ToStatic(BionicGetpwuid(uid)); }

KELP_EXPORT int kelp_adaptor_getpwnam_r(const char* name, GuestPasswd* pw, char* buf, size_t len,
                                        GuestPasswd** res) {
  return Reentrant(BionicGetpwnamR, name, pw, buf, len, res);
}

KELP_EXPORT int kelp_adaptor_getpwuid_r(uid_t uid, GuestPasswd* pw, char* buf, size_t len,
                                        GuestPasswd** res) {
  return Reentrant(BionicGetpwuidR, uid, pw, buf, len, res);
}
