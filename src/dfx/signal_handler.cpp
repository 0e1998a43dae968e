// The crash signal handler. It runs in signal context: stack, static storage and raw system
// calls only; the only lock is the dump mutex, which serialises crashing threads.
//
// A crash fills the crash record, forks a VmProcess that hands the record to the dump tool,
// waits for it, restores the signal's previous action and re-queues the signal so that the
// process dies as it would have without us. SIGDUMP dumps a live process from a cloned thread.
#include "dfx/signal_handler.h"

#include <sched.h>
#include <signal.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "async_safe/raw_syscall.h"
#include "core/export.h"
#include "dfx/proc_info.h"
#include "host/crash_dump.h"

DfxDumpRequest g_dumpRequest;
DfxProcStatus g_procStatus;
pthread_mutex_t g_dumpMutex = PTHREAD_MUTEX_INITIALIZER;
uint8_t g_dumping;

void* g_dumpStackTop;

namespace {

constexpr size_t kDumpStackSize = 16384;
constexpr int kSignalSlots = 65;

uint8_t g_installed;
struct sigaction g_savedActions[kSignalSlots];
int g_handledSignal = SIGDUMP;  // SIGDUMP: no crash handled yet

// Runs on the main thread while another thread's crash is handled: it cannot run on or exit
// before the dump is over.
void PauseMainThreadHandler(int sig) {
  pthread_mutex_lock(&g_dumpMutex);
  pthread_mutex_unlock(&g_dumpMutex);
  DFX_LOG("Crash(%d) in child thread(%d), exit main thread.", sig, g_procStatus.tid);
}

bool IsMainThread() {
  return g_procStatus.pid_is_one ? g_procStatus.tid == 1 : g_procStatus.tid == g_procStatus.pid;
}

void StopMainThread(int sig) {
  DFX_LOG("Crash(%d) in child thread(%d), try stop main thread.", sig, g_procStatus.tid);
  signal(SIGDUMP, PauseMainThreadHandler);
  long sent = RawSyscall(__NR_tgkill, g_procStatus.pid, g_procStatus.pid, SIGDUMP);
  if (sent < 0)
    DFX_LOG("Failed to send SIGDUMP to main thread, errno(%d).", static_cast<int>(-sent));
}

long Requeue(int pid, int tid, siginfo_t* info) {
  return RawSyscall(__NR_rt_tgsigqueueinfo, pid, tid, info->si_signo, reinterpret_cast<long>(info));
}

void FillRequest(int sig, siginfo_t* info, void* context) {
  DfxDumpRequest& request = g_dumpRequest;
  memset(&request, 0, sizeof(request));
  request.signal = sig;
  request.tid = RawTid();
  request.pid = g_procStatus.pid;
  request.uid = static_cast<int32_t>(RawSyscall(__NR_getuid32));
  request.timestamp = GetTimeMilliseconds();
  DFX_LOG("DFX_SignalHandler :: sig(%d), pid(%d), tid(%d).", request.signal, request.pid,
          request.tid);
  // The main thread's names, whichever thread crashed.
  ReadProcFile("/proc/%d/comm", request.thread_name, sizeof(request.thread_name));
  ReadProcFile("/proc/%d/cmdline", request.process_name, sizeof(request.process_name));
  memcpy(request.siginfo, info, sizeof(request.siginfo));
  memcpy(request.context, context, sizeof(request.context));
  if (MoxTraceGetId != nullptr) {
    MoxTraceId id = MoxTraceGetId();
    memcpy(request.trace_id, &id, sizeof(request.trace_id));
  }
  if (sig == SIGABRT) CopyAbortMessage(request.fatal_message, sizeof(request.fatal_message));
}

// A dump request: the cloned thread owns the rest of the dump and releases the mutex.
void DumpLiveProcess() {
  if (clone(DoProcessDump, g_dumpStackTop, CLONE_VM | CLONE_SIGHAND | CLONE_THREAD, nullptr) ==
      -1) {
    DFX_LOG("Failed to create thread for recycle dump process");
    pthread_mutex_unlock(&g_dumpMutex);
  }
}

}  // namespace

void ResetSignalHandlerIfNeed(int sig) {
  if (sig == SIGDUMP) return;  // stays installed for further dump requests
  if (g_savedActions[sig].sa_handler == SIG_DFL) {
    signal(sig, SIG_DFL);
    // A pid namespace's first process ignores the re-raised signal: leave at once.
    if (g_procStatus.pid == 1) {
      DFX_LOG("Sandbox process is about to exit with signal %d.", sig);
      _exit(sig);
    }
    return;
  }
  if (sigaction(sig, &g_savedActions[sig], nullptr) != 0) {
    DFX_LOG("Failed to reset signal.");
    signal(sig, SIG_DFL);
  }
}

void DFX_SignalHandler(int sig, siginfo_t* info, void* context) {
  if (sig == SIGDUMP && g_dumping != 0) {
    DFX_LOG("Current Process is dumping stacktrace now.");
    return;
  }
  pthread_mutex_lock(&g_dumpMutex);
  GetProcStatus(&g_procStatus);
  if (sig != SIGDUMP && !IsMainThread()) StopMainThread(sig);
  if (g_handledSignal != SIGDUMP) {
    // A crash is already being handled: die from this one the ordinary way. The mutex stays
    // locked, the process is about to end.
    ResetSignalHandlerIfNeed(sig);
    long sent = Requeue(g_procStatus.pid, g_procStatus.tid, info);
    if (sent < 0) {
      DFX_LOG("Failed to resend signal(%d), errno(%d).", info->si_signo, static_cast<int>(-sent));
    } else {
      DFX_LOG("Current process has encount a crash, rethrow sig(%d).", info->si_signo);
    }
    return;
  }
  g_dumping = 1;
  g_handledSignal = sig;
  FillRequest(sig, info, context);
  if (sig == SIGDUMP) {
    DumpLiveProcess();
  } else {
    DumpCrashedProcess();
    ResetSignalHandlerIfNeed(sig);
    // Blocked while the handler runs: delivered on return, with the restored action.
    long sent = Requeue(RawPid(), RawTid(), info);
    if (sent < 0) {
      DFX_LOG("Failed to resend signal(%d), errno(%d).", info->si_signo, static_cast<int>(-sent));
    }
    pthread_mutex_trylock(&g_dumpMutex);
    pthread_mutex_unlock(&g_dumpMutex);
  }
  DFX_LOG("Finish handle signal(%d) in %d:%d", sig, g_dumpRequest.pid, g_dumpRequest.tid);
}

KELP_EXPORT void DFX_InstallSignalHandler() {
  if (g_installed != 0) return;
  // The descriptor argument is ignored for an anonymous mapping.
  void* stack = mmap(nullptr, kDumpStackSize, PROT_READ | PROT_WRITE,
                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, 1, 0);
  if (stack == nullptr) {
    DFX_LOG("Failed to alloc memory for child stack.");
    return;
  }
  // The host's clone aligns the stack itself.
  g_dumpStackTop = static_cast<char*>(stack) + kDumpStackSize - 1;
  memset(g_savedActions, 0, sizeof(g_savedActions));
  struct sigaction action = {};
  action.sa_sigaction = DFX_SignalHandler;
  sigfillset(&action.sa_mask);
  action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
  for (int sig : kDfxSignals) {
    if (sigaction(sig, &action, &g_savedActions[sig]) != 0) {
      DFX_LOG("Failed to register signal(%d)", sig);
    }
  }
  g_installed = 1;
}
