// A test's own temporary directory under $TMPDIR, removed with everything in it.
#pragma once

#include <stdlib.h>

#include <string>

#include <gtest/gtest.h>

inline std::string MakeTempDir(const char* prefix) {
  const char* tmp = getenv("TMPDIR");
  std::string path = std::string(tmp != nullptr ? tmp : "/tmp") + "/" + prefix + ".XXXXXX";
  EXPECT_NE(nullptr, mkdtemp(path.data()));
  return path;
}

// Removes a tree, also one a test made unreadable.
inline void RemoveTree(const std::string& path) {
  std::string command = "chmod -R u+rwx '" + path + "' 2>/dev/null; rm -rf '" + path + "'";
  EXPECT_EQ(0, system(command.c_str()));
}

class TempDir {
 public:
  TempDir() : path_(MakeTempDir("kelp-test")) {}
  ~TempDir() { RemoveTree(path_); }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }
  std::string Path(const char* name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};
