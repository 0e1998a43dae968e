#include "support/fake_log_daemon.h"

#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <gtest/gtest.h>

FakeLogDaemon::FakeLogDaemon() {
  const char* tmp = getenv("TMPDIR");
  std::string pattern = std::string(tmp != nullptr ? tmp : "/tmp") + "/kelp-logd.XXXXXX";
  char* dir = mkdtemp(pattern.data());
  EXPECT_NE(nullptr, dir);
  dir_ = pattern;
  path_ = dir_ + "/logdw";
  fd_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  strncpy(address.sun_path, path_.c_str(), sizeof(address.sun_path) - 1);
  EXPECT_EQ(0, bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof(address)))
      << strerror(errno);
  kelphost_set_log_socket_path(path_.c_str());
}

FakeLogDaemon::~FakeLogDaemon() {
  kelphost_set_log_socket_path(nullptr);
  close(fd_);
  unlink(path_.c_str());
  rmdir(dir_.c_str());
}

std::vector<LogRecord> FakeLogDaemon::Drain() {
  std::vector<LogRecord> records;
  char buffer[4096];
  for (;;) {
    ssize_t n = recv(fd_, buffer, sizeof(buffer), 0);
    if (n < 0) break;
    LogRecord r = {};
    r.raw.assign(buffer, n);
    if (n >= 12) {
      r.log_id = static_cast<uint8_t>(buffer[0]);
      memcpy(&r.tid, buffer + 1, 2);
      memcpy(&r.sec, buffer + 3, 4);
      memcpy(&r.nsec, buffer + 7, 4);
      r.priority = static_cast<uint8_t>(buffer[11]);
      r.tag = std::string(buffer + 12, strnlen(buffer + 12, n - 12));
      size_t msg = 12 + r.tag.size() + 1;
      if (msg < static_cast<size_t>(n)) r.message = std::string(buffer + msg, strnlen(buffer + msg, n - msg));
    }
    records.push_back(r);
  }
  return records;
}

std::vector<std::string> FakeLogDaemon::Messages() {
  std::vector<std::string> messages;
  for (const LogRecord& r : Drain()) messages.push_back(r.message);
  return messages;
}
