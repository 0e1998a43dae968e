// A dump tool that never exits is abandoned after a little more than 30 seconds and left
// running. Slow: built and labelled apart from the unit tests ("slow").
#include <signal.h>
#include <time.h>

#include <string>

#include <gtest/gtest.h>

#include "dfx/dump_fixture.h"
#include "dfx/signal_handler.h"

TEST(DfxDumpLaunch, abandons_a_tool_that_never_exits) {
  FakeLogDaemon daemon;
  DumpTool tool(DumpTool::kHang);
  time_t start = time(nullptr);
  ChildRun run = RunChild(daemon, [] {
    pthread_mutex_lock(&g_dumpMutex);
    g_dumping = 1;
    DoProcessDump(nullptr);
    bool unlocked = pthread_mutex_trylock(&g_dumpMutex) == 0;
    _exit(unlocked && g_dumping == 0 ? 0 : 1);
  });
  time_t waited = time(nullptr) - start;
  std::string hung = ReadFile(tool.Path("hung.pid"));
  ASSERT_FALSE(hung.empty()) << Describe(run);
  pid_t tool_pid = atoi(hung.c_str());
  EXPECT_EQ(0, kill(tool_pid, 0)) << "the tool must be left running";
  kill(tool_pid, SIGKILL);
  EXPECT_TRUE(run.ExitedWith(0)) << Describe(run);
  EXPECT_GE(waited, 31);
  EXPECT_LE(waited, 40);
  std::string p = std::to_string(run.pid), t = std::to_string(tool_pid);
  std::vector<std::string> expected = {
      "execl processdump.",
      "(" + p + ") wait for process(" + t + ") return with ret(0) status(0) timeout(1)",
  };
  EXPECT_EQ(expected, run.Messages());
  EXPECT_EQ(1u, tool.Runs().size());
}
