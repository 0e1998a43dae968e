// Test support for crash handling: a dump tool of the test's own that keeps what it is given,
// the crash record read back at its wire offsets, and child processes whose log lines are
// collected while they run.
#pragma once

#include <dirent.h>
#include <fcntl.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/fake_log_daemon.h"
#include "support/temp_dir.h"

extern "C" void kelphost_set_processdump_path(const char* path);

// The crash record as the dump tool receives it: 2208 bytes, fields at fixed offsets.
struct WireRecord {
  std::string bytes;

  int32_t Int(size_t offset) const { return Get<int32_t>(offset); }
  template <typename T>
  T Get(size_t offset) const {
    T value;
    memcpy(&value, bytes.data() + offset, sizeof(value));
    return value;
  }
  std::string Text(size_t offset, size_t size) const {
    return std::string(bytes.data() + offset, strnlen(bytes.data() + offset, size));
  }
  int32_t signal() const { return Int(0); }
  int32_t tid() const { return Int(4); }
  int32_t recycle_tid() const { return Int(8); }
  int32_t pid() const { return Int(12); }
  int32_t vm_pid() const { return Int(16); }
  int32_t uid() const { return Int(20); }
  uint64_t reserved() const { return Get<uint64_t>(24); }
  uint64_t timestamp() const { return Get<uint64_t>(32); }
  int32_t si_signo() const { return Int(40); }  // siginfo at 40
  int32_t si_code() const { return Int(40 + 8); }
  uint32_t fault_address() const { return Get<uint32_t>(40 + 12); }
  int32_t sender_pid() const { return Int(40 + 12); }  // signals sent by a process
  std::string thread_name() const { return Text(912, 128); }
  std::string process_name() const { return Text(1040, 128); }
  std::string fatal_message() const { return Text(1168, 1024); }
  std::string trace_id() const { return bytes.substr(2192, 16); }
};

// What one run of the dump tool left behind.
struct ToolRun {
  int pid = 0;
  WireRecord record;
  std::vector<std::string> args;  // after the program name
  std::vector<std::string> fds;   // where descriptors 0, 1 and 2 pointed
  std::string caps;               // the tool's capability lines from /proc
};

inline std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

inline std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::stringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// A dump tool in a temporary directory: a shell script (the emulator starts host programs
// natively) that saves its arguments, descriptors, capabilities and standard input. A hanging
// tool ignores the alarm it inherits and sleeps; its pid is left in "hung.pid".
class DumpTool {
 public:
  enum Mode { kSave, kHang };

  explicit DumpTool(Mode mode = kSave) {
    std::string script = "#!/bin/sh\n";
    if (mode == kHang) script += "trap '' ALRM\n";
    script += "dir='" + dir_.path() + "'\nn=$$\n";
    script += "printf '%s\\n' \"$@\" > \"$dir/args.$n\"\n";
    // Read before any redirection of the script's own.
    script += "fds=\"$(readlink /proc/$$/fd/0) $(readlink /proc/$$/fd/1)\"\n";
    script += "fds=\"$fds $(readlink /proc/$$/fd/2)\"\n";
    script += "printf '%s\\n' $fds > \"$dir/fds.$n\"\n";
    script += "grep -E '^Cap(Inh|Prm|Amb):' /proc/$$/status > \"$dir/caps.$n\"\n";
    script += "cat > \"$dir/record.$n.part\" && mv \"$dir/record.$n.part\" \"$dir/record.$n\"\n";
    if (mode == kHang) script += "echo $$ > \"$dir/hung.pid\"\nexec sleep 60\n";
    path_ = dir_.Path("processdump");
    std::ofstream(path_) << script;
    chmod(path_.c_str(), 0755);
    kelphost_set_processdump_path(path_.c_str());
  }
  ~DumpTool() { kelphost_set_processdump_path(nullptr); }
  DumpTool(const DumpTool&) = delete;
  DumpTool& operator=(const DumpTool&) = delete;

  const std::string& path() const { return path_; }
  std::string Path(const char* name) const { return dir_.Path(name); }

  // Every completed run, in no particular order.
  std::vector<ToolRun> Runs() const {
    std::vector<ToolRun> runs;
    DIR* dir = opendir(dir_.path().c_str());
    while (dirent* entry = readdir(dir)) {
      std::string name = entry->d_name;
      if (name.rfind("record.", 0) != 0 || name.find(".part") != std::string::npos) continue;
      std::string n = name.substr(7);
      ToolRun run;
      run.pid = atoi(n.c_str());
      run.record.bytes = ReadFile(dir_.Path(name.c_str()));
      run.args = Lines(ReadFile(dir_.Path(("args." + n).c_str())));
      run.fds = Lines(ReadFile(dir_.Path(("fds." + n).c_str())));
      run.caps = ReadFile(dir_.Path(("caps." + n).c_str()));
      runs.push_back(run);
    }
    closedir(dir);
    return runs;
  }

 private:
  TempDir dir_;
  std::string path_;
};

// A child process's end and the adaptor's log lines sent while it ran.
struct ChildRun {
  pid_t pid = 0;
  int status = 0;
  std::vector<LogRecord> logs;

  std::vector<std::string> Messages() const {
    std::vector<std::string> messages;
    for (const LogRecord& r : logs) messages.push_back(r.message);
    return messages;
  }
  bool Logged(const std::string& message) const {
    for (const LogRecord& r : logs) {
      if (r.message == message) return true;
    }
    return false;
  }
  bool KilledBy(int sig) const { return WIFSIGNALED(status) && WTERMSIG(status) == sig; }
  bool ExitedWith(int code) const { return WIFEXITED(status) && WEXITSTATUS(status) == code; }
};

// Runs `body` in a forked child (exit code 0 if it returns) and drains the log daemon while
// it runs: the daemon's queue holds only a few datagrams.
template <typename Body>
ChildRun RunChild(FakeLogDaemon& daemon, Body body) {
  ChildRun run;
  run.pid = fork();
  if (run.pid == 0) {
    body();
    _exit(0);
  }
  while (true) {
    for (LogRecord& r : daemon.Drain()) run.logs.push_back(r);
    if (waitpid(run.pid, &run.status, WNOHANG) == run.pid) break;
    usleep(500);
  }
  for (LogRecord& r : daemon.Drain()) run.logs.push_back(r);
  return run;
}

inline std::string Describe(const ChildRun& run) {
  std::string text = "status " + std::to_string(run.status) + ", log:\n";
  for (const std::string& m : run.Messages()) text += "  " + m + "\n";
  return text;
}
