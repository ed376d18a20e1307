// The sorted lists of count records, found and extended without walking them.
//
// The records themselves, with their `next` links, are the lists: any record may serve as a head, and lists may share a
// tail.  This class adds a skip list over them (W. Pugh, "Skip Lists", CACM 33(6), 1990), searched from the head upwards
// and then down.  Invariants:
//  (1) Following `next`, values ascend; a NaN stands only in front.
//  (2) A skip link leads to a record that is reachable by `next`.  Insertion never breaks that, and a link that passes
//      over newer records or is missing costs time only: the last step is always along `next`.
#pragma once

#include <unordered_map>
#include <vector>

#include "ZRBProcCount.h"

class CountLists {
public:
  using Records = std::vector<ZRBProcCountCountInfo>;
  static constexpr int kNone = -1;

  explicit CountLists(Records& records) : m_records(records) {}

  // Every record goes; heads become numbers of no record.
  void clear();

  // Index of a new record in no list: value 0, count 0.
  int append();
  // The same for a host, which may link it by hand: from then on nothing but `next` is trusted.
  int appendForHost();

  bool isLinkedByHand() const { return m_linkedByHand; }
  bool isRecord(int index) const { return index >= 0 && static_cast<std::size_t>(index) < m_records.size(); }

  // The record holding `value` in the list from `head`; kNone when there is none.
  int find(int head, double value) const;
  // The same, after inserting the value if it is missing; a new first record becomes `head`.
  int findOrInsert(int& head, double value);

  // The records of the list from `head`, in order.  Valid until the next record.
  const std::vector<int>& elements(int head);

private:
  static constexpr int kMaxHeight = 8;  // one record in 4^h is h links high: enough for 4^8 levels

  struct Tower {
    int height;
    int firstLink;  // in m_links: links of level 1..height
  };
  struct Position {
    int before;                  // the last record below the value
    int passed[kMaxHeight + 1];  // by level: the last record on the way that is at least so high; kNone if none is
  };

  ZRBProcCountCountInfo& record(int index) { return m_records[static_cast<std::size_t>(index)]; }
  const ZRBProcCountCountInfo& record(int index) const { return m_records[static_cast<std::size_t>(index)]; }
  const Tower& tower(int index) const { return m_towers[static_cast<std::size_t>(index)]; }
  int& link(int index, int level) { return m_links[static_cast<std::size_t>(tower(index).firstLink + level - 1)]; }

  int height(int index) const { return m_linkedByHand ? 0 : tower(index).height; }
  int forward(int index, int level) const;
  Position search(int head, double value) const;
  int firstAsHighAs(int level, int index) const;
  void forgetElements();
  int insertBetween(const Position& position, int successor, double value);

  Records& m_records;
  std::vector<Tower> m_towers;  // one per record
  std::vector<int> m_links;
  std::unordered_map<int, std::vector<int>> m_elements;  // by head; emptied by a new record
  std::size_t m_numElements = 0;                         // in all of them
  bool m_linkedByHand = false;
};
