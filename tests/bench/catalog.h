// A small message catalog written to a temporary directory on first use and removed at exit:
// <dir>/de_DE/LC_MESSAGES/kelpbench.mo with "apple" -> "Apfel" / "Aepfel" and two plural forms.
#pragma once

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace bench {

inline constexpr char kDomain[] = "kelpbench";
inline constexpr char kLocale[] = "de_DE";

class Catalog {
 public:
  Catalog() {
    char dir[] = "/tmp/kelp-bench-XXXXXX";
    if (mkdtemp(dir) == nullptr) return;
    dir_ = dir;
    mkdir((dir_ + "/de_DE").c_str(), 0700);
    mkdir((dir_ + "/de_DE/LC_MESSAGES").c_str(), 0700);
    Write(File());
  }
  ~Catalog() {
    if (dir_.empty()) return;
    unlink(File().c_str());
    rmdir((dir_ + "/de_DE/LC_MESSAGES").c_str());
    rmdir((dir_ + "/de_DE").c_str());
    rmdir(dir_.c_str());
  }
  const char* dir() const { return dir_.c_str(); }

 private:
  std::string File() const { return dir_ + "/de_DE/LC_MESSAGES/" + kDomain + ".mo"; }

  // The .mo format: header, id table, translation table (length, offset), then the strings.
  static void Write(const std::string& path) {
    static const std::string kIds[] = {std::string(""), std::string("apple\0apples", 12),
                                       std::string("hello")};
    static const std::string kStrs[] = {
        std::string("Content-Type: text/plain; charset=UTF-8\n"
                    "Plural-Forms: nplurals=2; plural=(n != 1);\n"),
        std::string("Apfel\0Aepfel", 12), std::string("Hallo")};
    constexpr uint32_t kCount = 3;
    constexpr uint32_t kIdTable = 28;
    constexpr uint32_t kStrTable = kIdTable + 8 * kCount;
    std::vector<uint32_t> words = {0x950412de, 0, kCount, kIdTable, kStrTable, 0, 0};
    std::string text;
    uint32_t offset = kStrTable + 8 * kCount;
    for (const auto* table : {kIds, kStrs}) {
      for (uint32_t i = 0; i < kCount; ++i) {
        words.push_back(static_cast<uint32_t>(table[i].size()));
        words.push_back(offset + static_cast<uint32_t>(text.size()));
        text += table[i];
        text += '\0';
      }
    }
    FILE* f = fopen(path.c_str(), "wb");
    if (f == nullptr) return;
    fwrite(words.data(), sizeof(uint32_t), words.size(), f);
    fwrite(text.data(), 1, text.size(), f);
    fclose(f);
  }

  std::string dir_;
};

inline const char* CatalogDir() {
  static Catalog catalog;
  return catalog.dir();
}

}  // namespace bench
