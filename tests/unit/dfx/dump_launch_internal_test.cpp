// The dump tool's launch on its own: what the tool receives, and the caller's state afterwards.
#include <errno.h>
#include <pthread.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "dfx/dump_fixture.h"
#include "dfx/signal_handler.h"

namespace {

// Runs DoProcessDump as the handler leaves it (mutex held, flag set); exits 0 when the caller's
// state was restored.
void DumpAndCheckState() {
  pthread_mutex_lock(&g_dumpMutex);
  g_dumping = 1;
  DoProcessDump(nullptr);
  bool unlocked = pthread_mutex_trylock(&g_dumpMutex) == 0;
  _exit(unlocked && g_dumping == 0 ? 0 : 1);
}

class DfxDumpLaunch : public testing::Test {
 protected:
  FakeLogDaemon daemon_;
};

}  // namespace

TEST_F(DfxDumpLaunch, tool_gets_the_record_on_stdin_and_null_stdout) {
  DumpTool tool;
  for (size_t i = 0; i < sizeof(g_dumpRequest); ++i) {
    reinterpret_cast<uint8_t*>(&g_dumpRequest)[i] = static_cast<uint8_t>(i * 7 + 1);
  }
  ChildRun run = RunChild(daemon_, DumpAndCheckState);
  EXPECT_TRUE(run.ExitedWith(0)) << Describe(run);
  std::vector<ToolRun> runs = tool.Runs();
  ASSERT_EQ(1u, runs.size());
  const ToolRun& dump = runs[0];
  DfxDumpRequest expected = g_dumpRequest;
  expected.recycle_tid = run.pid;
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(&expected), sizeof(expected)),
            dump.record.bytes);
  EXPECT_EQ(std::vector<std::string>{"-signalhandler"}, dump.args);
  ASSERT_EQ(3u, dump.fds.size());
  EXPECT_EQ(0u, dump.fds[0].rfind("pipe:", 0)) << dump.fds[0];
  EXPECT_EQ("/dev/null", dump.fds[1]);
  EXPECT_EQ("/dev/null", dump.fds[2]);
  // Permitted capabilities come along as inheritable and ambient ones.
  std::string prm = dump.caps.substr(dump.caps.find("CapPrm:") + 7, 18);
  EXPECT_NE(std::string::npos, dump.caps.find("CapInh:" + prm)) << dump.caps;
  EXPECT_NE(std::string::npos, dump.caps.find("CapAmb:" + prm)) << dump.caps;

  std::string p = std::to_string(run.pid), t = std::to_string(dump.pid);
  std::vector<std::string> expected_log = {
      "execl processdump.",
      "(" + p + ") wait for process(" + t + ") return with ret(" + t + ") status(0) timeout(0)",
  };
  EXPECT_EQ(expected_log, run.Messages());
}

TEST_F(DfxDumpLaunch, missing_tool_ends_the_child_with_execs_errno) {
  kelphost_set_processdump_path("/nonexistent/processdump");
  ChildRun run = RunChild(daemon_, DumpAndCheckState);
  kelphost_set_processdump_path(nullptr);
  EXPECT_TRUE(run.ExitedWith(0)) << Describe(run);
  std::vector<std::string> messages = run.Messages();
  ASSERT_EQ(3u, messages.size()) << Describe(run);
  EXPECT_EQ("execl processdump.", messages[0]);
  EXPECT_EQ("Failed to execl processdump, errno: 2(No such file or directory)", messages[1]);
  std::string p = std::to_string(run.pid);
  EXPECT_EQ(0u, messages[2].rfind("(" + p + ") wait for process(", 0)) << messages[2];
  EXPECT_NE(std::string::npos, messages[2].find(" status(512) timeout(0)")) << messages[2];
}
