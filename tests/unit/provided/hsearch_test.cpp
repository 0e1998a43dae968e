// Hash search tables: sizing, growth, probing, and the process-wide and reentrant forms.
#include "provided/hsearch.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <stdint.h>
#include <string.h>

#include <set>
#include <string>
#include <vector>

extern "C" {
int kelp_adaptor_hcreate(size_t);
void kelp_adaptor_hdestroy();
GuestEntry* kelp_adaptor_hsearch(GuestEntry, GuestAction);
int kelp_adaptor_hcreate_r(size_t, GuestHsearchData*);
void kelp_adaptor_hdestroy_r(GuestHsearchData*);
int kelp_adaptor_hsearch_r(GuestEntry, GuestAction, GuestEntry**, GuestHsearchData*);
}

namespace {

// The key hash, computed independently: sum of c_i * 31^(len-1-i) modulo 2^32.
uint32_t ReferenceHash(const std::string& key) {
  uint64_t h = 0;
  for (unsigned char c : key) h = (h * 31 + c) % (uint64_t{1} << 32);
  return static_cast<uint32_t>(h);
}

// 2^blocks distinct keys of one hash: "Aa" and "BB" hash alike, and so do their concatenations.
std::vector<std::string> CollidingKeys(int blocks) {
  std::vector<std::string> keys;
  for (int bits = 0; bits < (1 << blocks); ++bits) {
    std::string key;
    for (int b = 0; b < blocks; ++b) key += (bits >> b) & 1 ? "BB" : "Aa";
    keys.push_back(key);
  }
  return keys;
}

void* Data(intptr_t n) { return reinterpret_cast<void*>(n); }

class Table {
 public:
  explicit Table(size_t nel) { EXPECT_EQ(1, kelp_adaptor_hcreate_r(nel, &tab_)); }
  ~Table() { kelp_adaptor_hdestroy_r(&tab_); }
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;

  size_t slots() const { return tab_.table->mask + 1; }
  size_t used() const { return tab_.table->used; }
  GuestEntry* entries() const { return tab_.table->entries; }
  GuestEntry* Enter(const std::string& key, intptr_t data) {
    GuestEntry* e = reinterpret_cast<GuestEntry*>(1);
    kelp_adaptor_hsearch_r({const_cast<char*>(key.c_str()), Data(data)}, kGuestEnter, &e, &tab_);
    return e;
  }
  GuestEntry* Find(const std::string& key) {
    GuestEntry* e = reinterpret_cast<GuestEntry*>(1);
    int found =
        kelp_adaptor_hsearch_r({const_cast<char*>(key.c_str()), nullptr}, kGuestFind, &e, &tab_);
    EXPECT_EQ(found != 0, e != nullptr) << key;
    return e;
  }
  GuestHsearchData* tab() { return &tab_; }

 private:
  GuestHsearchData tab_ = {nullptr};
};

}  // namespace

TEST(hsearch, creation_sizes_the_table_to_a_power_of_two_of_at_least_8) {
  const struct {
    size_t nel, slots;
  } rows[] = {{0, 8}, {1, 8}, {5, 8}, {8, 8}, {9, 16}, {16, 16}, {17, 32}, {100000, 131072}};
  for (const auto& row : rows) {
    Table table(row.nel);
    EXPECT_EQ(row.slots, table.slots()) << row.nel;
    EXPECT_EQ(0u, table.used());
  }
}

TEST(hsearch, a_negative_count_asks_for_the_largest_table_and_fails_cleanly) {
  GuestHsearchData tab = {reinterpret_cast<HashTable*>(1)};
  EXPECT_EQ(0, kelp_adaptor_hcreate_r(static_cast<size_t>(-5), &tab));
  EXPECT_EQ(nullptr, tab.table);
}

TEST(hsearch, the_seventh_entry_of_an_8_slot_table_grows_it_to_16) {
  Table table(8);
  std::vector<std::string> keys;  // the table keeps the caller's strings
  for (int i = 0; i < 7; ++i) keys.push_back("key" + std::to_string(i));
  for (int i = 0; i < 6; ++i) ASSERT_NE(nullptr, table.Enter(keys[i], i));
  EXPECT_EQ(8u, table.slots());
  EXPECT_EQ(6u, table.used());
  GuestEntry* seventh = table.Enter(keys[6], 6);
  EXPECT_EQ(16u, table.slots());
  EXPECT_EQ(7u, table.used());
  EXPECT_EQ(seventh, table.Find(keys[6])) << "the entry returned lies in the new array";
  for (int i = 0; i < 7; ++i) {
    GuestEntry* e = table.Find(keys[i]);
    ASSERT_NE(nullptr, e);
    EXPECT_EQ(Data(i), e->data);
  }
}

TEST(hsearch, entries_sit_at_their_hash_then_at_triangular_offsets) {
  Table table(64);
  const std::vector<std::string> keys = {"", "a", "b", "hello", "\xff\xfe", "zz top"};
  for (const std::string& key : keys) {
    GuestEntry* e = table.Enter(key, 1);
    EXPECT_EQ(table.entries() + (ReferenceHash(key) & 63), e) << key;
  }
  // Colliding keys take hash, hash+1, hash+3, hash+6, ... in entry order.
  Table collide(64);
  std::vector<std::string> same = CollidingKeys(3);
  uint32_t h = ReferenceHash(same[0]);
  uint32_t offset = 0;
  for (size_t i = 0; i < same.size(); ++i) {
    offset += static_cast<uint32_t>(i);
    EXPECT_EQ(collide.entries() + ((h + offset) & 63), collide.Enter(same[i], 1)) << i;
  }
}

// With every slot but one taken by keys of one hash, the probe still reaches the free one,
// wherever it is.
TEST(hsearch, the_probe_sequence_visits_every_slot) {
  std::vector<std::string> keys = CollidingKeys(4);
  for (size_t free_slot = 0; free_slot < 16; ++free_slot) {
    Table table(16);
    size_t k = 0;
    for (size_t i = 0; i < 16; ++i) {
      if (i != free_slot) table.entries()[i] = {const_cast<char*>(keys[k++].c_str()), nullptr};
    }
    const std::string& absent = keys[15];
    EXPECT_EQ(nullptr, table.Find(absent)) << "free slot " << free_slot;
    EXPECT_EQ(table.entries() + free_slot, table.Enter(absent, 1)) << "free slot " << free_slot;
    for (size_t i = 0; i < 16; ++i) table.entries()[i].key = nullptr;
  }
}

TEST(hsearch, a_table_filled_with_colliding_keys_keeps_them_all) {
  Table table(0);
  std::vector<std::string> keys = CollidingKeys(7);
  for (size_t i = 0; i < keys.size(); ++i) ASSERT_NE(nullptr, table.Enter(keys[i], i));
  EXPECT_EQ(keys.size(), table.used());
  EXPECT_EQ(256u, table.slots()) << "2 * 97 rounded up, the last growth";
  for (size_t i = 0; i < keys.size(); ++i) {
    GuestEntry* e = table.Find(keys[i]);
    ASSERT_NE(nullptr, e) << keys[i];
    EXPECT_EQ(Data(i), e->data);
  }
}

TEST(hsearch, entering_a_present_key_keeps_the_first_data) {
  Table table(4);
  GuestEntry* first = table.Enter("dup", 1);
  GuestEntry* again = table.Enter("dup", 2);
  EXPECT_EQ(first, again);
  EXPECT_EQ(Data(1), again->data);
  EXPECT_EQ(1u, table.used());
}

TEST(hsearch, absent_keys_are_not_found) {
  Table table(4);
  table.Enter("present", 1);
  for (const char* key : {"absent", "", "presen", "present!"}) {
    EXPECT_EQ(nullptr, table.Find(key)) << key;
  }
  EXPECT_EQ(1u, table.used()) << "FIND enters nothing";
  ASSERT_EQ(1, kelp_adaptor_hcreate(0));
  EXPECT_EQ(nullptr, kelp_adaptor_hsearch({const_cast<char*>("absent"), nullptr}, kGuestFind));
  kelp_adaptor_hdestroy();
}

TEST(hsearch, the_empty_key_is_a_key) {
  Table table(8);
  GuestEntry* e = table.Enter("", 7);
  EXPECT_EQ(table.entries(), e) << "hash 0";
  EXPECT_EQ(e, table.Find(""));
  EXPECT_EQ(Data(7), table.Find("")->data);
}

TEST(hsearch, two_reentrant_tables_are_independent) {
  Table a(8), b(8);
  a.Enter("shared", 1);
  b.Enter("shared", 2);
  a.Enter("only-a", 3);
  EXPECT_EQ(Data(1), a.Find("shared")->data);
  EXPECT_EQ(Data(2), b.Find("shared")->data);
  EXPECT_EQ(nullptr, b.Find("only-a"));
  EXPECT_EQ(2u, a.used());
  EXPECT_EQ(1u, b.used());
}

TEST(hsearch, the_process_wide_table) {
  ASSERT_EQ(1, kelp_adaptor_hcreate(5));
  std::vector<std::string> keys;
  for (int i = 0; i < 300; ++i) keys.push_back("k" + std::to_string(i * 7919));
  for (size_t i = 0; i < keys.size(); ++i) {
    GuestEntry* e = kelp_adaptor_hsearch({keys[i].data(), Data(i)}, kGuestEnter);
    ASSERT_NE(nullptr, e);
    EXPECT_EQ(keys[i].c_str(), e->key) << "the caller's key is kept, not copied";
  }
  for (size_t i = 0; i < keys.size(); ++i) {
    GuestEntry* e = kelp_adaptor_hsearch({keys[i].data(), nullptr}, kGuestFind);
    ASSERT_NE(nullptr, e);
    EXPECT_EQ(Data(i), e->data);
  }
  kelp_adaptor_hdestroy();
  EXPECT_EQ(nullptr, kelp_adaptor_hsearch({keys[0].data(), nullptr}, kGuestFind))
      << "no table, nothing found";
}

TEST(hsearch, destroy_clears_the_pointer_and_null_tables_are_refused) {
  GuestHsearchData tab = {nullptr};
  ASSERT_EQ(1, kelp_adaptor_hcreate_r(3, &tab));
  kelp_adaptor_hdestroy_r(&tab);
  EXPECT_EQ(nullptr, tab.table);
  kelp_adaptor_hdestroy_r(&tab);
  kelp_adaptor_hdestroy_r(nullptr);
  errno = 0;
  EXPECT_EQ(0, kelp_adaptor_hcreate_r(8, nullptr));
  EXPECT_EQ(EINVAL, errno);
  GuestEntry* e = reinterpret_cast<GuestEntry*>(1);
  EXPECT_EQ(0, kelp_adaptor_hsearch_r({const_cast<char*>("k"), nullptr}, kGuestEnter, &e, &tab));
  EXPECT_EQ(nullptr, e);
}
