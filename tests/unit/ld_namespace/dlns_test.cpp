// The guest's dlns_* interface on the stand-in Android linker: results, what Android was asked,
// and the log lines.
#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <vector>

#include "ld_namespace/linker_support.h"
#include "support/fake_log_daemon.h"

namespace {

constexpr char kSystemLibraries[] =
    "libc.so:libm.so:libdl.so:libdl_android.so:libkelpadaptor.so:libEGL.so:libGLESv3.so";

bool IsAospLink(const KelphostLink& link, const android_namespace_t* from) {
  return link.from == from && link.to == Exported("aosp") && !link.all_libs &&
         std::string(kSystemLibraries) == link.shared_libs;
}

}  // namespace

TEST(dlns, init_stores_the_name_truncated_and_terminated) {
  const std::string long_name(300, 'n');
  struct Case {
    const char* name;
    std::string stored;
  } cases[] = {
      {"ns", "ns"}, {nullptr, ""}, {"", ""}, {long_name.c_str(), long_name.substr(0, 255)}};
  for (const Case& c : cases) {
    DlnsRecord record;
    memset(&record, 'x', sizeof(record));
    dlns_init(&record, c.name);
    EXPECT_EQ(c.stored, record.name) << (c.name ? c.name : "(null)");
  }
  dlns_init(nullptr, "ignored");
  DlnsRecord record = Record("itself");
  dlns_init(&record, record.name);
  EXPECT_STREQ("itself", record.name);
}

TEST(dlns, create2_chooses_type_and_parent_and_links_under_default) {
  struct Case {
    const char* name;
    int flags;
    uint64_t type;
    const char* parent;  // exported name, or null
    bool warns;
  } cases[] = {
      {"create-flags-1", 1, ANDROID_NAMESPACE_TYPE_SHARED, "default", false},
      {"create-flags-3", 3, ANDROID_NAMESPACE_TYPE_SHARED, "default", false},
      {"create-flags-2", 2, ANDROID_NAMESPACE_TYPE_REGULAR, "default", true},
      {"create-flags-0", 0, ANDROID_NAMESPACE_TYPE_REGULAR, nullptr, false},
      {"create-flags-4", 4, ANDROID_NAMESPACE_TYPE_REGULAR, nullptr, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    FakeLogDaemon daemon;
    size_t namespaces = kelphost_namespace_count(), links = kelphost_link_count();
    DlnsRecord record = Record(c.name);
    ASSERT_EQ(0, dlns_create2(&record, "/lib/path:/other", c.flags));
    ASSERT_EQ(namespaces + 1, kelphost_namespace_count());
    const android_namespace_t* ns = kelphost_namespace_at(namespaces);
    EXPECT_STREQ(c.name, ns->name);
    EXPECT_TRUE(ns->ld_library_path_null);
    EXPECT_STREQ("/lib/path:/other", ns->default_library_path);
    EXPECT_TRUE(ns->permitted_when_isolated_path_null);
    EXPECT_EQ(c.type, ns->type);
    EXPECT_EQ(c.parent ? Exported(c.parent) : nullptr, ns->parent);
    auto made = LinksSince(links);
    if (c.parent != nullptr) {
      ASSERT_EQ(1u, made.size());
      EXPECT_TRUE(IsAospLink(made[0], ns)) << made[0].shared_libs;
    } else {
      EXPECT_TRUE(made.empty());
    }
    auto records = daemon.Drain();
    ASSERT_EQ(c.warns ? 1u : 0u, records.size());
    if (c.warns) {
      EXPECT_EQ("can't get current ns, just using default ns", records[0].message);
      EXPECT_EQ(5, records[0].priority);
    }
  }
}

TEST(dlns, create_results) {
  FakeLogDaemon daemon;
  EXPECT_EQ(22, dlns_create2(nullptr, "/p", 1));
  EXPECT_EQ(22, dlns_create(nullptr, "/p"));

  DlnsRecord twice = Record("create-twice");
  ASSERT_EQ(0, dlns_create(&twice, "/first"));
  size_t namespaces = kelphost_namespace_count(), links = kelphost_link_count();
  EXPECT_EQ(17, dlns_create2(&twice, "/second", 0));
  EXPECT_EQ(17, dlns_create(&twice, "/second"));
  EXPECT_EQ(namespaces, kelphost_namespace_count());
  EXPECT_EQ(links, kelphost_link_count());

  DlnsRecord refused = Record("create-refused");
  {
    LinkerFailure failure(KELPHOST_FAIL_CREATE);
    EXPECT_EQ(12, dlns_create(&refused, "/p"));
  }
  // Refused means unregistered: the name is free for a later attempt.
  EXPECT_EQ(0, dlns_create(&refused, "/p"));
  EXPECT_TRUE(daemon.Messages().empty());
}

TEST(dlns, create_logs_a_failed_aosp_link_and_still_succeeds) {
  struct Case {
    const char* name;
    unsigned failure;
  } cases[] = {{"aosp-link-refused", KELPHOST_FAIL_LINK}, {"aosp-missing", KELPHOST_HIDE_AOSP}};
  for (const Case& c : cases) {
    FakeLogDaemon daemon;
    LinkerFailure failure(c.failure);
    DlnsRecord record = Record(c.name);
    EXPECT_EQ(0, dlns_create(&record, "/p"));
    auto records = daemon.Drain();
    ASSERT_EQ(1u, records.size()) << c.name;
    EXPECT_EQ(5, records[0].priority);
    EXPECT_EQ("KELP_LIBC_ADAPTOR", records[0].tag);
    EXPECT_EQ(std::string("link ns(") + c.name + ") to aosp ns failed", records[0].message);
  }
}

TEST(dlns, get_finds_registered_then_exported_names) {
  DlnsRecord mine = Record("get-mine");
  ASSERT_EQ(0, dlns_create(&mine, "/p"));
  struct Case {
    const char* name;
    int result;
    const char* stored;
  } cases[] = {
      {nullptr, 0, "default"},   {"get-mine", 0, "get-mine"},       {"aosp", 0, "aosp"},
      {"default", 0, "default"}, {"get-unknown", 126, "untouched"},
  };
  for (const Case& c : cases) {
    DlnsRecord record = Record("untouched");
    EXPECT_EQ(c.result, dlns_get(c.name, &record)) << (c.name ? c.name : "(null)");
    EXPECT_STREQ(c.stored, record.name);
  }
  EXPECT_EQ(22, dlns_get("get-mine", nullptr));
  LinkerFailure failure(KELPHOST_HIDE_DEFAULT);
  DlnsRecord record = Record("untouched");
  EXPECT_EQ(126, dlns_get(nullptr, &record));
  EXPECT_STREQ("untouched", record.name);
}

TEST(dlns, inherit_links_with_the_list_or_all_libraries) {
  DlnsRecord a = Record("inherit-a"), b = Record("inherit-b");
  ASSERT_EQ(0, dlns_create2(&a, "/a", 0));
  ASSERT_EQ(0, dlns_create2(&b, "/b", 0));
  const android_namespace_t* na = kelphost_namespace_at(kelphost_namespace_count() - 2);
  const android_namespace_t* nb = kelphost_namespace_at(kelphost_namespace_count() - 1);
  ASSERT_STREQ("inherit-a", na->name);
  ASSERT_STREQ("inherit-b", nb->name);

  FakeLogDaemon daemon;
  size_t links = kelphost_link_count();
  EXPECT_EQ(0, dlns_inherit("inherit-a", "inherit-b", "libx.so:liby.so"));
  EXPECT_EQ(0, dlns_inherit("inherit-a", "inherit-b", nullptr));
  EXPECT_EQ(0, dlns_inherit("inherit-a", "default", "libz.so"));
  auto made = LinksSince(links);
  ASSERT_EQ(4u, made.size());
  EXPECT_EQ(na, made[0].from);
  EXPECT_EQ(nb, made[0].to);
  EXPECT_FALSE(made[0].all_libs);
  EXPECT_STREQ("libx.so:liby.so", made[0].shared_libs);
  EXPECT_EQ(na, made[1].from);
  EXPECT_EQ(nb, made[1].to);
  EXPECT_TRUE(made[1].all_libs);
  EXPECT_EQ(Exported("default"), made[2].to);
  EXPECT_STREQ("libz.so", made[2].shared_libs);
  EXPECT_TRUE(IsAospLink(made[3], na));
  EXPECT_TRUE(daemon.Messages().empty());
}

TEST(dlns, inherit_failures) {
  DlnsRecord a = Record("inherit-fail-a");
  ASSERT_EQ(0, dlns_create2(&a, "/a", 0));
  FakeLogDaemon daemon;
  size_t links = kelphost_link_count();
  EXPECT_EQ(22, dlns_inherit(nullptr, "default", nullptr));
  EXPECT_EQ(22, dlns_inherit("inherit-fail-a", nullptr, nullptr));
  EXPECT_EQ(126, dlns_inherit("inherit-fail-unknown", "default", nullptr));
  EXPECT_EQ(126, dlns_inherit("inherit-fail-a", "inherit-fail-unknown", "libx.so"));
  EXPECT_EQ(links, kelphost_link_count());
  EXPECT_TRUE(daemon.Messages().empty());

  LinkerFailure failure(KELPHOST_FAIL_LINK);
  EXPECT_EQ(126, dlns_inherit("inherit-fail-a", "aosp", "libx.so"));
  EXPECT_EQ(126, dlns_inherit("inherit-fail-a", "default", nullptr));
  auto records = daemon.Drain();
  std::vector<std::string> expected = {
      "link namespace failed, from = inherit-fail-a to = aosp",
      "dlns_inherit link ns(inherit-fail-a) to aosp ns failed",
      "link namespace failed, from = inherit-fail-a to = default",
  };
  ASSERT_EQ(expected.size(), records.size());
  for (size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(expected[i], records[i].message);
    EXPECT_EQ(5, records[i].priority);
  }
}

TEST(dlns, registry_keeps_every_name_as_it_grows) {
  std::vector<DlnsRecord> records;
  for (int i = 0; i < 200; ++i) {
    records.push_back(Record(("grow-" + std::to_string(i)).c_str()));
    ASSERT_EQ(0, dlns_create2(&records.back(), "/p", 0)) << i;
  }
  for (DlnsRecord& record : records) EXPECT_EQ(17, dlns_create2(&record, "/p", 0)) << record.name;
}
