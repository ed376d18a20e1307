// Which level number a text has, and what happens to texts that find none.
#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "ZRBMemoryBuf.h"
#include "support/Harness.h"

namespace {

// A buffer with one factor column named "f".
class LevelsBuf : public ZRBMemoryBuf {
public:
  LevelsBuf() { setColumns(*this, {{"f", column_factor}}); }
  explicit LevelsBuf(const std::vector<const char*>& levels) : LevelsBuf() {
    for (const char* level : levels) addLevel(0, level);
  }
  std::vector<std::string> levels() {
    std::vector<std::string> names;
    for (long level = 0; level < getNumLevels(0); ++level) names.push_back(copyOf(getLevelName(0, level)));
    return names;
  }
};

using Levels = std::vector<std::string>;

// Names "level 0", "level 1", ...
std::string numberedName(long number) { return "level " + std::to_string(number); }

const long kMissingColumns[] = {-1, 1, LONG_MIN, LONG_MAX};

}  // namespace

// ---- The dictionary ----

TEST(BufLevels, a_new_column_has_no_levels) {
  LevelsBuf buf;
  EXPECT_EQ(buf.getNumLevels(0), 0);
  EXPECT_EQ(buf.getLevelName(0, 0), nullptr);
  EXPECT_EQ(buf.lookupLevel(0, "a"), -1);
}

TEST(BufLevels, added_levels_are_numbered_in_order) {
  LevelsBuf buf;
  EXPECT_EQ(buf.addLevel(0, "a"), 0);
  EXPECT_EQ(buf.addLevel(0, "b"), 1);
  EXPECT_EQ(buf.addLevel(0, ""), 2);
  EXPECT_EQ(buf.levels(), (Levels{"a", "b", ""}));
}

TEST(BufLevels, adding_null_adds_nothing) {
  LevelsBuf buf({"a"});
  EXPECT_EQ(buf.addLevel(0, nullptr), -1);
  EXPECT_EQ(buf.levels(), (Levels{"a"}));
}

TEST(BufLevels, level_names_are_copied) {
  LevelsBuf buf;
  char name[] = "red";
  buf.addLevel(0, name);
  buf.setLevelName(0, 1, name);
  name[0] = '!';
  EXPECT_EQ(buf.levels(), (Levels{"red", "red"}));
}

TEST(BufLevels, adding_a_name_twice_makes_two_levels_and_the_lower_one_is_found) {
  LevelsBuf buf;
  EXPECT_EQ(buf.addLevel(0, "a"), 0);
  EXPECT_EQ(buf.addLevel(0, "b"), 1);
  EXPECT_EQ(buf.addLevel(0, "a"), 2);
  EXPECT_EQ(buf.getNumLevels(0), 3);
  EXPECT_EQ(buf.lookupLevel(0, "a"), 0);
}

TEST(BufLevels, naming_a_level_beyond_the_end_grows_the_dictionary_with_nameless_levels) {
  LevelsBuf buf;
  buf.setLevelName(0, 5, "x");
  EXPECT_EQ(buf.getNumLevels(0), 6);
  EXPECT_EQ(buf.levels(), (Levels{"<null>", "<null>", "<null>", "<null>", "<null>", "x"}));
  EXPECT_EQ(buf.lookupLevel(0, "x"), 5);
  EXPECT_EQ(buf.addLevel(0, "y"), 6);
}

TEST(BufLevels, naming_a_level_null_beyond_the_end_grows_the_dictionary_too) {
  LevelsBuf buf;
  buf.setLevelName(0, 1, nullptr);
  EXPECT_EQ(buf.levels(), (Levels{"<null>", "<null>"}));
}

TEST(BufLevels, naming_a_negative_level_does_nothing) {
  LevelsBuf buf({"a"});
  buf.setLevelName(0, -1, "x");
  buf.setLevelName(0, LONG_MIN, "x");
  EXPECT_EQ(buf.levels(), (Levels{"a"}));
}

TEST(BufLevels, the_name_of_a_level_outside_the_dictionary_is_null) {
  LevelsBuf buf({"a", "b"});
  for (const long level : {-1L, 2L, 65535L, LONG_MIN, LONG_MAX})
    EXPECT_EQ(buf.getLevelName(0, level), nullptr) << level;
  EXPECT_STREQ(buf.getLevelName(0, 1), "b");
}

TEST(BufLevels, a_level_may_be_renamed_to_its_own_name) {
  LevelsBuf buf({"a", "b"});
  buf.setLevelName(0, 0, buf.getLevelName(0, 0));
  buf.setLevelName(0, 1, buf.getLevelName(0, 0));
  EXPECT_EQ(buf.levels(), (Levels{"a", "a"}));
  buf.addLevel(0, buf.getLevelName(0, 0));
  EXPECT_EQ(buf.levels(), (Levels{"a", "a", "a"}));
  EXPECT_EQ(buf.lookupLevel(0, "a"), 0);
}

TEST(BufLevels, the_lowest_level_of_a_name_wins_after_every_rename) {
  LevelsBuf buf({"a", "b", "a", "c", "a"});
  EXPECT_EQ(buf.lookupLevel(0, "a"), 0);
  buf.setLevelName(0, 0, "d");  // the lowest goes: the next one wins
  EXPECT_EQ(buf.lookupLevel(0, "a"), 2);
  EXPECT_EQ(buf.lookupLevel(0, "d"), 0);
  buf.setLevelName(0, 1, "a");  // a lower one comes
  EXPECT_EQ(buf.lookupLevel(0, "a"), 1);
  EXPECT_EQ(buf.lookupLevel(0, "b"), -1);
  buf.setLevelName(0, 4, "c");  // a higher one of another name changes nothing
  EXPECT_EQ(buf.lookupLevel(0, "c"), 3);
  buf.setLevelName(0, 3, nullptr);  // names may be taken away
  EXPECT_EQ(buf.lookupLevel(0, "c"), 4);
  buf.setLevelName(0, 1, nullptr);
  buf.setLevelName(0, 2, nullptr);
  EXPECT_EQ(buf.lookupLevel(0, "a"), -1);
  EXPECT_EQ(buf.levels(), (Levels{"d", "<null>", "<null>", "<null>", "c"}));
}

TEST(BufLevels, names_are_found_byte_for_byte) {
  LevelsBuf buf({"Red", "red", "red ", "r\xC3\xA9", "r\xE9"});
  EXPECT_EQ(buf.lookupLevel(0, "Red"), 0);
  EXPECT_EQ(buf.lookupLevel(0, "red"), 1);
  EXPECT_EQ(buf.lookupLevel(0, "red "), 2);
  EXPECT_EQ(buf.lookupLevel(0, "r\xC3\xA9"), 3);
  EXPECT_EQ(buf.lookupLevel(0, "r\xE9"), 4);
  EXPECT_EQ(buf.lookupLevel(0, "re"), -1);
  EXPECT_EQ(buf.lookupLevel(0, "RED"), -1);
}

TEST(BufLevels, null_and_empty_text_and_the_string_NA_are_never_found) {
  LevelsBuf buf({"", ZRBObj::getStringNA(), "a"});
  EXPECT_EQ(buf.lookupLevel(0, nullptr), -1);
  EXPECT_EQ(buf.lookupLevel(0, ""), -1);
  EXPECT_EQ(buf.lookupLevel(0, ZRBObj::getStringNA()), -1);
  EXPECT_EQ(buf.lookupLevel(0, "a"), 2);
}

TEST(BufLevels, a_text_that_only_begins_like_the_string_NA_is_an_ordinary_name) {
  LevelsBuf buf;
  EXPECT_EQ(buf.mapStringToLevelNum(0, "\xEF\xBF\xBFx"), 0);
  EXPECT_EQ(buf.lookupLevel(0, "\xEF\xBF\xBFx"), 0);
}

TEST(BufLevels, growing_the_number_of_levels_adds_nameless_ones) {
  LevelsBuf buf({"a"});
  buf.setNumLevels(0, 3);
  EXPECT_EQ(buf.levels(), (Levels{"a", "<null>", "<null>"}));
  EXPECT_EQ(buf.addLevel(0, "b"), 3);
}

TEST(BufLevels, shrinking_the_number_of_levels_forgets_the_highest) {
  LevelsBuf buf({"a", "b", "a", "c"});
  buf.setNumLevels(0, 2);
  EXPECT_EQ(buf.levels(), (Levels{"a", "b"}));
  EXPECT_EQ(buf.lookupLevel(0, "c"), -1);
  EXPECT_EQ(buf.lookupLevel(0, "a"), 0);
  buf.setNumLevels(0, 4);
  EXPECT_EQ(buf.levels(), (Levels{"a", "b", "<null>", "<null>"}));
  EXPECT_EQ(buf.lookupLevel(0, "c"), -1);
  buf.setNumLevels(0, 0);
  EXPECT_EQ(buf.getNumLevels(0), 0);
  EXPECT_EQ(buf.lookupLevel(0, "a"), -1);
  EXPECT_EQ(buf.addLevel(0, "c"), 0);
  EXPECT_EQ(buf.lookupLevel(0, "c"), 0);
}

TEST(BufLevels, a_negative_number_of_levels_means_none) {
  LevelsBuf buf({"a", "b"});
  buf.setNumLevels(0, -1);
  EXPECT_EQ(buf.getNumLevels(0), 0);
  EXPECT_EQ(buf.lookupLevel(0, "a"), -1);
}

TEST(BufLevels, columns_have_dictionaries_of_their_own) {
  ZRBMemoryBuf buf;
  setColumns(buf, {{"f", ZRBBuf::column_factor}, {"g", ZRBBuf::column_factor}});
  buf.addLevel(0, "a");
  buf.addLevel(1, "b");
  buf.addLevel(1, "a");
  EXPECT_EQ(buf.lookupLevel(0, "a"), 0);
  EXPECT_EQ(buf.lookupLevel(0, "b"), -1);
  EXPECT_EQ(buf.lookupLevel(1, "a"), 1);
  buf.setNumColumns(1);
  buf.setNumColumns(2);
  EXPECT_EQ(buf.lookupLevel(1, "a"), -1);
  EXPECT_EQ(buf.lookupLevel(0, "a"), 0);
}

TEST(BufLevels, a_column_of_any_type_has_a_dictionary) {
  ZRBMemoryBuf buf;
  setColumns(buf, {{"s", ZRBBuf::column_string}});
  EXPECT_EQ(buf.mapStringToLevelNum(0, "a"), 0);
  EXPECT_EQ(buf.mapStringToLevelNum(0, "b"), 1);
  EXPECT_EQ(buf.lookupLevel(0, "b"), 1);
}

TEST(BufLevels, a_missing_column_has_no_levels) {
  LevelsBuf buf({"a"});
  for (const long column : kMissingColumns) {
    SCOPED_TRACE(column);
    buf.setNumLevels(column, 3);
    buf.setLevelName(column, 0, "x");
    buf.setMaxAutoLevels(column, 9);
    buf.setOverflowLevel(column, "x");
    buf.setOverflowCount(column, 9);
    buf.setOverflowStringBytes(column, 9);
    EXPECT_EQ(buf.addLevel(column, "x"), -1);
    EXPECT_EQ(buf.getNumLevels(column), 0);
    EXPECT_EQ(buf.getLevelName(column, 0), nullptr);
    EXPECT_EQ(buf.lookupLevel(column, "a"), -1);
    EXPECT_EQ(buf.getMaxAutoLevels(column), 0);
    EXPECT_EQ(buf.getOverflowLevel(column), nullptr);
    EXPECT_EQ(buf.getOverflowCount(column), 0);
    EXPECT_EQ(buf.getOverflowStringBytes(column), 0);
    EXPECT_EQ(buf.mapStringToLevelNum(column, "a"), -1);
    EXPECT_EQ(bitsOf(buf.mapLevelToDouble(column, "a")), kDoubleNABits);
    EXPECT_EQ(buf.mapLevelNumToString(column, 0), nullptr);
    EXPECT_EQ(buf.mapDoubleToLevel(column, 0.0), nullptr);
  }
  EXPECT_EQ(buf.levels(), (Levels{"a"}));
  EXPECT_EQ(buf.getMaxAutoLevels(0), -1);
  EXPECT_EQ(buf.getOverflowLevel(0), nullptr);
  EXPECT_EQ(buf.getOverflowCount(0), 0);
  EXPECT_EQ(buf.getNumMessages(), 0);
}

// ---- Large dictionaries: every operation is far from walking through all levels ----

TEST(BufLevels, texts_of_65000_levels_keep_the_numbers_of_their_first_appearance) {
  constexpr long kLevels = 65000;
  LevelsBuf buf;
  buf.setMaxAutoLevels(0, kLevels);
  std::vector<std::string> names;
  for (long i = 0; i < kLevels; ++i) names.push_back(numberedName(i));
  for (long i = 0; i < kLevels; ++i)
    ASSERT_EQ(buf.mapStringToLevelNum(0, names[static_cast<std::size_t>(i)].c_str()), i);
  std::minstd_rand random(20240601);
  for (int i = 0; i < 1000000; ++i) {
    const long level = static_cast<long>(random() % kLevels);
    ASSERT_EQ(buf.mapStringToLevelNum(0, names[static_cast<std::size_t>(level)].c_str()), level);
  }
  for (long i = 0; i < kLevels; ++i) {
    const std::string missing = "no " + names[static_cast<std::size_t>(i)];
    ASSERT_EQ(buf.lookupLevel(0, missing.c_str()), -1);
  }
  EXPECT_EQ(buf.getNumLevels(0), kLevels);
  EXPECT_EQ(buf.getOverflowCount(0), 0);
  EXPECT_EQ(buf.mapStringToLevelNum(0, "one more"), -1);
  EXPECT_EQ(buf.getOverflowCount(0), 1);
}

TEST(BufLevels, the_lowest_of_65000_levels_of_one_name_is_found_while_they_are_renamed_and_removed) {
  constexpr long kLevels = 65000;
  LevelsBuf buf;
  for (long i = 0; i < kLevels; ++i) buf.addLevel(0, "same");
  for (long i = 0; i < kLevels / 2; ++i) {
    ASSERT_EQ(buf.lookupLevel(0, "same"), i);
    buf.setLevelName(0, i, numberedName(i).c_str());
  }
  for (long levels = kLevels; levels > kLevels / 2 + 1; --levels) {
    buf.setNumLevels(0, levels - 1);
    ASSERT_EQ(buf.lookupLevel(0, "same"), kLevels / 2);
  }
  buf.setNumLevels(0, kLevels / 2);
  EXPECT_EQ(buf.lookupLevel(0, "same"), -1);
  for (long i = kLevels / 2 - 1; i >= 0; --i) {  // names come back from above: each is the lowest so far
    buf.setLevelName(0, i, "same");
    ASSERT_EQ(buf.lookupLevel(0, "same"), i);
  }
}

TEST(BufLevels, a_dictionary_built_from_its_highest_level_down_is_complete) {
  constexpr long kLevels = 65000;
  LevelsBuf buf;
  for (long i = kLevels - 1; i >= 0; --i) buf.setLevelName(0, i, numberedName(i / 2).c_str());
  EXPECT_EQ(buf.getNumLevels(0), kLevels);
  for (long i = 0; i < kLevels / 2; ++i) ASSERT_EQ(buf.lookupLevel(0, numberedName(i).c_str()), 2 * i);
}

TEST(BufLevels, random_changes_agree_with_a_plain_list_of_names) {
  // The plain list: names in order, the first match wins.
  struct PlainLevels {
    std::vector<std::optional<std::string>> names;
    long lookup(const std::string& text) {
      if (text.empty()) return -1;
      for (std::size_t i = 0; i < names.size(); ++i)
        if (names[i] == text) return static_cast<long>(i);
      return -1;
    }
  };
  const char* const texts[] = {"a",  "b", "c",  "d",   "aa",
                               "ab", "",  "a ", "b\n", "long enough to need memory of its own"};
  for (const unsigned seed : {1u, 2u, 3u}) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    LevelsBuf buf;
    PlainLevels plain;
    for (int step = 0; step < 5000; ++step) {
      const char* const text = texts[below(10)];
      const auto size = static_cast<int>(plain.names.size());
      switch (below(8)) {
        case 0:
        case 1:
          if (size < 60) {
            ASSERT_EQ(buf.addLevel(0, text), size);
            plain.names.emplace_back(text);
          }
          break;
        case 2:
        case 3: {
          const int level = below(size < 60 ? size + 3 : size);
          buf.setLevelName(0, level, text);
          if (level >= size) plain.names.resize(static_cast<std::size_t>(level) + 1);
          plain.names[static_cast<std::size_t>(level)] = text;
          break;
        }
        case 4: {
          const int level = below(size + 1);
          buf.setLevelName(0, level, nullptr);
          if (level >= size) plain.names.resize(static_cast<std::size_t>(level) + 1);
          plain.names[static_cast<std::size_t>(level)].reset();
          break;
        }
        case 5:
          if (below(4) == 0) {
            const int levels = below(40);
            buf.setNumLevels(0, levels);
            plain.names.resize(static_cast<std::size_t>(levels));
          }
          break;
        case 6: {  // a rename to a name that the dictionary itself holds
          if (size == 0) break;
          const int from = below(size), to = below(size);
          buf.setLevelName(0, to, buf.getLevelName(0, from));
          plain.names[static_cast<std::size_t>(to)] = plain.names[static_cast<std::size_t>(from)];
          break;
        }
        default: {
          const long found = plain.lookup(text);
          const long mapped = buf.mapStringToLevelNum(0, text);
          if (found >= 0 || !*text) {
            ASSERT_EQ(mapped, found);
          } else {
            ASSERT_EQ(mapped, size);
            plain.names.emplace_back(text);
          }
        }
      }
      ASSERT_EQ(buf.getNumLevels(0), static_cast<long>(plain.names.size()));
      for (const char* each : texts) ASSERT_EQ(buf.lookupLevel(0, each), plain.lookup(each)) << "step " << step;
      if (step % 50 == 0) {
        for (std::size_t i = 0; i < plain.names.size(); ++i)
          ASSERT_EQ(copyOf(buf.getLevelName(0, static_cast<long>(i))), plain.names[i].value_or("<null>"));
      }
    }
  }
}

TEST(BufLevels, random_changes_of_a_large_dictionary_agree_with_a_map_of_names) {
  // The map: the levels of every name in use.
  std::map<std::string, std::set<long>> levelsOf;
  std::vector<std::string> names;  // "" stands for no name
  LevelsBuf buf;
  buf.setMaxAutoLevels(0, 100000);
  const auto put = [&](long level, const std::string& name) {
    if (level >= static_cast<long>(names.size())) names.resize(static_cast<std::size_t>(level) + 1);
    std::string& old = names[static_cast<std::size_t>(level)];
    if (!old.empty()) levelsOf[old].erase(level);
    if (!name.empty()) levelsOf[name].insert(level);
    old = name;
  };
  const auto lowest = [&](const std::string& name) {
    const auto found = levelsOf.find(name);
    return found == levelsOf.end() || found->second.empty() ? -1 : *found->second.begin();
  };
  std::mt19937 random(31337);
  const auto below = [&](long n) { return static_cast<long>(random() % static_cast<unsigned long>(n)); };
  for (int step = 0; step < 100000; ++step) {
    const std::string name = numberedName(below(4000));
    const auto size = static_cast<long>(names.size());
    switch (below(6)) {
      case 0: {
        const long level = buf.mapStringToLevelNum(0, name.c_str());
        ASSERT_EQ(level, lowest(name) < 0 ? size : lowest(name));
        if (level == size) put(level, name);
        break;
      }
      case 1:
        if (size > 5000) {
          const long levels = size - below(3000);
          for (long level = levels; level < size; ++level) put(level, "");
          names.resize(static_cast<std::size_t>(levels));
          buf.setNumLevels(0, levels);
        } else {
          ASSERT_EQ(buf.addLevel(0, name.c_str()), size);
          put(size, name);
        }
        break;
      case 2:
        if (size > 0) {
          const long level = below(size);
          buf.setLevelName(0, level, nullptr);
          put(level, "");
        }
        break;
      default:
        if (size > 0) {
          const long level = below(size);
          buf.setLevelName(0, level, name.c_str());
          put(level, name);
        }
    }
    const std::string other = numberedName(below(4000));
    ASSERT_EQ(buf.lookupLevel(0, name.c_str()), lowest(name)) << "step " << step;
    ASSERT_EQ(buf.lookupLevel(0, other.c_str()), lowest(other)) << "step " << step;
  }
  ASSERT_EQ(buf.getNumLevels(0), static_cast<long>(names.size()));
  for (std::size_t level = 0; level < names.size(); ++level) {
    const std::string stored = copyOf(buf.getLevelName(0, static_cast<long>(level)));
    ASSERT_EQ(stored, names[level].empty() ? "<null>" : names[level]);
  }
}

// ---- Automatic levels and overflow ----

TEST(BufLevels, texts_get_levels_automatically_up_to_the_default_of_500) {
  LevelsBuf buf;
  for (long i = 0; i < 500; ++i) ASSERT_EQ(buf.mapStringToLevelNum(0, numberedName(i + 1).c_str()), i);
  EXPECT_EQ(buf.getOverflowCount(0), 0);
  EXPECT_EQ(buf.mapStringToLevelNum(0, numberedName(501).c_str()), -1);
  EXPECT_EQ(buf.getOverflowCount(0), 1);
  EXPECT_EQ(buf.mapStringToLevelNum(0, numberedName(502).c_str()), -1);
  EXPECT_EQ(buf.getOverflowCount(0), 2);
  EXPECT_EQ(buf.mapStringToLevelNum(0, numberedName(500).c_str()), 499);  // known texts are no overflow
  EXPECT_EQ(buf.getOverflowCount(0), 2);
  EXPECT_EQ(buf.getNumLevels(0), 500);
  EXPECT_EQ(buf.getNumMessages(), 0);  // not even a warning
}

TEST(BufLevels, the_overflow_level_takes_the_last_automatic_level) {
  struct Case {
    const char* reason;
    std::vector<const char*> explicitLevels;
    long maxAutoLevels, defaultMaxAutoLevels;
    const char* overflowLevel;
    std::vector<const char*> texts;
    std::vector<long> mapped;
    Levels levels;
    long long overflowCount;
  };
  const Case cases[] = {
      {"the third new text first makes room for the overflow level",
       {},
       3,
       500,
       "other",
       {"a", "b", "c", "d", "a", "other"},
       {0, 1, 2, 2, 0, 2},
       {"a", "b", "other"},
       2},
      {"the overflow level as the text that overflows is added and counted all the same",
       {},
       3,
       500,
       "other",
       {"a", "b", "other", "other"},
       {0, 1, 2, 2},
       {"a", "b", "other"},
       1},
      {"the overflow level as an early text is an ordinary level, and no slot is kept",
       {},
       3,
       500,
       "other",
       {"other", "a", "b", "c"},
       {0, 1, 2, 0},
       {"other", "a", "b"},
       1},
      {"a maximum of 1 leaves room for the overflow level only", {}, 1, 500, "other", {"a", "b"}, {0, 0}, {"other"}, 2},
      {"a maximum of 0 has no last slot: everything is NA", {}, 0, 500, "other", {"a", "other"}, {-1, -1}, {}, 2},
      {"explicit levels beyond the maximum leave no slot",
       {"x", "y", "z"},
       2,
       500,
       "other",
       {"a", "y"},
       {-1, 1},
       {"x", "y", "z"},
       1},
      {"explicit levels up to the maximum leave no slot",
       {"x", "y"},
       2,
       500,
       "other",
       {"a", "x"},
       {-1, 0},
       {"x", "y"},
       1},
      {"an explicit overflow level is used although the dictionary is full",
       {"x", "other"},
       2,
       500,
       "other",
       {"a", "b"},
       {1, 1},
       {"x", "other"},
       2},
      {"explicit levels count towards the maximum",
       {"x"},
       3,
       500,
       "other",
       {"a", "b", "c"},
       {1, 2, 2},
       {"x", "a", "other"},
       2},
      {"without an overflow level the last slot is an ordinary one",
       {},
       3,
       500,
       nullptr,
       {"a", "b", "c", "d"},
       {0, 1, 2, -1},
       {"a", "b", "c"},
       1},
      {"the string NA as the overflow level takes the last slot and is never found",
       {},
       3,
       500,
       ZRBObj::getStringNA(),
       {"a", "b", "c", "d"},
       {0, 1, -1, -1},
       {"a", "b", "<NA>"},
       2},
      {"an empty overflow level is none", {}, 3, 500, "", {"a", "b", "c", "d"}, {0, 1, 2, -1}, {"a", "b", "c"}, 1},
      {"a negative maximum means the buffer's default", {}, -1, 2, nullptr, {"a", "b", "c"}, {0, 1, -1}, {"a", "b"}, 1},
      {"any negative maximum means the buffer's default",
       {},
       -100,
       2,
       "other",
       {"a", "b", "c"},
       {0, 1, 1},
       {"a", "other"},
       2},
      {"the column's maximum may be above the default",
       {},
       3,
       1,
       nullptr,
       {"a", "b", "c", "d"},
       {0, 1, 2, -1},
       {"a", "b", "c"},
       1},
      {"nameless levels count towards the maximum",
       {nullptr},
       2,
       500,
       nullptr,
       {"a", "b"},
       {1, -1},
       {"<null>", "a"},
       1},
      {"a negative default leaves no room", {}, -1, -1, nullptr, {"a"}, {-1}, {}, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.reason);
    LevelsBuf buf;
    for (std::size_t i = 0; i < c.explicitLevels.size(); ++i)
      buf.setLevelName(0, static_cast<long>(i), c.explicitLevels[i]);
    buf.setMaxAutoLevels(0, c.maxAutoLevels);
    buf.setDefaultMaxAutoLevels(c.defaultMaxAutoLevels);
    buf.setOverflowLevel(0, c.overflowLevel);
    std::vector<long> mapped;
    for (const char* text : c.texts) mapped.push_back(buf.mapStringToLevelNum(0, text));
    EXPECT_EQ(mapped, c.mapped);
    EXPECT_EQ(buf.levels(), c.levels);
    EXPECT_EQ(buf.getOverflowCount(0), c.overflowCount);
    EXPECT_EQ(buf.getNumMessages(), 0);
  }
}

TEST(BufLevels, the_overflow_level_is_added_before_the_text_that_overflows_and_not_earlier) {
  LevelsBuf buf;
  buf.setMaxAutoLevels(0, 3);
  buf.setOverflowLevel(0, "other");
  buf.mapStringToLevelNum(0, "a");
  buf.mapStringToLevelNum(0, "b");
  EXPECT_EQ(buf.levels(), (Levels{"a", "b"}));
  EXPECT_EQ(buf.getOverflowCount(0), 0);
  EXPECT_EQ(buf.mapStringToLevelNum(0, "c"), 2);
  EXPECT_EQ(buf.levels(), (Levels{"a", "b", "other"}));
  EXPECT_EQ(buf.getOverflowCount(0), 1);
}

TEST(BufLevels, null_and_empty_text_and_the_string_NA_are_NA_and_no_overflow) {
  for (const long max : {-1L, 0L}) {
    LevelsBuf buf;
    buf.setMaxAutoLevels(0, max);
    buf.setOverflowLevel(0, "other");
    for (const char* text : {static_cast<const char*>(nullptr), "", ZRBObj::getStringNA()}) {
      EXPECT_EQ(buf.mapStringToLevelNum(0, text), -1);
      EXPECT_EQ(bitsOf(buf.mapLevelToDouble(0, text)), kDoubleNABits);
    }
    EXPECT_EQ(buf.getNumLevels(0), 0);
    EXPECT_EQ(buf.getOverflowCount(0), 0);
  }
}

TEST(BufLevels, levels_set_explicitly_are_not_limited_by_the_maximum) {
  LevelsBuf buf;
  buf.setMaxAutoLevels(0, 1);
  buf.setDefaultMaxAutoLevels(1);
  EXPECT_EQ(buf.addLevel(0, "a"), 0);
  EXPECT_EQ(buf.addLevel(0, "b"), 1);
  buf.setLevelName(0, 4, "c");
  buf.setNumLevels(0, 8);
  EXPECT_EQ(buf.getNumLevels(0), 8);
  EXPECT_EQ(buf.getOverflowCount(0), 0);
}

TEST(BufLevels, settings_of_the_automatic_levels_are_stored_as_given) {
  LevelsBuf buf;
  for (const long n : {0L, 7L, -1L, LONG_MAX, LONG_MIN}) {
    buf.setMaxAutoLevels(0, n);
    EXPECT_EQ(buf.getMaxAutoLevels(0), n);
    buf.setDefaultMaxAutoLevels(n);
    EXPECT_EQ(buf.getDefaultMaxAutoLevels(), n);
    buf.setOverflowStringBytes(0, n);
    EXPECT_EQ(buf.getOverflowStringBytes(0), n);
    buf.setOverflowCount(0, n);
    EXPECT_EQ(buf.getOverflowCount(0), n);
  }
  char name[] = "other";
  buf.setOverflowLevel(0, name);
  name[0] = '!';
  EXPECT_STREQ(buf.getOverflowLevel(0), "other");
  buf.setOverflowLevel(0, nullptr);
  EXPECT_EQ(buf.getOverflowLevel(0), nullptr);
}

// ---- The overflow error ----

TEST(BufLevels, only_the_first_overflow_of_a_column_is_an_error_when_the_flag_is_set) {
  SavedSettings saved;
  ZRBObj::setErrorOnLevelOverflow(1);
  LevelsBuf buf;
  for (long i = 0; i < 500; ++i) buf.mapStringToLevelNum(0, numberedName(i).c_str());
  EXPECT_EQ(messagesOf(buf), Messages{});
  buf.mapStringToLevelNum(0, "the 501st");
  EXPECT_EQ(messagesOf(buf), Messages{"factor level overflow in column f"});
  buf.mapStringToLevelNum(0, "the 502nd");
  EXPECT_EQ(messagesOf(buf), Messages{"factor level overflow in column f"});
  EXPECT_EQ(buf.getOverflowCount(0), 2);
  EXPECT_STREQ(buf.getError(), "factor level overflow in column f");
}

TEST(BufLevels, every_column_reports_its_own_first_overflow) {
  SavedSettings saved;
  ZRBObj::setErrorOnLevelOverflow(1);
  ZRBMemoryBuf buf;
  setColumns(buf, {{"f", ZRBBuf::column_factor},
                   {nullptr, ZRBBuf::column_factor},
                   {"", ZRBBuf::column_factor},
                   {"100%s %d", ZRBBuf::column_factor}});
  buf.setDefaultMaxAutoLevels(0);
  for (int time = 0; time < 2; ++time)
    for (long column = 0; column < 4; ++column) EXPECT_EQ(buf.mapStringToLevelNum(column, "a"), -1);
  EXPECT_EQ(messagesOf(buf),
            (Messages{"factor level overflow in column f", "factor level overflow in column ??",
                      "factor level overflow in column ", "factor level overflow in column 100%s %d"}));
}

TEST(BufLevels, an_overflow_that_finds_its_overflow_level_is_an_error_too) {
  SavedSettings saved;
  ZRBObj::setErrorOnLevelOverflow(1);
  LevelsBuf buf;
  buf.setMaxAutoLevels(0, 1);
  buf.setOverflowLevel(0, "other");
  EXPECT_EQ(buf.mapStringToLevelNum(0, "a"), 0);
  EXPECT_EQ(messagesOf(buf), Messages{"factor level overflow in column f"});
}

TEST(BufLevels, an_error_on_overflow_depends_on_the_count_alone) {
  const struct {
    const char* reason;
    long long countBefore;
    int flag;
    bool error;
  } cases[] = {
      {"the first", 0, 1, true},
      {"any nonzero flag", 0, -3, true},
      {"flag clear", 0, 0, false},
      {"the second", 1, 1, false},
      {"a count set by the host", 100, 1, false},
      {"a negative count set by the host", -5, 1, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.reason);
    SavedSettings saved;
    ZRBObj::setErrorOnLevelOverflow(c.flag);
    LevelsBuf buf;
    buf.setMaxAutoLevels(0, 0);
    buf.setOverflowCount(0, c.countBefore);
    buf.mapStringToLevelNum(0, "a");
    EXPECT_EQ(messagesOf(buf), c.error ? Messages{"factor level overflow in column f"} : Messages{});
    EXPECT_EQ(buf.getOverflowCount(0), c.countBefore + 1);
  }
}

TEST(BufLevels, a_flag_set_after_the_first_overflow_comes_too_late) {
  SavedSettings saved;
  ZRBObj::setErrorOnLevelOverflow(0);
  LevelsBuf buf;
  buf.setMaxAutoLevels(0, 0);
  buf.mapStringToLevelNum(0, "a");
  ZRBObj::setErrorOnLevelOverflow(1);
  buf.mapStringToLevelNum(0, "b");
  EXPECT_EQ(messagesOf(buf), Messages{});
}

TEST(BufLevels, the_error_returns_after_the_counts_were_initialised) {
  SavedSettings saved;
  ZRBObj::setErrorOnLevelOverflow(1);
  LevelsBuf buf;
  buf.setMaxAutoLevels(0, 0);
  buf.mapStringToLevelNum(0, "a");
  buf.mapStringToLevelNum(0, "b");
  buf.initOverflowCounts();
  buf.mapStringToLevelNum(0, "c");
  EXPECT_EQ(messagesOf(buf), (Messages{"factor level overflow in column f", "factor level overflow in column f"}));
  EXPECT_EQ(buf.getOverflowCount(0), 1);
}

TEST(BufLevels, the_overflow_message_of_a_long_column_name_is_cut_like_any_message) {
  SavedSettings saved;
  ZRBObj::setErrorOnLevelOverflow(1);
  const std::string name(3000, 'n');
  const std::string whole = "factor level overflow in column " + name;
  LevelsBuf buf;
  buf.setColumnName(0, name.c_str());
  buf.setMaxAutoLevels(0, 0);
  buf.mapStringToLevelNum(0, "a");
  EXPECT_EQ(messagesOf(buf), Messages{whole.substr(0, 500)});
  buf.clearMessages();
  buf.initOverflowCounts();
  ZRBObj::setMaxMessageLength(-1);
  buf.mapStringToLevelNum(0, "a");
  EXPECT_EQ(messagesOf(buf), Messages{whole});
}

TEST(BufLevels, initialising_the_counts_clears_those_of_every_column) {
  ZRBMemoryBuf buf;
  buf.setNumColumns(3);
  for (long column = 0; column < 3; ++column) {
    buf.setOverflowCount(column, column + 1);
    buf.setOverflowStringBytes(column, 20 + column);
  }
  buf.initOverflowCounts();
  for (long column = 0; column < 3; ++column) {
    EXPECT_EQ(buf.getOverflowCount(column), 0);
    EXPECT_EQ(buf.getOverflowStringBytes(column), 0);
  }
}

TEST(BufLevels, any_overflow_counts_asks_for_a_count_above_0) {
  const struct {
    long long first, second;
    int any;
  } cases[] = {{0, 0, 0}, {1, 0, 1}, {0, 1, 1}, {2, 3, 1}, {-1, 0, 0}, {-1, 1, 1}, {0, 1LL << 40, 1}};
  for (const auto& c : cases) {
    ZRBMemoryBuf buf;
    buf.setNumColumns(2);
    buf.setOverflowCount(0, c.first);
    buf.setOverflowCount(1, c.second);
    EXPECT_EQ(buf.anyOverflowCounts(), c.any) << c.first << ", " << c.second;
  }
  ZRBMemoryBuf empty;
  EXPECT_EQ(empty.anyOverflowCounts(), 0);
}

TEST(BufLevels, any_overflow_counts_ignores_overflow_string_bytes) {
  ZRBMemoryBuf buf;
  buf.setNumColumns(1);
  buf.setOverflowStringBytes(0, 20);
  EXPECT_EQ(buf.anyOverflowCounts(), 0);
}

// ---- Mapping to and from doubles ----

TEST(BufLevels, a_text_maps_to_its_level_number_as_a_double_and_may_become_a_level) {
  LevelsBuf buf({"a", "b"});
  EXPECT_EQ(buf.mapLevelToDouble(0, "b"), 1.0);
  EXPECT_EQ(buf.mapLevelToDouble(0, "c"), 2.0);
  EXPECT_EQ(buf.levels(), (Levels{"a", "b", "c"}));
  buf.setMaxAutoLevels(0, 0);
  EXPECT_EQ(bitsOf(buf.mapLevelToDouble(0, "d")), kDoubleNABits);
  EXPECT_EQ(buf.getOverflowCount(0), 1);
}

TEST(BufLevels, a_level_number_maps_to_its_name_and_NA_to_null) {
  LevelsBuf buf({"a", "b"});
  buf.setNumLevels(0, 3);
  EXPECT_EQ(buf.mapLevelNumToString(0, 1), buf.getLevelName(0, 1));
  EXPECT_STREQ(buf.mapLevelNumToString(0, 1), "b");
  EXPECT_EQ(buf.mapLevelNumToString(0, 2), nullptr);   // nameless
  EXPECT_EQ(buf.mapLevelNumToString(0, 3), nullptr);   // outside
  EXPECT_EQ(buf.mapLevelNumToString(0, -1), nullptr);  // NA
  EXPECT_EQ(buf.mapLevelNumToString(0, -7), nullptr);
}

TEST(BufLevels, a_double_maps_to_the_name_of_its_level) {
  LevelsBuf buf({"a", "b", "c"});
  const struct {
    double value;
    const char* name;
  } cases[] = {
      {0.0, "a"},
      {1.0, "b"},
      {1.9, "b"},  // truncated toward zero
      {-0.5, "a"},
      {-7.0, "a"},
      {65535.0, "a"},  // outside the level numbers is level 0
      {70000.0, "a"},
      {3.0, nullptr},
      {65534.0, nullptr},  // a level number without a level
      {ZRBObj::getDoubleNA(), nullptr},
  };
  for (const auto& c : cases) EXPECT_STREQ(buf.mapDoubleToLevel(0, c.value), c.name) << c.value;
  EXPECT_EQ(buf.getNumLevels(0), 3);
}
