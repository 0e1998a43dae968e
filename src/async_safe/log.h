// The adaptor's allocation-free, lock-free formatter and log writer. Safe in signal handlers
// and allocator hooks: stack, static storage and raw system calls only; errno is preserved.
#pragma once

#include <stdarg.h>
#include <stddef.h>

extern "C" {
int async_safe_format_buffer(char* buf, size_t size, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));
int async_safe_format_buffer_va_list(char* buf, size_t size, const char* fmt, va_list args);
int async_safe_format_fd(int fd, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
int async_safe_format_fd_va_list(int fd, const char* fmt, va_list args);
int async_safe_format_log(int priority, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));
int async_safe_format_log_va_list(int priority, const char* tag, const char* fmt, va_list args);
int async_safe_write_log(int priority, const char* tag, const char* msg);
void async_safe_fatal_no_abort(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
void async_safe_fatal_va_list(const char* prefix, const char* fmt, va_list args);
}

// Android log priorities and the adaptor's tags.
enum LogPriority { kLogInfo = 4, kLogWarn = 5, kLogError = 6, kLogFatal = 7 };
inline constexpr char kAdaptorTag[] = "KELP_LIBC_ADAPTOR";
inline constexpr char kAdaptorDebugTag[] = "KELP_LIBC_ADAPTOR_DEBUG";

// One adaptor log line: KELP_LOG(kLogError, "mq_open unsupported api.");
#define KELP_LOG(priority, ...) async_safe_format_log((priority), kAdaptorTag, __VA_ARGS__)
