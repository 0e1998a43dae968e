// Launch of the platform's dump tool: a forked child execs it with the crash record on its
// standard input, and the caller waits for it, 30 seconds at most. Runs in the SIGDUMP dump
// thread, in the VmProcess or in the crashing thread: stack, static storage and raw system calls
// only until the exec.
#include <errno.h>
#include <fcntl.h>
#include <linux/capability.h>
#include <signal.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include "async_safe/raw_syscall.h"
#include "dfx/proc_info.h"
#include "dfx/signal_handler.h"
#include "host/crash_dump.h"

namespace {

constexpr long kWaitLimitSeconds = 30;
constexpr int kDescriptorLimit = 1024;

int g_contextPipe[2] = {-1, -1};  // read end, write end

struct KernelTimespec {
  int32_t sec;
  int32_t nsec;
};

long NowSeconds() { return static_cast<long>(GetTimeMilliseconds() / 1000); }

void SleepTenMilliseconds() {
  KernelTimespec wait = {0, 10 * 1000 * 1000};
  RawSyscall(__NR_nanosleep, reinterpret_cast<long>(&wait), 0);
}

// The caller's side of every way out: the next dump request may be served.
void FinishDump(long dumpable) {
  g_dumping = 0;
  RawPrctl(PR_SET_DUMPABLE, static_cast<unsigned long>(dumpable));
}

void WaitForTool(long child, long start) {
  int status = 0;
  int timeout = 0;
  long result;
  while (true) {
    result = RawSyscall(__NR_wait4, child, reinterpret_cast<long>(&status), WNOHANG, 0);
    if (result < 0) {
      DFX_LOG("Failed to wait child process terminated, errno(%d)", static_cast<int>(-result));
      return;
    }
    if (result == child) break;
    if (NowSeconds() - start > kWaitLimitSeconds) {
      timeout = 1;  // left running: the alarm set before the exec ends it
      break;
    }
    SleepTenMilliseconds();
  }
  DFX_LOG("(%d) wait for process(%d) return with ret(%d) status(%d) timeout(%d)",
          g_dumpRequest.recycle_tid, static_cast<int>(child), static_cast<int>(result), status,
          timeout);
}

long Dup2(int from, int to) {
  return RawRetry([&] { return RawSyscall(__NR_dup2, from, to); });
}

// The signals the crash handler takes: a fault in the child must not re-enter it.
void BlockCrashSignals() {
  uint64_t set = 0;
  for (int sig : kDfxSignals) set |= uint64_t{1} << (sig - 1);
  RawSyscall(__NR_rt_sigprocmask, SIG_BLOCK, reinterpret_cast<long>(&set), 0, sizeof(set));
}

void RedirectStandardDescriptors() {
  for (int fd = 0; fd < kDescriptorLimit; ++fd) RawSyscall(__NR_close, fd);
  long null_fd =
      RawRetry([] { return RawSyscall(__NR_open, reinterpret_cast<long>("/dev/null"), O_RDWR); });
  if (null_fd < 0) {
    DFX_LOG("Failed to open dev/null.");
    return;
  }
  Dup2(static_cast<int>(null_fd), 1);
  Dup2(static_cast<int>(null_fd), 2);
  RawSyscall(__NR_close, null_fd);
  BlockCrashSignals();
}

// Bounds the child, and the tool that replaces it, to 10 seconds.
void ArmAlarm() {
  if (signal(SIGALRM, SIG_DFL) == SIG_ERR) DFX_LOG("signal error!");
  uint64_t set = uint64_t{1} << (SIGALRM - 1);
  RawSyscall(__NR_rt_sigprocmask, SIG_UNBLOCK, reinterpret_cast<long>(&set), 0, sizeof(set));
  alarm(10);
}

// Puts the record into a pipe and the pipe's read end on descriptor 0; 0 or an exit code.
int SendRecordOnStdin() {
  if (RawSyscall(__NR_pipe, reinterpret_cast<long>(g_contextPipe)) < 0) {
    DFX_LOG("Failed to create pipe for transfering context.");
    return 1;
  }
  // The whole record must fit before the tool starts reading.
  long capacity = RawSyscall(__NR_fcntl64, g_contextPipe[1], F_SETPIPE_SZ, sizeof(DfxDumpRequest));
  if (capacity < static_cast<long>(sizeof(DfxDumpRequest))) {
    DFX_LOG("Failed to set pipe buffer size.");
    return 2;
  }
  iovec record = {&g_dumpRequest, sizeof(g_dumpRequest)};
  long written = RawRetry([&] {
    return RawSyscall(__NR_writev, g_contextPipe[1], reinterpret_cast<long>(&record), 1);
  });
  if (written != static_cast<long>(sizeof(g_dumpRequest))) {
    DFX_LOG("Failed to write pipe.");
    return 3;
  }
  Dup2(g_contextPipe[0], 0);
  if (g_contextPipe[0] != 0) RawSyscall(__NR_close, g_contextPipe[0]);
  RawSyscall(__NR_close, g_contextPipe[1]);
  return 0;
}

// The tool keeps the crashing process's capabilities across the exec: each permitted one
// becomes inheritable and ambient.
bool InheritCapabilities() {
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct data[2] = {};
  if (RawSyscall(__NR_capget, reinterpret_cast<long>(&header), reinterpret_cast<long>(data)) < 0) {
    DFX_LOG("Failed to get origin cap data");
    return false;
  }
  data[0].inheritable = data[0].permitted;
  data[1].inheritable = data[1].permitted;
  if (RawSyscall(__NR_capset, reinterpret_cast<long>(&header), reinterpret_cast<long>(data)) < 0) {
    DFX_LOG("Failed to set cap data");
    return false;
  }
  uint64_t inheritable = (uint64_t{data[1].inheritable} << 32) | data[0].inheritable;
  for (int cap = 0; cap < 64; ++cap) {
    if ((inheritable >> cap & 1) == 0) continue;
    RawSyscall(__NR_prctl, PR_CAP_AMBIENT, PR_CAP_AMBIENT_RAISE, cap, 0, 0);
  }
  return true;
}

}  // namespace

int DFX_ExecDump(void*) {
  RedirectStandardDescriptors();
  ArmAlarm();
  if (int code = SendRecordOnStdin(); code != 0) return code;
  if (!InheritCapabilities()) {
    DFX_LOG("Failed to inherit Capabilities from parent.");
    return 4;
  }
  DFX_LOG("execl processdump.");
  execl(KelpProcessDumpPath(), "processdump", "-signalhandler", nullptr);
  int error = errno;
  DFX_LOG("Failed to execl processdump, errno: %d(%s)", error, strerror(error));
  return error;
}

int DoProcessDump(void*) {
  long start = NowSeconds();
  g_dumpRequest.recycle_tid = RawTid();
  long dumpable = RawPrctl(PR_GET_DUMPABLE, 0);
  if (RawPrctl(PR_SET_DUMPABLE, 1) < 0) {
    DFX_LOG("Failed to set dumpable.");
    FinishDump(dumpable);
    pthread_mutex_unlock(&g_dumpMutex);
    return 0;
  }
  long traced = RawPrctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY);
  if (traced < 0 && traced != -EINVAL) {
    DFX_LOG("Failed to set ptracer.");
    FinishDump(dumpable);
    pthread_mutex_unlock(&g_dumpMutex);
    return 0;
  }
  long child = RawSyscall(__NR_fork);
  if (child == 0) _exit(DFX_ExecDump(nullptr));
  if (child < 0) {
    DFX_LOG("Failed to fork child process, errno(%d).", static_cast<int>(-child));
  } else {
    WaitForTool(child, start);
  }
  FinishDump(dumpable);
  RawPrctl(PR_SET_PTRACER, 0);
  pthread_mutex_unlock(&g_dumpMutex);
  return 0;
}
