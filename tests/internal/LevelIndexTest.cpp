// The index of a level dictionary, against a walk along it.
#include "buf/level_index.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <vector>

#include "ZRBMemoryBuf.h"
#include "support/Harness.h"

namespace {

// Texts that differ little: lengths across every border of a key, and one byte or the length changed.
std::vector<std::string> similarTexts() {
  std::set<std::string> texts = {"", "\xEF\xBF\xBF", "\xEF\xBF\xBF\xEF\xBF\xBF", std::string(1000, 'a')};
  for (const std::size_t length :
       {1u, 2u, 3u, 4u, 5u, 7u, 8u, 9u, 12u, 15u, 16u, 17u, 22u, 23u, 24u, 25u, 31u, 32u, 33u, 48u}) {
    const std::string text(length, 'a');
    texts.insert(text);
    for (std::size_t at = 0; at < length; ++at) {
      for (const char other : {'b', '\x01', '\x7F', '\x80', '\xFF'}) {
        std::string changed = text;
        changed[at] = other;
        texts.insert(changed);
      }
    }
  }
  return {texts.begin(), texts.end()};
}

// A dictionary with its index.
class Dictionary {
public:
  void set(std::size_t level, const std::string& name) {
    if (level >= m_names.size()) m_names.resize(level + 1);
    clear(level);
    m_names[level].reset(ZRBObj::copyString(name.c_str()));
    m_index.insert(m_names, static_cast<long>(level));
  }
  void clear(std::size_t level) {
    if (level >= m_names.size() || !m_names[level]) return;
    m_index.erase(m_names, static_cast<long>(level));
    m_names[level].reset();
  }
  long find(const std::string& name) const { return m_index.find(m_names, name.c_str()); }
  long walk(const std::string& name) const {
    for (std::size_t level = 0; level < m_names.size(); ++level)
      if (m_names[level] && name == m_names[level].get()) return static_cast<long>(level);
    return -1;
  }
  std::uint64_t stamp() const { return m_index.stamp(); }

private:
  LevelIndex::Names m_names;
  LevelIndex m_index;
};

}  // namespace

TEST(LevelKey, equal_keys_of_short_texts_are_equal_texts) {
  const std::vector<std::string> texts = similarTexts();
  for (const std::string& a : texts) {
    const LevelKey key(a.c_str());
    EXPECT_EQ(key, LevelKey(std::string(a).c_str()));
    EXPECT_EQ(key.hash(), LevelKey(std::string(a).c_str()).hash());
    EXPECT_EQ(key.isText(), a.size() <= LevelKey::kMostBytes);
    EXPECT_EQ(key.isEmpty(), a.empty());
    EXPECT_EQ(key.isNA(), ZRBObj::isStringNA(a.c_str()) == 1);
    if (!key.isText()) continue;
    for (const std::string& b : texts) ASSERT_EQ(key == LevelKey(b.c_str()), a == b) << a << " and " << b;
  }
}

TEST(LevelKey, long_texts_that_begin_and_end_alike_are_told_apart) {
  std::set<std::uint64_t> hashes;
  for (char middle = 'a'; middle <= 'z'; ++middle)
    hashes.insert(LevelKey((std::string(20, 'x') + middle + std::string(20, 'x')).c_str()).hash());
  EXPECT_EQ(hashes.size(), 26u);
}

TEST(LevelIndex, every_text_is_found_as_its_lowest_level) {
  const std::vector<std::string> texts = similarTexts();
  Dictionary dictionary;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    ASSERT_EQ(dictionary.find(texts[i]), -1);
    dictionary.set(i, texts[i]);
    ASSERT_EQ(dictionary.find(texts[i]), static_cast<long>(i));
  }
  for (const std::string& text : texts) ASSERT_EQ(dictionary.find(text), dictionary.walk(text));
}

TEST(LevelIndex, any_order_of_changes_leaves_what_a_walk_finds) {
  const std::vector<std::string> all = similarTexts();
  for (unsigned seed = 1; seed <= 20; ++seed) {
    std::mt19937 random(seed);
    // Few texts, so that names come twice, or many.
    const std::vector<std::string> texts(all.begin(), all.begin() + (seed % 2 ? 12 : 400));
    Dictionary dictionary;
    for (int change = 0; change < 3000; ++change) {
      const std::size_t level = random() % 60;
      if (random() % 3 == 0)
        dictionary.clear(level);
      else
        dictionary.set(level, texts[random() % texts.size()]);
      const std::string& text = texts[random() % texts.size()];
      ASSERT_EQ(dictionary.find(text), dictionary.walk(text)) << "seed " << seed << " change " << change;
    }
    for (const std::string& text : texts) ASSERT_EQ(dictionary.find(text), dictionary.walk(text));
  }
}

TEST(LevelIndex, the_stamp_changes_when_a_text_is_found_otherwise_than_before) {
  Dictionary a, b;
  EXPECT_NE(a.stamp(), b.stamp());
  a.set(3, "x");
  const std::uint64_t before = a.stamp();
  a.set(4, "y");
  a.set(5, "x");
  a.set(0, "z");
  EXPECT_EQ(a.stamp(), before) << "what was found is found as before";
  a.set(1, "x");
  EXPECT_NE(a.stamp(), before) << "a lower level of the name";
  const std::uint64_t lower = a.stamp();
  a.clear(4);
  EXPECT_NE(a.stamp(), lower) << "a name is gone";
}

TEST(LevelIndex, a_buffers_lookups_leave_out_what_counts_as_missing) {
  ZRBMemoryBuf buf;
  buf.setNumColumns(1);
  buf.setColumnType(0, ZRBBuf::column_factor);
  buf.addLevel(0, "");
  buf.addLevel(0, ZRBObj::getStringNA());
  buf.addLevel(0, "\xEF\xBF\xBF\xEF\xBF\xBF");
  EXPECT_EQ(buf.lookupLevel(0, ""), -1);
  EXPECT_EQ(buf.lookupLevel(0, ZRBObj::getStringNA()), -1);
  EXPECT_EQ(buf.lookupLevel(0, "\xEF\xBF\xBF\xEF\xBF\xBF"), 2);
  EXPECT_EQ(buf.lookupLevel(0, nullptr), -1);
  EXPECT_EQ(buf.mapStringToLevelNum(0, ""), -1);
  EXPECT_EQ(buf.mapStringToLevelNum(0, ZRBObj::getStringNA()), -1);
  EXPECT_EQ(buf.mapStringToLevelNum(0, nullptr), -1);
  EXPECT_EQ(buf.mapStringToLevelNum(0, "\xEF\xBF\xBF\xEF\xBF\xBF"), 2);
  EXPECT_EQ(buf.getNumLevels(0), 3);
}
