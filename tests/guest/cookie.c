/* Cookie streams through musl's headers: an in-memory stream (read, write, seek, close) and a
 * counting stream, driven with the ordinary stdio calls. Reads hand out at most 64 bytes per
 * call, as a pipe would. */
#define _GNU_SOURCE
#include <errno.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

struct memory {
  char data[4096];
  off_t size, pos;
  int reads, writes, closes;
};

static ssize_t mem_read(void* c, char* buf, size_t len) {
  struct memory* m = c;
  off_t left = m->size - m->pos;
  size_t n = len < 64 ? len : 64;
  if ((off_t)n > left) n = (size_t)left;
  memcpy(buf, m->data + m->pos, n);
  m->pos += (off_t)n;
  m->reads++;
  return (ssize_t)n;
}
static ssize_t mem_write(void* c, const char* buf, size_t len) {
  struct memory* m = c;
  if (m->pos + (off_t)len > (off_t)sizeof(m->data)) return -1;
  memcpy(m->data + m->pos, buf, len);
  m->pos += (off_t)len;
  if (m->pos > m->size) m->size = m->pos;
  m->writes++;
  return (ssize_t)len;
}
static int mem_seek(void* c, off_t* off, int whence) {
  struct memory* m = c;
  off_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? m->pos : m->size;
  if (base + *off < 0) return -1;
  m->pos = *off = base + *off;
  return 0;
}
static int mem_close(void* c) {
  ((struct memory*)c)->closes++;
  return 0;
}

/* A stream of 5 GiB + 100 bytes that only counts: its seek keeps the full 64-bit position. */
struct counter {
  long long pos, bytes, last_offset;
};
static ssize_t count_write(void* c, const char* buf, size_t len) {
  (void)buf;
  ((struct counter*)c)->bytes += (long long)len;
  return (ssize_t)len;
}
static int count_seek(void* c, off_t* off, int whence) {
  struct counter* k = c;
  k->last_offset = *off;
  long long base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? k->pos : (5LL << 30) + 100;
  k->pos = *off = base + *off;
  return 0;
}
/* Reads everything asked for, unlike mem_read. */
static ssize_t fill_read(void* c, char* buf, size_t len) {
  struct memory* m = c;
  size_t n = (size_t)(m->size - m->pos) < len ? (size_t)(m->size - m->pos) : len;
  for (size_t i = 0; i < n; ++i) buf[i] = (char)('a' + (m->pos + (off_t)i) % 26);
  m->pos += (off_t)n;
  return (ssize_t)n;
}
static ssize_t fail_read(void* c, char* buf, size_t len) {
  (void)c, (void)buf, (void)len;
  return -1;
}

static void memory_stream(void) {
  static struct memory m;
  cookie_io_functions_t io = {mem_read, mem_write, mem_seek, mem_close};
  FILE* f = fopencookie(&m, "w+", io);
  int n = fprintf(f, "line %d of %s\n", 1, "memory");
  fputs("second line\n", f);
  for (int i = 0; i < 300; ++i) fputc('a' + i % 26, f);
  fputc('\n', f);
  printf("fprintf %d, before flush size %lld writes %d\n", n, (long long)m.size, m.writes);
  printf("fflush %d, after flush size %lld\n", fflush(f), (long long)m.size);
  printf("ftell %ld\n", ftell(f));
  printf("rewind/fseek %d ftell %ld\n", fseek(f, 0, SEEK_SET), ftell(f));
  char line[128];
  while (fgets(line, sizeof(line), f) != NULL) printf("fgets [%.*s]\n", (int)strcspn(line, "\n"), line);
  printf("feof %d ferror %d\n", feof(f) != 0, ferror(f) != 0);
  printf("fseek end-5 %d ftell %ld\n", fseek(f, -5, SEEK_END), ftell(f));
  char tail[8] = {0};
  printf("fread %zu [%.4s]\n", fread(tail, 1, sizeof(tail), f), tail);
  errno = 0;
  printf("fseek whence 3: %d errno %d\n", fseek(f, 0, 3), errno);
  printf("fclose %d closes %d\n", fclose(f), m.closes);
}

static void counting_stream(void) {
  struct counter k = {0, 0, 0};
  cookie_io_functions_t io = {NULL, count_write, count_seek, NULL};
  FILE* f = fopencookie(&k, "w", io);
  for (int i = 0; i < 1000; ++i) fprintf(f, "%04d,", i);
  size_t big = fwrite(memset((char[3000]){0}, 'x', 3000), 1, 3000, f);
  printf("fwrite %zu, counted before close %s\n", big, k.bytes < 8000 ? "partly" : "all");
  printf("fseeko end %d\n", fseeko(f, 0, SEEK_END));
  printf("callback position %lld, ftello %lld\n", k.pos, (long long)ftello(f));
  printf("fseeko -10 from end %d, offset given %lld\n", fseeko(f, -10, SEEK_END), k.last_offset);
  printf("fclose %d, counted %lld\n", fclose(f), k.bytes);
}

static void edge_cases(void) {
  static struct memory m;
  cookie_io_functions_t io = {mem_read, mem_write, mem_seek, mem_close};
  errno = 0;
  printf("mode x: %s errno %d\n", fopencookie(&m, "x", io) ? "stream" : "null", errno);
  FILE* f = fopencookie(&m, "", io);
  printf("mode empty: %s\n", f ? "stream" : "null");
  fclose(f);

  cookie_io_functions_t none = {NULL, NULL, NULL, NULL};
  f = fopencookie(&m, "r+", none);
  printf("null write: fwrite %zu fflush %d\n", fwrite("abc", 1, 3, f), fflush(f));
  errno = 0;
  printf("null seek: fseek %d errno %d\n", fseek(f, 0, SEEK_SET), errno);
  printf("null read: fgetc %d ferror %d\n", fgetc(f), ferror(f) != 0);
  fclose(f);

  m.size = m.pos = 0;
  f = fopencookie(&m, "r", io);
  printf("empty read: fgetc %d feof %d ferror %d\n", fgetc(f), feof(f) != 0, ferror(f) != 0);
  fclose(f);

  m.size = 2000, m.pos = 0;
  cookie_io_functions_t fill = {fill_read, NULL, NULL, NULL};
  f = fopencookie(&m, "r", fill);
  int c0 = fgetc(f);
  printf("filling read: first bytes %c%c\n", c0, fgetc(f));
  fclose(f);

  cookie_io_functions_t bad = {fail_read, NULL, NULL, NULL};
  f = fopencookie(&m, "r", bad);
  printf("failing read: fgetc %d feof %d ferror %d\n", fgetc(f), feof(f) != 0, ferror(f) != 0);
  fclose(f);
}

int main(void) {
  memory_stream();
  counting_stream();
  edge_cases();
  return 0;
}
