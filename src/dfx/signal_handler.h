// Crash handling: the crash signal handler, the crash record it fills and the launch of the
// platform's dump tool. Everything reached from the handler is async-signal-safe: stack, static
// storage and raw system calls only (no allocator, no stdio, no locks but the dump mutex).
#pragma once

#include <pthread.h>
#include <signal.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include "async_safe/log.h"

// The dump request signal: another party asks a live process for its stacks.
inline constexpr int SIGDUMP = 35;

// The signals the handler takes, in the order it registers them.
inline constexpr int kDfxSignals[] = {SIGABRT, SIGBUS,    SIGDUMP, SIGFPE, SIGILL,
                                      SIGSEGV, SIGSTKFLT, SIGSYS,  SIGTRAP};

// The crash record: written unchanged to the dump tool's standard input.
struct DfxDumpRequest {
  int32_t signal;
  int32_t tid;          // thread that received the signal
  int32_t recycle_tid;  // thread that runs DoProcessDump
  int32_t pid;
  int32_t vm_pid;  // the forked VmProcess, crash path only
  int32_t uid;
  uint64_t reserved;
  uint64_t timestamp;  // milliseconds since the epoch
  uint8_t siginfo[128];
  uint8_t context[744];
  char thread_name[128];
  char process_name[128];
  char fatal_message[1024];
  uint8_t trace_id[16];
};
static_assert(sizeof(DfxDumpRequest) == 2208);
static_assert(offsetof(DfxDumpRequest, signal) == 0);
static_assert(offsetof(DfxDumpRequest, tid) == 4);
static_assert(offsetof(DfxDumpRequest, recycle_tid) == 8);
static_assert(offsetof(DfxDumpRequest, pid) == 12);
static_assert(offsetof(DfxDumpRequest, vm_pid) == 16);
static_assert(offsetof(DfxDumpRequest, uid) == 20);
static_assert(offsetof(DfxDumpRequest, reserved) == 24);
static_assert(offsetof(DfxDumpRequest, timestamp) == 32);
static_assert(offsetof(DfxDumpRequest, siginfo) == 40);
static_assert(offsetof(DfxDumpRequest, context) == 168);
static_assert(offsetof(DfxDumpRequest, thread_name) == 912);
static_assert(offsetof(DfxDumpRequest, process_name) == 1040);
static_assert(offsetof(DfxDumpRequest, fatal_message) == 1168);
static_assert(offsetof(DfxDumpRequest, trace_id) == 2192);
static_assert(sizeof(siginfo_t) == 128);

struct DfxProcStatus {
  int32_t tid;
  int32_t pid;
  int32_t ppid;
  bool pid_is_one;  // first process of its own pid namespace (a sandbox)
};

// State shared by the handler and the dump launch.
extern DfxDumpRequest g_dumpRequest;
extern DfxProcStatus g_procStatus;
extern pthread_mutex_t g_dumpMutex;
extern uint8_t g_dumping;     // a dump is in progress
extern void* g_dumpStackTop;  // of the SIGDUMP dump thread

// Every crash-handling log line: priority 4 under the debug tag.
#define DFX_LOG(...) async_safe_format_log(kLogInfo, kAdaptorDebugTag, __VA_ARGS__)

extern "C" {
void DFX_InstallSignalHandler();
int GetProcStatus(DfxProcStatus* status);
uint64_t GetTimeMilliseconds();
bool ReadStringFromFile(const char* path, char* out, size_t len);
bool GetThreadName(char* out, size_t len);
bool GetProcessName(char* out, size_t len);
}

void DFX_SignalHandler(int sig, siginfo_t* info, void* context);
void ResetSignalHandlerIfNeed(int sig);
// A real crash: hands the record to the dump tool from a forked VmProcess and waits for it.
void DumpCrashedProcess();
// Copies the process's abort message, unless it is longer than the field.
void CopyAbortMessage(char* out, size_t size);
long RawPrctl(int option, unsigned long arg);

int DoProcessDump(void* arg);
int DFX_ExecDump(void* arg);
