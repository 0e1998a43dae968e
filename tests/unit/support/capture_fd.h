// Captures what is written to a file descriptor (e.g. 2) while the object lives.
#pragma once

#include <stdio.h>
#include <unistd.h>

#include <string>

class CaptureFd {
 public:
  explicit CaptureFd(int fd) : fd_(fd), file_(tmpfile()), saved_(dup(fd)) {
    fflush(nullptr);
    dup2(fileno(file_), fd_);
  }
  ~CaptureFd() { Restore(); }
  CaptureFd(const CaptureFd&) = delete;
  CaptureFd& operator=(const CaptureFd&) = delete;

  // Stops capturing and returns everything written.
  std::string Text() {
    Restore();
    std::string text;
    rewind(file_);
    char buffer[512];
    size_t n;
    while ((n = fread(buffer, 1, sizeof(buffer), file_)) > 0) text.append(buffer, n);
    return text;
  }

 private:
  void Restore() {
    if (saved_ < 0) return;
    fflush(nullptr);
    dup2(saved_, fd_);
    close(saved_);
    saved_ = -1;
  }
  int fd_;
  FILE* file_;
  int saved_;
};
