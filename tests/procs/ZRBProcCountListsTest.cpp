// The sorted lists of count records, as a host works with them: by the index of a first record.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "ZRBProcCount.h"
#include "support/CountFlow.h"
#include "support/CountModel.h"

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kTiny = std::numeric_limits<double>::denorm_min();

// The node beside the model: every operation is done on both.
struct Lists {
  ZRBProcCount node;
  ModelRecords model;

  // Inserts into the list that starts at `head`; both move `head` alike.
  int insert(int& head, double value) {
    int modelHead = head;
    const int expected = model.findOrInsert(modelHead, value);
    const int index = node.findOrInsertCountInfo(&head, value);
    EXPECT_EQ(index, expected) << value;
    EXPECT_EQ(head, modelHead) << value;
    return index;
  }
  void expectFound(int head, double value) {
    const int expected = model.find(head, value);
    EXPECT_EQ(node.findCountInfo(head, value), expected < 0 ? nullptr : node.getCountInfo(expected))
        << head << " " << value;
  }
  void expectList(int head) {
    ASSERT_EQ(node.getCountInfoListLength(head), model.length(head)) << head;
    const int length = static_cast<int>(model.length(head));
    for (int position = -1; position <= length; ++position) {
      const int expected = model.element(head, position);
      ASSERT_EQ(node.getCountInfoListElt(head, position), expected < 0 ? nullptr : node.getCountInfo(expected))
          << head << " " << position;
    }
  }
  void expectAll() { expectSameRecords(node, model); }
};

std::vector<double> valuesOf(ZRBProcCount& node, int head) {
  std::vector<double> values;
  for (int position = 0; position < node.getCountInfoListLength(head); ++position) {
    values.push_back(node.getCountInfoListElt(head, position)->value);
  }
  return values;
}

// ---- Records ----

TEST(CountRecords, a_new_node_has_none) {
  ZRBProcCount node;
  EXPECT_EQ(node.getNumCountBlocks(), 0);
  for (const int index : {-2147483647 - 1, -1, 0, 1}) EXPECT_EQ(node.getCountInfo(index), nullptr) << index;
}

TEST(CountRecords, a_new_one_is_empty_and_in_no_list) {
  ZRBProcCount node;
  for (int i = 0; i < 250; ++i) {  // past the first growths of the array
    ASSERT_EQ(node.newCountInfo(), i);
    ASSERT_EQ(node.getNumCountBlocks(), i + 1);
    const ZRBProcCountCountInfo* record = node.getCountInfo(i);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->value, 0);
    EXPECT_EQ(record->count, 0);
    EXPECT_EQ(record->next, -1);
    EXPECT_EQ(record->sub_list, -1);
    EXPECT_EQ(node.getCountInfo(i + 1), nullptr);
  }
}

TEST(CountRecords, keep_what_a_host_writes_when_the_array_grows) {
  ZRBProcCount node;
  for (int i = 0; i < 1000; ++i) {
    ZRBProcCountCountInfo* record = node.getCountInfo(node.newCountInfo());
    record->value = i + 0.5;
    record->count = i * 5000000000;
    record->next = i - 1;
    record->sub_list = i - 2;
  }
  for (int i = 0; i < 1000; ++i) {
    const ZRBProcCountCountInfo* record = node.getCountInfo(i);
    ASSERT_EQ(record->value, i + 0.5);
    ASSERT_EQ(record->count, i * 5000000000);
    ASSERT_EQ(record->next, i - 1);
    ASSERT_EQ(record->sub_list, i - 2);
  }
}

// ---- Inserting ----

TEST(CountLists, the_first_value_becomes_the_head) {
  Lists lists;
  int head = -1;
  EXPECT_EQ(lists.insert(head, 4.5), 0);
  EXPECT_EQ(head, 0);
  lists.expectAll();
}

TEST(CountLists, an_index_outside_the_records_is_an_empty_list) {
  Lists lists;
  for (int head : {-1, -7, 1000, 2147483647}) {
    const int records = static_cast<int>(lists.node.getNumCountBlocks());
    EXPECT_EQ(lists.node.getCountInfoListLength(head), 0);
    EXPECT_EQ(lists.node.getCountInfoListElt(head, 0), nullptr);
    EXPECT_EQ(lists.node.findCountInfo(head, 3), nullptr);
    EXPECT_EQ(lists.node.findCountInfo(head, kNA), nullptr);
    EXPECT_EQ(lists.insert(head, 3), records);
    EXPECT_EQ(head, records);
  }
  lists.expectAll();
}

TEST(CountLists, are_sorted_with_each_value_once) {
  Lists lists;
  int head = -1;
  for (const double value : {5.0, 3.0, 9.0, 4.0, 3.0, 9.0, 1.0, 10.0, 5.0}) lists.insert(head, value);
  EXPECT_EQ(valuesOf(lists.node, head), (std::vector<double>{1, 3, 4, 5, 9, 10}));
  EXPECT_EQ(lists.node.getNumCountBlocks(), 6);
  lists.expectAll();
  lists.expectList(head);
}

TEST(CountLists, inserting_counts_nothing) {
  Lists lists;
  int head = -1;
  lists.insert(head, 5);
  lists.insert(head, 5);
  EXPECT_EQ(lists.node.getCountInfo(0)->count, 0);
}

TEST(CountLists, NA_comes_first_whenever_it_is_inserted) {
  for (const std::vector<double>& values :
       {std::vector<double>{kNA}, std::vector<double>{kNA, 3, 1, -kInf}, std::vector<double>{3, kNA, 1, kNA},
        std::vector<double>{3, 1, 7, kNA}, std::vector<double>{-kInf, kNA}}) {
    Lists lists;
    int head = -1;
    for (const double value : values) lists.insert(head, value);
    EXPECT_TRUE(std::isnan(lists.node.getCountInfo(head)->value));
    lists.expectAll();
    lists.expectList(head);
    for (const double value : values) lists.expectFound(head, value);
    lists.expectFound(head, 2);
    lists.expectFound(head, 100);
  }
}

TEST(CountLists, a_value_before_all_others_becomes_the_new_head_and_the_old_one_stays_a_list) {
  Lists lists;
  int head = -1;
  lists.insert(head, 5);
  lists.insert(head, 7);
  const int old = head;
  lists.insert(head, 2);
  EXPECT_NE(head, old);
  EXPECT_EQ(valuesOf(lists.node, head), (std::vector<double>{2, 5, 7}));
  EXPECT_EQ(valuesOf(lists.node, old), (std::vector<double>{5, 7}));
  // A list that starts in the middle of another has its own front.
  int middle = old;
  lists.insert(middle, 2);
  EXPECT_EQ(lists.node.getNumCountBlocks(), 4);
  EXPECT_EQ(valuesOf(lists.node, middle), (std::vector<double>{2, 5, 7}));
  EXPECT_EQ(valuesOf(lists.node, head), (std::vector<double>{2, 5, 7}));
  EXPECT_NE(middle, head);
  // What is inserted behind the common record is in both.
  lists.insert(middle, 6);
  EXPECT_EQ(valuesOf(lists.node, head), (std::vector<double>{2, 5, 6, 7}));
  lists.insert(head, 3);
  EXPECT_EQ(valuesOf(lists.node, head), (std::vector<double>{2, 3, 5, 6, 7}));
  EXPECT_EQ(valuesOf(lists.node, middle), (std::vector<double>{2, 5, 6, 7}));
  lists.expectAll();
}

TEST(CountLists, NA_in_front_of_a_middle_is_of_that_list_only) {
  Lists lists;
  int head = -1;
  for (const double value : {1.0, 5.0, 9.0}) lists.insert(head, value);
  int middle = 1;  // the record of 5
  lists.insert(middle, kNA);
  EXPECT_EQ(lists.node.getCountInfoListLength(head), 3);
  EXPECT_EQ(lists.node.getCountInfoListLength(middle), 3);
  lists.insert(middle, 3);  // between the NA and 5
  lists.expectList(head);
  lists.expectList(middle);
  lists.expectFound(head, 3);
  lists.expectFound(middle, 3);
  lists.expectFound(head, kNA);
  lists.expectFound(middle, kNA);
  lists.expectAll();
}

TEST(CountLists, zeros_of_both_signs_are_one_value_and_the_first_one_stays) {
  Lists lists;
  int head = -1;
  lists.insert(head, 3);
  const int zero = lists.insert(head, -0.0);
  EXPECT_EQ(lists.insert(head, 0.0), zero);
  EXPECT_TRUE(std::signbit(lists.node.getCountInfo(zero)->value));
  lists.expectFound(head, 0.0);
  lists.expectFound(head, -0.0);
  // The same as a first record, and behind an NA.
  int first = -1;
  EXPECT_EQ(lists.insert(first, 0.0), lists.insert(first, -0.0));
  int withNA = -1;
  lists.insert(withNA, kNA);
  EXPECT_EQ(lists.insert(withNA, 0.0), lists.insert(withNA, -0.0));
  lists.expectAll();
}

TEST(CountLists, every_NaN_is_the_same_value) {
  Lists lists;
  int head = -1;
  const int na = lists.insert(head, ZRBObj::getDoubleNA());
  EXPECT_EQ(lists.insert(head, std::nan("")), na);
  EXPECT_EQ(lists.insert(head, -std::nan("0x55")), na);
  EXPECT_EQ(lists.node.findCountInfo(head, -std::nan("0x77")), lists.node.getCountInfo(na));
  EXPECT_EQ(lists.node.getNumCountBlocks(), 1);
}

TEST(CountLists, hold_any_double) {
  Lists lists;
  int head = -1;
  const std::vector<double> values = {0.5,
                                      -kInf,
                                      1e300,
                                      -1e300,
                                      kTiny,
                                      -kTiny,
                                      65535,
                                      65536,
                                      1e-300,
                                      kInf,
                                      1e15,
                                      -65536,
                                      0.25,
                                      0.75,
                                      1 / 3.,
                                      kNA,
                                      0,
                                      4294967296.0,
                                      1e308,
                                      -2.5,
                                      2.5,
                                      3,
                                      2,
                                      0x1p-1022,
                                      9007199254740993.0,
                                      1e19,
                                      -1e19};
  for (const double value : values) lists.insert(head, value);
  for (const double value : values) lists.insert(head, value);
  EXPECT_EQ(lists.node.getNumCountBlocks(), static_cast<long>(values.size()));
  for (const double value : values) {
    lists.expectFound(head, value);
    lists.expectFound(head, std::nextafter(value, kInf));
    lists.expectFound(head, std::nextafter(value, -kInf));
  }
  lists.expectAll();
  lists.expectList(head);
}

TEST(CountLists, with_heads_of_their_own_do_not_touch_each_other) {
  Lists lists;
  int heads[3] = {-1, -1, -1};
  std::mt19937 random(5);
  for (int i = 0; i < 600; ++i) lists.insert(heads[random() % 3], static_cast<double>(random() % 80));
  lists.expectAll();
  for (const int head : heads) lists.expectList(head);
}

// ---- Lists that a host links by hand ----

TEST(CountHostLists, records_that_a_host_linked_are_found) {
  ZRBProcCount node;
  ModelRecords model;
  // 30 -> 31 -> ... through the records in descending order of their index.
  for (int i = 0; i < 40; ++i) {
    node.newCountInfo();
    model.append(0);
    node.getCountInfo(i)->value = model.at(i).value = 100 - i;
    node.getCountInfo(i)->next = model.at(i).next = i - 1;
  }
  EXPECT_EQ(node.getCountInfoListLength(39), 40);
  for (int i = 0; i < 40; ++i) {
    EXPECT_EQ(node.findCountInfo(39, 100 - i), node.getCountInfo(i));
    EXPECT_EQ(node.getCountInfoListElt(39, 39 - i), node.getCountInfo(i));
  }
  EXPECT_EQ(node.findCountInfo(20, 70), nullptr);  // before its head
  EXPECT_EQ(node.findCountInfo(39, 70.5), nullptr);
  int head = 39, modelHead = 39;
  for (const double value : {70.5, 61.0, 60.5, kNA, 100.0, 101.0, 99.5}) {
    EXPECT_EQ(node.findOrInsertCountInfo(&head, value), model.findOrInsert(modelHead, value)) << value;
    EXPECT_EQ(head, modelHead);
  }
  expectSameRecords(node, model);
}

TEST(CountHostLists, a_list_that_was_empty_is_there_once_its_record_is_made) {
  ZRBProcCount node;
  EXPECT_EQ(node.getCountInfoListLength(0), 0);
  EXPECT_EQ(node.getCountInfoListElt(1, 0), nullptr);
  ASSERT_EQ(node.newCountInfo(), 0);
  EXPECT_EQ(node.getCountInfoListLength(0), 1);
  EXPECT_EQ(node.getCountInfoListElt(0, 0), node.getCountInfo(0));
  ASSERT_EQ(node.newCountInfo(), 1);
  EXPECT_EQ(node.getCountInfoListElt(1, 0), node.getCountInfo(1));
}

TEST(CountHostLists, a_list_is_as_long_as_the_host_has_linked_it) {
  ZRBProcCount node;
  for (int i = 0; i < 30; ++i) {
    ASSERT_EQ(node.newCountInfo(), i);
    node.getCountInfo(i)->value = i;
    if (i > 0) node.getCountInfo(i - 1)->next = i;
    ASSERT_EQ(node.getCountInfoListLength(0), i + 1);
    ASSERT_EQ(node.getCountInfoListElt(0, i), node.getCountInfo(i));
    ASSERT_EQ(node.findCountInfo(0, i), node.getCountInfo(i));
  }
}

// ---- At random, against lists walked record by record ----

TEST(CountListsAtRandom, any_order_of_operations_gives_the_same_records) {
  for (const unsigned seed : {1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u}) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const unsigned distinct = seed % 2 ? 40 : 2000;
    Lists lists;
    std::vector<int> heads(6, -1);
    const auto pickValue = [&]() -> double {
      switch (random() % 12) {
        case 0:
          return kNA;
        case 1:
          return (static_cast<double>(random() % distinct) - 10) / 8;
        default:
          return static_cast<double>(random() % distinct);
      }
    };
    for (int step = 0; step < 6000; ++step) {
      const auto at = random() % heads.size();
      switch (random() % 10) {
        case 0:  // a head in the middle of some list, or past all records
          heads[at] = static_cast<int>(random() % (lists.model.records.size() + 2)) - 1;
          break;
        case 1:
          heads[at] = heads[random() % heads.size()];
          break;
        case 2:
          lists.expectFound(heads[at], pickValue());
          break;
        case 3: {
          const int position = static_cast<int>(random() % 60) - 1;
          const int expected = lists.model.element(heads[at], position);
          ASSERT_EQ(lists.node.getCountInfoListElt(heads[at], position),
                    expected < 0 ? nullptr : lists.node.getCountInfo(expected));
          ASSERT_EQ(lists.node.getCountInfoListLength(heads[at]), lists.model.length(heads[at]));
          break;
        }
        case 4:
          if (random() % 20 == 0) {  // a record of value 0 and no list
            ASSERT_EQ(lists.node.newCountInfo(), lists.model.append(0));
          }
          break;
        default:
          lists.insert(heads[at], pickValue());
      }
      ASSERT_FALSE(testing::Test::HasFailure()) << "step " << step;
    }
    ASSERT_NO_FATAL_FAILURE(lists.expectAll());
    for (const int head : heads) ASSERT_NO_FATAL_FAILURE(lists.expectList(head));
  }
}

TEST(CountListsAtRandom, long_lists_give_the_same_records) {
  std::mt19937 random(11);
  Lists lists;
  int head = -1;
  for (int i = 0; i < 6000; ++i) {
    const double value = random() % 4 ? static_cast<double>(random() % 50000) : static_cast<double>(random()) / 7;
    lists.insert(head, value);
    ASSERT_FALSE(testing::Test::HasFailure()) << i;
  }
  lists.expectAll();
  lists.expectList(head);
}

TEST(CountListsAtRandom, init_forgets_all_records_and_lists) {
  CountFlow flow({ZRBBuf::column_factor});
  for (int run = 0; run < 3; ++run) {
    ModelRecords model;
    int head = -1, modelHead = -1;
    std::mt19937 random(static_cast<unsigned>(run));
    for (int i = 0; i < 500; ++i) {
      const double value = static_cast<double>(random() % 300) + run * 100;
      ASSERT_EQ(flow.node.findOrInsertCountInfo(&head, value), model.findOrInsert(modelHead, value));
      ASSERT_EQ(head, modelHead);
    }
    expectSameRecords(flow.node, model);
    flow.init();
    EXPECT_EQ(flow.node.getNumCountBlocks(), 0);
    EXPECT_EQ(flow.node.getCountInfoListLength(head), 0);
    EXPECT_EQ(flow.node.findCountInfo(head, model.at(modelHead).value), nullptr);
  }
}

TEST(CountListsManyValues, are_inserted_found_and_read_in_any_order) {
  constexpr int kValues = 65000;
  for (const bool ascending : {true, false}) {
    ZRBProcCount node;
    int head = -1;
    for (int i = 0; i < kValues; ++i) {
      const double value = (ascending ? i : kValues - 1 - i) + 0.25;
      ASSERT_EQ(node.findOrInsertCountInfo(&head, value), i);
    }
    for (int i = 0; i < kValues; ++i) ASSERT_NE(node.findCountInfo(head, i + 0.25), nullptr);
    for (int i = 0; i < kValues; ++i) ASSERT_EQ(node.getCountInfoListElt(head, i)->value, i + 0.25);
    EXPECT_EQ(node.getCountInfoListLength(head), kValues);
  }
}

}  // namespace
