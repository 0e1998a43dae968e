// Functions the adaptor provides: regexec on the mapped host object, the hash search table, and
// message catalogs. Their entries are looked up at run time, so each row runs once its family
// is part of the library and is skipped, with a note, before that.
#include <libintl.h>
#include <locale.h>
#include <regex.h>
#include <search.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "catalog.h"
#include "pair.h"

namespace {

// regexec: the guest object keeps the host object's address; execution passes straight on.
constexpr char kPattern[] = "^([a-z]+)@([a-z]+)\\.com$";
constexpr char kSubject[] = "someone@example.com";
constexpr int kExtended = 1;  // REG_EXTENDED, numbered alike
constexpr size_t kMatches = 3;

struct GuestRegex {
  uint32_t words[8];
};

void AdaptorRegexec(benchmark::State& state) {
  using Comp = int (*)(GuestRegex*, const char*, int);
  using Exec = int (*)(const GuestRegex*, const char*, size_t, regmatch_t*, int);
  static const auto comp = bench::Adaptor<Comp>("kelp_adaptor_regcomp");
  static const auto exec = bench::Adaptor<Exec>("kelp_adaptor_regexec");
  static const auto release = bench::Adaptor<void (*)(GuestRegex*)>("kelp_adaptor_regfree");
  if (!bench::Present(state, reinterpret_cast<void*>(exec), "kelp_adaptor_regexec")) return;
  GuestRegex re = {};
  if (comp(&re, kPattern, kExtended) != 0) {
    state.SkipWithError("kelp_adaptor_regcomp failed");
    return;
  }
  regmatch_t match[kMatches];
  for (auto _ : state) benchmark::DoNotOptimize(exec(&re, kSubject, kMatches, match, 0));
  release(&re);
}

void HostRegexec(benchmark::State& state) {
  using Comp = int (*)(void*, const char*, int);
  using Exec = int (*)(const void*, const char*, size_t, regmatch_t*, int);
  static const auto comp = bench::Host<Comp>("regcomp");
  static const auto exec = bench::Host<Exec>("regexec");
  static const auto release = bench::Host<void (*)(void*)>("regfree");
  alignas(8) unsigned char re[64] = {};  // room for either host's regex_t
  if (comp(re, kPattern, REG_EXTENDED) != 0) {
    state.SkipWithError("host regcomp failed");
    return;
  }
  regmatch_t match[kMatches];
  for (auto _ : state) benchmark::DoNotOptimize(exec(re, kSubject, kMatches, match, 0));
  release(re);
}
KELP_BENCH_PAIR("kelp_adaptor_regexec", AdaptorRegexec, HostRegexec);

// hsearch FIND of a present key in a table of 32 entries.
constexpr int kKeys = 32;
char g_keys[kKeys][16];

void FillKeys() {
  for (int i = 0; i < kKeys; ++i) snprintf(g_keys[i], sizeof(g_keys[i]), "key-%d", i);
}

template <typename Create, typename Search, typename Destroy>
void RunHsearch(benchmark::State& state, Create create, Search search, Destroy destroy) {
  FillKeys();
  create(2 * kKeys);
  for (auto& key : g_keys) search(ENTRY{key, key}, ENTER);
  ENTRY probe = {g_keys[kKeys / 2], nullptr};
  for (auto _ : state) benchmark::DoNotOptimize(search(probe, FIND));
  destroy();
}

void AdaptorHsearch(benchmark::State& state) {
  static const auto create = bench::Adaptor<int (*)(size_t)>("kelp_adaptor_hcreate");
  static const auto search = bench::Adaptor<ENTRY* (*)(ENTRY, ACTION)>("kelp_adaptor_hsearch");
  static const auto destroy = bench::Adaptor<void (*)()>("kelp_adaptor_hdestroy");
  if (!bench::Present(state, reinterpret_cast<void*>(search), "kelp_adaptor_hsearch")) return;
  RunHsearch(state, create, search, destroy);
}

void HostHsearch(benchmark::State& state) { RunHsearch(state, hcreate, hsearch, hdestroy); }
KELP_BENCH_PAIR("kelp_adaptor_hsearch (FIND)", AdaptorHsearch, HostHsearch);

// dcngettext, a hit and a miss in a loaded catalog. bionic has no gettext: the host half is
// glibc's, found through LANGUAGE under C.UTF-8 since no other locale is installed here.
using Dcngettext = char* (*)(const char*, const char*, const char*, unsigned long, int);
constexpr int kMessages = 5;  // LC_MESSAGES, numbered alike

void RunDcngettext(benchmark::State& state, Dcngettext fn, const char* msgid1,
                   const char* expected) {
  if (strcmp(fn(bench::kDomain, msgid1, "plural", 2, kMessages), expected) != 0) {
    state.SkipWithError("the catalog was not found");
    return;
  }
  for (auto _ : state) benchmark::DoNotOptimize(fn(bench::kDomain, msgid1, "plural", 2, kMessages));
}

// The adaptor's dcngettext with its locale and binding set up, or null.
Dcngettext AdaptorGettext(benchmark::State& state) {
  static const auto fn = bench::Adaptor<Dcngettext>("dcngettext");
  static const auto bind = bench::Adaptor<char* (*)(const char*, const char*)>("bindtextdomain");
  static const auto set = bench::Adaptor<char* (*)(int, const char*)>("kelp_adaptor_setlocale");
  if (!bench::Present(state, reinterpret_cast<void*>(fn), "dcngettext") ||
      !bench::Present(state, reinterpret_cast<void*>(set), "kelp_adaptor_setlocale")) {
    return nullptr;
  }
  set(kMessages, bench::kLocale);
  bind(bench::kDomain, bench::CatalogDir());
  return fn;
}

// glibc's dcngettext with the same catalog; the locale is restored by the destructor.
class HostGettext {
 public:
  HostGettext() {
    setlocale(LC_ALL, "C.UTF-8");
    setenv("LANGUAGE", bench::kLocale, 1);
    bindtextdomain(bench::kDomain, bench::CatalogDir());
  }
  ~HostGettext() {
    unsetenv("LANGUAGE");
    setlocale(LC_ALL, "C");
  }
  Dcngettext get() const { return dcngettext; }
};

void AdaptorGettextHit(benchmark::State& state) {
  if (Dcngettext fn = AdaptorGettext(state)) RunDcngettext(state, fn, "apple", "Aepfel");
}
void HostGettextHit(benchmark::State& state) {
  HostGettext host;
  RunDcngettext(state, host.get(), "apple", "Aepfel");
}
KELP_BENCH_PAIR("dcngettext (hit)", AdaptorGettextHit, HostGettextHit);

void AdaptorGettextMiss(benchmark::State& state) {
  if (Dcngettext fn = AdaptorGettext(state)) RunDcngettext(state, fn, "pear", "plural");
}
void HostGettextMiss(benchmark::State& state) {
  HostGettext host;
  RunDcngettext(state, host.get(), "pear", "plural");
}
KELP_BENCH_PAIR("dcngettext (miss)", AdaptorGettextMiss, HostGettextMiss);

}  // namespace
