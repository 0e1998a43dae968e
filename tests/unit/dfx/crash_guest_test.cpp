// A guest program that crashes, started the ordinary way (the adaptor's start-up installs the
// handler): the record its dump tool receives and the log lines on its standard error (no log
// daemon on this machine).
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/time.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "dfx/dump_fixture.h"

namespace {

struct GuestRun {
  ChildRun child;
  std::string stderr_text;
  std::vector<std::string> log;  // the adaptor's crash log lines, tag removed
  uint64_t before_ms, after_ms;
};

uint64_t NowMs() {
  timeval now;
  gettimeofday(&now, nullptr);
  return static_cast<uint64_t>(now.tv_sec) * 1000 + now.tv_usec / 1000;
}

GuestRun RunGuest(const DumpTool& tool, const char* mode) {
  FakeLogDaemon unused;  // only to collect nothing: the guest writes its log to stderr
  std::string err = tool.Path("stderr");
  GuestRun run;
  run.before_ms = NowMs();
  run.child = RunChild(unused, [&] {
    int fd = open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    dup2(fd, 2);
    setenv("KELP_PROCESSDUMP", tool.path().c_str(), 1);
    setenv("KELP_BUILD_DIR", KELP_BUILD_DIR, 1);
    execl(KELP_RUN, KELP_RUN, KELP_CRASH_GUEST, mode, nullptr);
    _exit(127);
  });
  run.after_ms = NowMs();
  const std::string prefix = "KELP_LIBC_ADAPTOR_DEBUG: ";
  run.stderr_text = ReadFile(err);
  for (const std::string& line : Lines(run.stderr_text)) {
    if (line.rfind(prefix, 0) == 0) run.log.push_back(line.substr(prefix.size()));
  }
  return run;
}

std::string Describe(const GuestRun& run) {
  std::string text = "status " + std::to_string(run.child.status) + ", log:\n";
  for (const std::string& m : run.log) text += "  " + m + "\n";
  return text;
}

// qemu-arm takes a fault signal that a process re-queues to itself (si_code > 0) for a fault
// of its own, outside emulated code, and stops on an assertion. Where it does, the run is
// checked up to the re-queue (its record and log lines) and the test says so.
constexpr char kEmulatorBailOut[] = "cpu_exec: assertion failed: (cpu == current_cpu)";

bool EmulatorRefusedRequeue(const GuestRun& run) {
  if (run.child.KilledBy(SIGSEGV) || run.stderr_text.find(kEmulatorBailOut) == std::string::npos) {
    return false;
  }
  printf("note: the emulator stopped on the re-queued SIGSEGV; checked up to the re-queue\n");
  return true;
}

}  // namespace

TEST(DfxGuestCrash, null_load_in_main_thread) {
  DumpTool tool;
  GuestRun run = RunGuest(tool, "null");
  bool emulated = EmulatorRefusedRequeue(run);
  if (!emulated) {
    EXPECT_TRUE(run.child.KilledBy(SIGSEGV)) << Describe(run);
  }
  std::vector<ToolRun> runs = tool.Runs();
  ASSERT_EQ(1u, runs.size()) << Describe(run);
  const WireRecord& r = runs[0].record;
  ASSERT_EQ(2208u, r.bytes.size());
  int pid = run.child.pid, vm = r.vm_pid();
  EXPECT_EQ(SIGSEGV, r.signal());
  EXPECT_EQ(pid, r.pid());
  EXPECT_EQ(pid, r.tid());
  EXPECT_EQ(static_cast<int32_t>(getuid()), r.uid());
  EXPECT_LE(run.before_ms, r.timestamp());
  EXPECT_GE(run.after_ms, r.timestamp());
  EXPECT_EQ(SIGSEGV, r.si_signo());
  EXPECT_EQ(SEGV_MAPERR, r.si_code());
  EXPECT_EQ(12u, r.fault_address());
  EXPECT_EQ("dfx-main", r.thread_name());
  EXPECT_EQ(KELP_CRASH_GUEST, r.process_name());
  EXPECT_EQ("", r.fatal_message());
  const unsigned char trace[16] = {0xef, 0xcd, 0xab, 0x89, 0x67, 0x45, 0x23, 0x01,
                                   0x10, 0x32, 0x54, 0x76, 0x98, 0xba, 0xdc, 0xfe};
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(trace), 16), r.trace_id());
  EXPECT_EQ(std::vector<std::string>{"-signalhandler"}, runs[0].args);
  std::string p = std::to_string(pid), v = std::to_string(vm), t = std::to_string(runs[0].pid);
  std::vector<std::string> expected = {
      "DFX_SignalHandler :: sig(11), pid(" + p + "), tid(" + p + ").",
      "Start wait for VmProcess(" + v + ") exit.",
      "Start DoProcessDump in VmProcess(" + v + ").",
      "(" + v + ") wait for process(" + t + ") return with ret(" + t + ") status(0) timeout(0)",
      "(" + p + ") wait for VmProcess(" + v + ") return with ret(" + v + ") status(0)",
  };
  if (!emulated) expected.push_back("Finish handle signal(11) in " + p + ":" + p);
  std::vector<std::string> log = run.log;
  // The crashing process and the VmProcess log their first lines in either order.
  if (log.size() > 2 && log[2] == expected[1]) std::swap(log[1], log[2]);
  EXPECT_EQ(expected, log) << Describe(run);
}

TEST(DfxGuestCrash, null_load_in_second_thread_parks_the_main_thread) {
  DumpTool tool;
  GuestRun run = RunGuest(tool, "thread");
  if (!EmulatorRefusedRequeue(run)) {
    EXPECT_TRUE(run.child.KilledBy(SIGSEGV)) << Describe(run);
  }
  std::vector<ToolRun> runs = tool.Runs();
  ASSERT_EQ(1u, runs.size()) << Describe(run);
  const WireRecord& r = runs[0].record;
  int pid = run.child.pid, tid = r.tid();
  EXPECT_EQ(SIGSEGV, r.signal());
  EXPECT_EQ(pid, r.pid());
  EXPECT_NE(pid, tid);
  EXPECT_EQ("dfx-main", r.thread_name());  // the main thread's name, whoever crashed
  std::string p = std::to_string(pid), t = std::to_string(tid);
  ASSERT_LE(2u, run.log.size()) << Describe(run);
  EXPECT_EQ("Crash(11) in child thread(" + t + "), try stop main thread.", run.log[0]);
  EXPECT_EQ("DFX_SignalHandler :: sig(11), pid(" + p + "), tid(" + t + ").", run.log[1]);
}
