// A log daemon of the test's own: receives the adaptor's log datagrams on a socket in a private
// temporary directory. While it lives, this process's log writer sends to it.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

struct LogRecord {
  uint8_t log_id;
  uint16_t tid;
  uint32_t sec;
  uint32_t nsec;
  uint8_t priority;
  std::string tag;
  std::string message;
  std::string raw;  // the datagram as received
};

class FakeLogDaemon {
 public:
  FakeLogDaemon();
  ~FakeLogDaemon();
  FakeLogDaemon(const FakeLogDaemon&) = delete;
  FakeLogDaemon& operator=(const FakeLogDaemon&) = delete;

  // Every record received so far; does not wait.
  std::vector<LogRecord> Drain();
  // The messages of Drain().
  std::vector<std::string> Messages();

 private:
  std::string dir_;
  std::string path_;
  int fd_ = -1;
};

// Test-host control of the log writer's socket path (null: the platform's path).
extern "C" void kelphost_set_log_socket_path(const char* path);
