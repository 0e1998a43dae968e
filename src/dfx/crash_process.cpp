// The crash path of the signal handler: a forked copy of the crashing process (the VmProcess)
// launches the dump tool while the crashing thread waits. Signal context: stack, static storage
// and raw system calls only; the raw fork runs no fork handlers.
#include <errno.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "async_safe/raw_syscall.h"
#include "dfx/proc_info.h"
#include "dfx/signal_handler.h"

namespace {

// What the handler changed so that the dump tool may trace the process.
struct TraceAccess {
  long dumpable;
  bool reset_ptracer;
};

TraceAccess AllowTracing() {
  TraceAccess access = {RawPrctl(PR_GET_DUMPABLE, 0), false};
  if (RawPrctl(PR_SET_DUMPABLE, 1) < 0) {
    DFX_LOG("Failed to set dumpable.");
    return access;
  }
  long result = RawPrctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY);
  if (result < 0 && result != -EINVAL) {
    DFX_LOG("Failed to set ptracer.");
  } else {
    access.reset_ptracer = true;
  }
  return access;
}

void RestoreTracing(const TraceAccess& access) {
  RawPrctl(PR_SET_DUMPABLE, static_cast<unsigned long>(access.dumpable));
  if (access.reset_ptracer) RawPrctl(PR_SET_PTRACER, 0);
}

[[noreturn]] void RunVmProcess() {
  g_dumpRequest.vm_pid = RawPid();
  DFX_LOG("Start DoProcessDump in VmProcess(%d).", g_dumpRequest.vm_pid);
  alarm(10);  // SIGALRM is not handled: the VmProcess lives 10 seconds at most
  DoProcessDump(nullptr);
  _exit(0);
}

}  // namespace

long RawPrctl(int option, unsigned long arg) {
  return RawSyscall(__NR_prctl, option, static_cast<long>(arg), 0, 0, 0);
}

void DumpCrashedProcess() {
  TraceAccess access = AllowTracing();
  long child = RawSyscall(__NR_fork);
  if (child == 0) RunVmProcess();
  if (child < 0) {
    // The wording of the platform's log, although the call is a fork.
    DFX_LOG("Failed to vfork child process, errno(%d).", static_cast<int>(-child));
    RestoreTracing(access);
    DoProcessDump(nullptr);
    return;
  }
  DFX_LOG("Start wait for VmProcess(%d) exit.", static_cast<int>(child));
  int status = 0;
  long result = RawSyscall(__NR_wait4, child, reinterpret_cast<long>(&status), 0, 0);
  RestoreTracing(access);
  DFX_LOG("(%d) wait for VmProcess(%d) return with ret(%d) status(%d)", RawPid(),
          static_cast<int>(child), result < 0 ? -1 : static_cast<int>(result), status);
}
